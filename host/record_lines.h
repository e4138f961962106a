// One line of text for a record: for people, as JSON, or bare.
#pragma once

#include <string>
#include <string_view>

#include "vkcomm/decode/stream_decoder.h"
#include "vkcomm/formats/nmea_format.h"

namespace vkcomm {

// Turns the record a decoder holds into a line, parsing values along the way. One object a stream: parsers
// keep the state of earlier records.
class RecordLines {
public:
    // Shown as "file" in JSON lines when not empty.
    explicit RecordLines(std::string_view file = {}) : m_file(file) {}

    // Appends one line, its line end included.
    //   text: offset, family, Id, name and size in columns, then name=value words
    //   JSON: {"offset":…,"type":…,"family":…,"id":…,"name":…,"size":…, values}
    //   bare: {"offset":…,"type":…,"id":…,"size":…,"data":"lower-case hex of the record's bytes"}
    void appendText(std::string& out, const CNOut& record);
    void appendJson(std::string& out, const CNOut& record);
    static void appendBare(std::string& out, const CNOut& record);

private:
    void appendValues(class FieldWriter& fields, const CNOut& record);

    std::string m_file;
    CNmeaFormat m_nmea;
};

}  // namespace vkcomm
