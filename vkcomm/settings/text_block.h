// What settings text blocks are made of: pairs of a label line and a value line. Labels are written in the
// language of the process and skipped when read, so that a block reads the same whatever language it is in.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "vkcomm/base/text_file.h"

namespace vkcomm {

// A label line in each language, without its line end.
struct Label {
    std::wstring_view english, simplified, traditional;

    // By the numbers of nGetLang.
    std::wstring_view in(int nLanguage) const;
};

// Writes lines in the language that the process has when the writer is made. Does not own the file.
class BlockWriter {
public:
    explicit BlockWriter(base::CStdioFileCe& file);

    void label(const Label& label);

    void value(int value);
    // A number that is not finite has no text form and is written as 0.
    void value(float value, int decimals = 1);
    // As one line: a text block keeps no line breaks.
    void value(const std::wstring& text);

private:
    base::CStdioFileCe& m_file;
    int m_language;
};

// Reads pairs of lines. Where lines are missing, values are 0 or empty. Does not own the file.
class BlockReader {
public:
    explicit BlockReader(base::CStdioFileCe& file) : m_file(file) {}

    void skipLine();

    // The label line is skipped, the value line read: bytes take the low 8 bits of the integer there, a number
    // beyond the range of float its end.
    void pair(std::int32_t& value);
    void pair(unsigned char& value);
    void pair(float& value);
    void pair(std::wstring& value);

private:
    base::CStdioFileCe& m_file;
};

// One pair of lines of a record: its label and the field whose value stands under it.
template <typename Record>
struct TextRow {
    Label label;
    std::variant<unsigned char Record::*, std::int32_t Record::*, float Record::*, std::wstring Record::*>
        field;
};

template <typename Record>
void writeRows(BlockWriter& writer, const Record& record, std::span<const TextRow<Record>> rows) {
    for (const TextRow<Record>& row : rows) {
        writer.label(row.label);
        std::visit([&](auto field) { writer.value(record.*field); }, row.field);
    }
}

template <typename Record>
void readRows(BlockReader& reader, Record& record, std::span<const TextRow<Record>> rows) {
    for (const TextRow<Record>& row : rows)
        std::visit([&](auto field) { reader.pair(record.*field); }, row.field);
}

}  // namespace vkcomm
