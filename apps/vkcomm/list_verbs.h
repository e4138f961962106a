// What the verbs that keep list files share.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "host/settings_kinds.h"
#include "vkcomm/base/object_array.h"

namespace CLI {
class App;
}

namespace vkcomm {

struct ListFile {
    const char* entry;  // what an entry is, for people
    const char* mark;   // the line an entry begins with
    void (*read)(std::string_view bytes, base::CMyObArray& array);
    std::string (*text)(const base::CMyObArray& array);
};

enum class IfMissing { kFails, kIsEmpty };

// False, and complains, when the file cannot be read or is no such list: what is not understood is not replaced.
bool readList(const ListFile& list, const std::string& path, base::CMyObArray& array, IfMissing missing);

// Replaces the file and tells what was done. The exit status of the process.
int writeList(const ListFile& list, const std::string& path, const base::CMyObArray& array,
              const std::string& done);

// True when every value means something and the name fits into a line; else complains.
bool isStorable(base::CObject& record, std::string_view kind, const std::string& name);

// Complains. The exit status of the process.
int notInList(const std::string& path, const std::string& name);

// Writes to standard output. The exit status of the process.
int show(const std::string& text);

// A verb with one option that must be given, and what to do when it is chosen.
CLI::App* addListVerb(CLI::App& parent, const char* name, const char* about, const char* placeName,
                      std::string& place, const char* footer, std::function<void()> chosen);

}  // namespace vkcomm
