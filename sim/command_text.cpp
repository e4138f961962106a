#include "sim/command_text.h"

#include <algorithm>
#include <charconv>

#include "vkcomm/util/hex_digit.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm::sim {

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

std::string_view withoutSign(std::string_view text) {
    if (text.starts_with('-') || text.starts_with('+')) text.remove_prefix(1);
    return text;
}

}  // namespace

Words splitWords(std::string_view text, char separator) {
    Words words(1);
    bool inQuotes = false;
    int braces = 0;
    for (const char c : text) {
        if (c == '"') inQuotes = !inQuotes;
        if (c == '{' && !inQuotes) ++braces;
        if (c == '}' && !inQuotes) --braces;
        if (c == separator && !inQuotes && braces <= 0)
            words.emplace_back();
        else
            words.back() += c;
    }
    return words;
}

std::string_view asText(ByteSpan bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string shownText(ByteSpan bytes) {
    std::string text;
    for (const unsigned char byte : bytes)
        if (byte >= ' ' && byte <= '~')
            text += static_cast<char>(byte);
        else
            appendFormat(text, "\\x%02X", unsigned{byte});
    return text;
}

std::string hexText(ByteSpan bytes) {
    std::string text;
    for (const unsigned char byte : bytes)
        appendFormat(text, text.empty() ? "%02X" : " %02X", unsigned{byte});
    return text;
}

std::string numbersText(ByteSpan bytes) {
    std::string text;
    for (const unsigned char byte : bytes)
        appendFormat(text, text.empty() ? "%u" : " %u", unsigned{byte});
    return text;
}

std::string wholeText(long long number) {
    std::string text;
    appendInteger(text, number);
    return text;
}

std::string choiceOf(std::string_view choices, std::string_view word) {
    for (const std::string& choice : splitWords(choices, ' '))
        if (lowerCase(choice) == lowerCase(word)) return choice;
    return {};
}

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return lower;
}

std::optional<long long> wholeNumber(std::string_view text) {
    const std::string_view digits = withoutSign(text);
    if (digits.empty() || !std::ranges::all_of(digits, isDigit)) return std::nullopt;
    if (text.starts_with('+')) text.remove_prefix(1);
    long long number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc() ? std::optional(number) : std::nullopt;
}

std::optional<double> decimalNumber(std::string_view text) {
    const std::string_view unsignedText = withoutSign(text);
    const auto digits = std::ranges::count_if(unsignedText, isDigit);
    const auto points = std::ranges::count(unsignedText, '.');
    if (digits == 0 || points > 1 || digits + points != std::ssize(unsignedText)) return std::nullopt;
    return parseDouble(text);
}

std::vector<unsigned char> bytesOfDigits(std::string_view digits) {
    std::vector<unsigned char> bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        const int high = hexDigit(digits[i]), low = hexDigit(digits[i + 1]);
        if (high < 0 || low < 0) return {};
        bytes.push_back(static_cast<unsigned char>(high << 4 | low));
    }
    return digits.size() % 2 == 0 ? bytes : std::vector<unsigned char>();
}

}  // namespace vkcomm::sim
