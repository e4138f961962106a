#include "host/javad_framer.h"

#include <algorithm>
#include <bit>

#include "host/byte_text.h"

namespace vkcomm {

namespace {

constexpr std::size_t kHead = 5;

constexpr bool isIdCharacter(unsigned char c) { return c >= 0x30 && c <= 0x7E; }

// Longer lines are none.
constexpr std::size_t kLongestLine = 1024;

constexpr bool beginsLine(unsigned char c) { return c >= '!' && c <= '/'; }

constexpr bool isSeparator(unsigned char c) { return c == '\r' || c == '\n'; }

// The value of an upper-case hexadecimal digit, or nothing.
constexpr std::optional<unsigned> digitValue(unsigned char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return std::nullopt;
}

std::optional<std::size_t> numberOf(ByteSpan digits) {
    std::size_t value = 0;
    for (const unsigned char c : digits) {
        const std::optional<unsigned> digit = digitValue(c);
        if (!digit) return std::nullopt;
        value = value * 16 + *digit;
    }
    return value;
}

std::string_view idOf(ByteSpan message) { return textOf(message.first(2)); }

enum class Check { kByte, kDigits, kPlainText };

struct TextMessage {
    std::string_view id;
    Check check;
};

constexpr TextMessage kTextMessages[] = {
    {"MF", Check::kDigits},    {"PM", Check::kDigits},    {"JP", Check::kPlainText},
    {"RE", Check::kPlainText}, {"ER", Check::kPlainText},
};

Check checkOf(std::string_view id) {
    const auto* row = std::ranges::find(kTextMessages, id, &TextMessage::id);
    return row == std::end(kTextMessages) ? Check::kByte : row->check;
}

bool endsInByte(ByteSpan message) {
    return message.size() > kHead && message.back() == javadChecksum(message.first(message.size() - 1));
}

bool endsInDigits(ByteSpan message) {
    constexpr std::size_t kDigits = 2;
    if (message.size() < kHead + kDigits) return false;
    return numberOf(message.last(kDigits)) == javadChecksum(message.first(message.size() - kDigits));
}

constexpr bool isText(unsigned char c) { return (c >= 0x20 && c <= 0x7E) || c == '\t'; }

bool isPlainBody(ByteSpan message) {
    return std::ranges::all_of(message.subspan(kHead),
                               [](unsigned char c) { return isText(c) || isSeparator(c); });
}

bool isMessage(ByteSpan bytes) {
    switch (checkOf(idOf(bytes))) {
    case Check::kDigits: return endsInDigits(bytes);
    case Check::kPlainText: return isPlainBody(bytes);
    case Check::kByte: break;
    }
    return endsInByte(bytes);
}

// What may begin with the bytes at hand.
enum class Finding { kNothing, kUnfinished, kMessage, kLine };

struct Head {
    Finding finding;
    std::size_t size = 0;  // of a message or line
};

// A line ends in CR, LF or CR LF; a CR that ends the bytes at hand may have an LF to come.
Head inspectLine(ByteSpan held) {
    held = held.first(std::min(held.size(), kLongestLine));
    const auto end = std::ranges::find_if_not(held, isText);
    const auto size = static_cast<std::size_t>(end - held.begin());
    if (end == held.end()) return {size < kLongestLine ? Finding::kUnfinished : Finding::kNothing};
    if (!isSeparator(*end)) return {Finding::kNothing};
    if (*end == '\n') return {Finding::kLine, size + 1};
    if (end + 1 == held.end()) return {Finding::kUnfinished};
    return {Finding::kLine, size + (end[1] == '\n' ? 2U : 1U)};
}

Head inspect(ByteSpan held) {
    if (beginsLine(held[0])) return inspectLine(held);
    if (!std::ranges::all_of(held.first(std::min<std::size_t>(held.size(), 2)), isIdCharacter))
        return {Finding::kNothing};
    const ByteSpan digits = held.subspan(std::min<std::size_t>(held.size(), 2));
    const auto length = numberOf(digits.first(std::min<std::size_t>(digits.size(), 3)));
    if (!length) return {Finding::kNothing};
    if (held.size() < kHead || held.size() - kHead < *length) return {Finding::kUnfinished};
    const std::size_t size = kHead + *length;
    return isMessage(held.first(size)) ? Head{Finding::kMessage, size} : Head{Finding::kNothing};
}

struct StoredMessage {
    std::string_view id;
    std::size_t shortest;  // body
    void (CJavadFormat::*process)(ByteSpan);
};

constexpr StoredMessage kStoredMessages[] = {
    {"PO", 30, &CJavadFormat::vProcessPO}, {"PV", 46, &CJavadFormat::vProcessPV},
    {"DP", 14, &CJavadFormat::vProcessDP}, {"GT", 7, &CJavadFormat::vProcessGT},
    {"RD", 6, &CJavadFormat::vProcessRD},  {"SG", 18, &CJavadFormat::vProcessSG},
    {"PS", 9, &CJavadFormat::vProcessPS},
};

}  // namespace

void JavadFramer::feed(ByteSpan bytes) {
    m_buffer.erase(m_buffer.begin(), m_buffer.begin() + static_cast<std::ptrdiff_t>(m_start));
    m_start = 0;
    m_buffer.insert(m_buffer.end(), bytes.begin(), bytes.end());
}

std::optional<JavadMessage> JavadFramer::next() { return search(false); }

std::optional<JavadMessage> JavadFramer::nextAtEnd() { return search(true); }

bool JavadFramer::giveUpLead() {
    if (held() == 0) return false;
    skip(1);
    return true;
}

std::optional<JavadMessage> JavadFramer::search(bool atEnd) {
    while (held() > 0) {
        const Head head = inspect(ByteSpan(m_buffer).subspan(m_start));
        if (head.finding == Finding::kMessage) return take(head.size);
        if (head.finding == Finding::kLine && m_givesLines) return takeLine(head.size);
        if (head.finding == Finding::kUnfinished && !atEnd) return std::nullopt;
        skip(head.finding == Finding::kLine ? head.size : 1);
    }
    return std::nullopt;
}

JavadMessage JavadFramer::take(std::size_t size) {
    const ByteSpan bytes = ByteSpan(m_buffer).subspan(m_start, size);
    const JavadMessage message{idOf(bytes), bytes.subspan(kHead), bytes, m_offset};
    m_start += size;
    m_offset += size;
    ++m_messages;
    m_messageBytes += size;
    return message;
}

JavadMessage JavadFramer::takeLine(std::size_t size) {
    const ByteSpan bytes = ByteSpan(m_buffer).subspan(m_start, size);
    const JavadMessage line{{}, {}, bytes, m_offset};
    m_start += size;
    m_offset += size;
    m_lineBytes += size;
    return line;
}

void JavadFramer::skip(std::size_t size) {
    for (const unsigned char byte : ByteSpan(m_buffer).subspan(m_start, size))
        ++(isSeparator(byte) ? m_separators : m_dropped);
    m_start += size;
    m_offset += size;
}

unsigned char javadChecksum(ByteSpan bytes) {
    unsigned char sum = 0;
    for (const unsigned char byte : bytes)
        sum = static_cast<unsigned char>(std::rotl(sum, 2) ^ byte);
    return std::rotl(sum, 2);
}

bool storeJavadMessage(CJavadFormat& parser, const JavadMessage& message) {
    const auto* row = std::ranges::find(kStoredMessages, message.id, &StoredMessage::id);
    if (row == std::end(kStoredMessages) || message.body.size() < row->shortest) return false;
    (parser.*row->process)(message.body);
    return true;
}

}  // namespace vkcomm
