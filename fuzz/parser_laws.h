// What the fuzzers of the parsers share.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "vkcomm/util/bytes.h"
#include "vkcomm/util/checksums.h"

namespace vkcomm::fuzz {

inline void require(bool holds) {
    if (!holds) std::abort();
}

// Takes the first count bytes off input, fewer when there are no more.
inline ByteSpan take(ByteSpan& input, std::size_t count) {
    const ByteSpan taken = input.first(count < input.size() ? count : input.size());
    input = input.subspan(taken.size());
    return taken;
}

inline unsigned takeByte(ByteSpan& input) {
    const ByteSpan taken = take(input, 1);
    return taken.empty() ? 0 : taken[0];
}

// Whatever the state: fourteen commas, a right checksum, a line end; no "nan", no "inf".
inline void requireGga(const std::wstring& sentence) {
    const std::string text(sentence.begin(), sentence.end());
    require(text.starts_with("$GPGGA,") && text.ends_with("\r\n"));
    require(testSentence(text) == TESTXOR_OK);
    require(std::count(text.begin(), text.end(), ',') == 14);
    require(text.find("nan") == text.npos && text.find("inf") == text.npos);
}

}  // namespace vkcomm::fuzz
