// One line of text for a record: for people, as JSON, or bare.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "host/record_router.h"

namespace vkcomm {

// Turns a record into a line, with the values its parser holds. Not locked: one thread at a time.
class RecordLines {
public:
    // Shown as "file" in JSON lines when not empty.
    explicit RecordLines(std::string_view file = {}) : m_file(file) {}

    // Appends one line, its line end included.
    //   text: offset, family, Id, name and size in columns, then name=value words
    //   JSON: {"offset":…,"type":…,"family":…,"id":…,"name":…,"size":…, values}
    //   bare: {"offset":…,"type":…,"id":…,"size":…,"data":"lower-case hex of the record's bytes"}
    // A record that came inside the maker's frames says so: its first value is carried, true.
    void appendText(std::string& out, const RoutedRecord& routed) const;
    void appendJson(std::string& out, const RoutedRecord& routed);
    static void appendBare(std::string& out, const RecordView& record);

private:
    const std::string& membersOf(const MessageKind& kind);

    std::string m_file;
    std::map<MessageKind, std::string> m_members;
};

}  // namespace vkcomm
