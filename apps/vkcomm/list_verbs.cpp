#include "apps/vkcomm/list_verbs.h"

#include <CLI/CLI.hpp>
#include <cerrno>

#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/output.h"
#include "apps/vkcomm/whole_file.h"
#include "vkcomm/platform/files.h"

namespace vkcomm {

namespace {

constexpr std::size_t kMostBytes = std::size_t{16} * 1024 * 1024;
constexpr std::size_t kLongestName = 48;  // that a list file gives back

// Lines that begin an entry; the line behind one is a name, whatever it says.
int entriesIn(std::string_view bytes, std::string_view mark) {
    int entries = 0;
    bool isName = false;
    while (!bytes.empty()) {
        const std::string_view line = bytes.substr(0, bytes.find('\n'));
        isName = !isName && line.find(mark) != line.npos;
        if (isName) ++entries;
        bytes.remove_prefix(std::min(line.size() + 1, bytes.size()));
    }
    return entries;
}

}  // namespace

bool readList(const ListFile& list, const std::string& path, base::CMyObArray& array, IfMissing missing) {
    std::string bytes;
    SystemError error;
    if (!readFile(path, kMostBytes, bytes, error)) {
        if (error.code == ENOENT && missing == IfMissing::kIsEmpty) return true;
        complain(error.message());
        return false;
    }
    list.read(bytes, array);
    if (const int entries = entriesIn(bytes, list.mark); entries > array.GetSize()) {
        complain(path + ": only " + std::to_string(array.GetSize()) + " of " + std::to_string(entries) +
                 " entries can be read, because a line stands between two of them; nothing was changed");
        return false;
    }
    const bool isList = array.GetSize() > 0 || bytes.empty() || bytes.find("[END]") != bytes.npos;
    if (!isList)
        complain(path + ": is no list of " + list.entry + "s, having neither " + list.mark + " nor [END]");
    return isList;
}

int writeList(const ListFile& list, const std::string& path, const base::CMyObArray& array,
              const std::string& done) {
    if (!writeWhole(path, list.text(array))) return kFailed;
    complain(path + ": " + done);
    return kDone;
}

bool isStorable(base::CObject& record, std::string_view kind, const std::string& name) {
    if (name.size() > kLongestName || name.find_first_of("\r\n") != name.npos) {
        complain("a name has at most 48 bytes in UTF-8 and no line breaks: " + quotedText(name));
        return false;
    }
    for (const SettingsField& field : findSettingsKind(kind)->fields)
        if (const std::string problem = problemWithValue(field, field.in(record)); !problem.empty()) {
            complain(std::string(field.meaning) + " " + problem + ": " + settingsValueText(field.in(record)));
            return false;
        }
    return true;
}

int notInList(const std::string& path, const std::string& name) {
    complain(path + ": holds no " + name + "; list shows what it holds");
    return kFailed;
}

int show(const std::string& text) { return writeWhole("-", text) ? kDone : kFailed; }

CLI::App* addListVerb(CLI::App& parent, const char* name, const char* about, const char* placeName,
                      std::string& place, const char* footer, std::function<void()> chosen) {
    CLI::App* const verb = parent.add_subcommand(name, about);
    verb->footer(footer);
    verb->add_option(placeName, place, "Where the list is")->required();
    verb->callback(std::move(chosen));
    return verb;
}

}  // namespace vkcomm
