// Bytes for parsers, literal and built, and values as text.
#pragma once

#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>

#include "tests/decode/frames.h"
#include "tests/host/recordings.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm::test {

inline ByteSpan spanOf(std::string_view bytes) {
    return {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()};
}

inline const unsigned char* dataOf(const std::string& bytes) { return spanOf(bytes).data(); }

template <typename T>
std::string littleOf(T value) {
    std::string bytes(sizeof(T), '\0');
    storeLe(reinterpret_cast<unsigned char*>(bytes.data()), value);
    return bytes;
}

template <typename T>
std::string bigOf(T value) {
    const std::string bytes = littleOf(value);
    return {bytes.rbegin(), bytes.rend()};
}

// bytes with value written at the position, little-endian.
template <typename T>
std::string with(std::string bytes, std::size_t at, T value) {
    return bytes.replace(at, sizeof(T), littleOf(value));
}

// Numbers as one text, each with the digits that tell it from every other of its type.
template <typename... Ts>
std::string row(const Ts&... values) {
    std::string text;
    const auto add = [&text](const auto& value) {
        char digits[40];
        text.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr) += ' ';
    };
    (add(values), ...);
    text.pop_back();
    return text;
}

// Expects that a fresh parser ignores a record of one byte fewer than shortest and takes one of that many.
template <typename Parser>
void expectShortest(void (Parser::*process)(ByteSpan), std::size_t shortest,
                    std::string (*shown)(const Parser&)) {
    const std::string record(shortest, '\x05');
    Parser parser;
    (parser.*process)(spanOf(record).first(shortest - 1));
    EXPECT_EQ(shown(parser), shown(Parser())) << shortest;
    (parser.*process)(spanOf(record));
    EXPECT_NE(shown(parser), shown(Parser())) << shortest;
}

inline std::string gpgga(const std::wstring& sentence) { return {sentence.begin(), sentence.end()}; }

}  // namespace vkcomm::test
