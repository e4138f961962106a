#include "vkcomm/frames/text_compiler.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string>

#include "vkcomm/frames/maker_frame.h"
#include "vkcomm/util/checksums.h"

namespace vkcomm {

namespace {

constexpr std::size_t kLongestText = 1023;
constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

struct NumberField {
    char letter;
    int bytes;
};

constexpr std::array<NumberField, 3> kNumberFields = {{{'B', 1}, {'W', 2}, {'L', 4}}};

bool isLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

std::string takeCommand(std::string_view& text) {
    std::string letters;
    for (; letters.size() < 2 && !text.empty(); text.remove_prefix(1))
        if (isLetter(text.front())) letters += text.front();
    return letters;
}

// Blanks, a sign and digits at the front of the text.
std::optional<std::int64_t> numberAt(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(kWhiteSpace), text.size()));
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    std::int64_t number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc() ? std::optional(number) : std::nullopt;
}

void appendNumber(Bytes& payload, std::string_view text, int bytes) {
    const std::optional<std::int64_t> number = numberAt(text);
    if (!number) return;
    for (int i = 0; i < bytes; ++i)
        payload.push_back(static_cast<unsigned char>(*number >> (8 * i)));
}

// Reads the field that letter begins, if it does; text is what stands behind the letter. The rest of a text
// field is used up, the digits of a number are left for the scan to skip.
bool takeField(char letter, std::string_view& text, Bytes& payload) {
    if (upper(letter) == 'S') {
        payload.insert(payload.end(), text.begin(), text.end());
        text = {};
        return true;
    }
    for (const NumberField& field : kNumberFields)
        if (field.letter == upper(letter)) {
            appendNumber(payload, text, field.bytes);
            return true;
        }
    return false;
}

Bytes compileFields(std::string_view text) {
    Bytes payload;
    bool armed = false;
    while (!text.empty() && payload.size() < kLongestMakerPayload) {
        const char c = text.front();
        text.remove_prefix(1);
        if (c == ',' || c == ' ')
            armed = true;
        else if (armed && takeField(c, text, payload))
            armed = false;
    }
    payload.resize(std::min(payload.size(), kLongestMakerPayload));
    return payload;
}

Bytes bareFrame(std::string_view letters) {
    Bytes frame = {'$', '$'};
    frame.insert(frame.end(), letters.begin(), letters.end());
    frame.insert(frame.end(), {xorOf(bytesOf(letters)), '\r', '\n'});
    return frame;
}

}  // namespace

Bytes compileMakerText(std::string_view text, GPSOEMTYPE dialect) {
    text = text.substr(0, kLongestText);
    const std::string letters = takeCommand(text);
    if (letters.size() < 2) return bareFrame(letters);
    return makerFrame(letters, makerSelector(dialect), compileFields(text));
}

}  // namespace vkcomm
