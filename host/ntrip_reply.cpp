#include "host/ntrip_reply.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "host/byte_text.h"
#include "host/shown_text.h"
#include "vkcomm/net/base64.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::size_t kLongestIcyName = 64;
constexpr std::size_t kLongestIcyLine = 1024;
// Letters and '-': of these and a ':' no stream of corrections begins.
constexpr std::string_view kNameCharacters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz-";
constexpr std::string_view kStarts[] = {"ICY ", "HTTP/1.", "SOURCETABLE ", "ERROR"};
constexpr std::string_view kRecords[] = {"STR;", "CAS;", "NET;", "ENDSOURCETABLE"};
constexpr std::size_t kLongestChunkLine = 256;
constexpr std::size_t kMostShown = 1000;

// Names of fields and their values are compared without case.
std::string lowered(std::string_view text) {
    std::string low(text);
    std::transform(low.begin(), low.end(), low.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return low;
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

std::string_view firstLine(std::string_view head) {
    return trimmed(head.substr(0, std::min(head.find('\n'), head.size())));
}

// The number behind the first word; 0 without one.
long statusIn(std::string_view statusLine) {
    return parseInteger(statusLine.substr(std::min(statusLine.find(' '), statusLine.size())));
}

// The value of a field of the head; empty without it.
std::string_view field(std::string_view head, std::string_view name) {
    while (!head.empty()) {
        const std::size_t end = std::min(head.find('\n'), head.size());
        const std::string_view line = head.substr(0, end);
        const std::size_t colon = line.find(':');
        if (colon != line.npos && lowered(trimmed(line.substr(0, colon))) == name)
            return trimmed(line.substr(colon + 1));
        head.remove_prefix(std::min(end + 1, head.size()));
    }
    return {};
}

// A head ends with an empty line, whichever of the two line ends each line has; some source tables begin right behind
// their first line. 0: it does not end yet.
std::size_t headSize(std::string_view held) {
    const bool isTable = held.starts_with("SOURCETABLE");
    for (std::size_t end = held.find('\n'); end != held.npos; end = held.find('\n', end + 1)) {
        const std::string_view next = held.substr(end + 1);
        for (const std::string_view empty : {"\n", "\r\n"})
            if (next.starts_with(empty)) return end + 1 + empty.size();
        const auto begins = [next](std::string_view record) { return next.starts_with(record); };
        if (isTable && std::ranges::any_of(kRecords, begins)) return end + 1;
    }
    return 0;
}

struct StatusOutcome {
    long least;
    long most;
    NtripOutcome outcome;
};

constexpr StatusOutcome kStatuses[] = {
    {200, 200, NtripOutcome::kStream},       {300, 399, NtripOutcome::kRedirected},
    {401, 401, NtripOutcome::kUnauthorized}, {404, 404, NtripOutcome::kNotFound},
    {100, 599, NtripOutcome::kRefused},
};

NtripOutcome outcomeOf(long status) {
    for (const StatusOutcome& row : kStatuses)
        if (status >= row.least && status <= row.most) return row.outcome;
    return NtripOutcome::kMalformed;
}

struct Words {
    std::string_view contained;  // in lower case
    NtripOutcome outcome;
};

// "ERROR - Bad Password" and its relatives.
constexpr Words kErrors[] = {
    {"password", NtripOutcome::kUnauthorized},
    {"authori", NtripOutcome::kUnauthorized},
    {"mount", NtripOutcome::kNotFound},
    {"", NtripOutcome::kRefused},
};

NtripOutcome outcomeOfError(std::string_view line) {
    const std::string low = lowered(line);
    return std::find_if(std::begin(kErrors), std::end(kErrors),
                        [&low](const Words& words) { return low.find(words.contained) != low.npos; })
        ->outcome;
}

// Hexadecimal, up to 16 MiB.
std::optional<std::size_t> chunkSize(std::string_view text) {
    if (text.empty() || text.size() > 6) return std::nullopt;
    std::size_t size = 0;
    for (const char c : lowered(text)) {
        const std::size_t digit = std::string_view("0123456789abcdef").find(c);
        if (digit == std::string_view::npos) return std::nullopt;
        size = size * 16 + digit;
    }
    return size;
}

}  // namespace

NtripOutcome NtripReply::feed(std::string_view bytes, std::string& body) {
    if (m_outcome == NtripOutcome::kWaiting) {
        m_held += bytes;
        const std::size_t head = readHead();
        m_headOutcome = m_outcome;
        if (m_outcome == NtripOutcome::kWaiting) return m_outcome;
        const std::string rest = std::exchange(m_held, {}).substr(head);
        appendAfterIcy(rest, body);
    } else {
        appendAfterIcy(bytes, body);
    }
    return m_outcome;
}

// The bytes of the head once it is whole; 0 while it is not.
std::size_t NtripReply::readHead() {
    const std::string_view held = m_held;
    const std::size_t lineEnd = held.substr(0, kLongestHead).find('\n');
    const auto isKnown = [held](std::string_view start) {
        return held.substr(0, start.size()) == start.substr(0, held.size());
    };
    std::size_t size = 0;
    if (std::none_of(std::begin(kStarts), std::end(kStarts), isKnown)) {
        settle(NtripOutcome::kMalformed, "no caster answers like this");
    } else if (lineEnd == held.npos) {
        // The kind of reply is known with its first line.
    } else if (held.starts_with("ERROR")) {
        settle(outcomeOfError(firstLine(held)), firstLine(held));
    } else if (held.starts_with("ICY ")) {
        settle(outcomeOf(statusIn(firstLine(held))), firstLine(held));
        m_afterIcy = true;
        size = lineEnd + 1;
    } else {
        size = readHttpHead(held);
    }
    if (m_outcome == NtripOutcome::kWaiting && held.size() > kLongestHead)
        settle(NtripOutcome::kMalformed, "the head of the reply does not end");
    return size;
}

std::size_t NtripReply::readHttpHead(std::string_view held) {
    const std::size_t size = headSize(held);
    if (size == 0 || size > kLongestHead) return 0;
    const std::string_view head = held.substr(0, size);
    const bool isTable = held.starts_with("SOURCETABLE") ||
                         lowered(field(head, "content-type")).starts_with("gnss/sourcetable");
    const NtripOutcome outcome = outcomeOf(statusIn(firstLine(head)));
    const bool isStream = outcome == NtripOutcome::kStream;
    settle(isStream && isTable ? NtripOutcome::kSourceTable : outcome, firstLine(head));
    if (outcome == NtripOutcome::kRedirected) settle(outcome, field(head, "location"));
    if (isStream && lowered(field(head, "content-type")).starts_with("text/html"))
        settle(NtripOutcome::kMalformed, "a web page");
    if (lowered(field(head, "transfer-encoding")).find("chunked") != std::string::npos)
        m_chunk = Chunk::kSize;
    return size;
}

void NtripReply::settle(NtripOutcome outcome, std::string_view text) {
    m_outcome = outcome;
    m_text = shownText(text.substr(0, kMostShown));
}

// Behind "ICY 200 OK" the stream may begin at once, or after an empty line, or after fields and an empty line.
// The line alone must do: a caster may wait for a position before it sends anything more.
void NtripReply::appendAfterIcy(std::string_view bytes, std::string& body) {
    if (!m_afterIcy) return appendBody(bytes, body);
    m_held += bytes;
    for (;;) {
        if (m_held.empty() || m_held == "\r") return;
        if (m_held.starts_with(kLineEnd)) {
            m_held.erase(0, kLineEnd.size());
            break;
        }
        const std::size_t name = std::min(m_held.find_first_not_of(kNameCharacters), m_held.size());
        if (name == m_held.size() && name < kLongestIcyName) return;
        if (name >= kLongestIcyName || name == 0 || m_held[name] != ':') break;
        const std::size_t lineEnd = m_held.find('\n');
        if (lineEnd == m_held.npos && m_held.size() < kLongestIcyLine) return;
        if (lineEnd >= kLongestIcyLine) break;
        m_held.erase(0, lineEnd + 1);
        m_icyFields += lineEnd + 1;
        if (m_icyFields > kLongestHead)
            return settle(NtripOutcome::kMalformed, "the head of the reply does not end");
    }
    m_afterIcy = false;
    appendBody(std::exchange(m_held, {}), body);
}

void NtripReply::appendBody(std::string_view bytes, std::string& body) {
    if (m_outcome != NtripOutcome::kStream && m_outcome != NtripOutcome::kSourceTable) return;
    if (m_chunk == Chunk::kNone) {
        body += bytes;
        return;
    }
    while (!bytes.empty() && m_chunk != Chunk::kEnd && m_outcome != NtripOutcome::kMalformed) {
        if (m_chunk != Chunk::kData) {
            readChunkLine(bytes);
            continue;
        }
        const std::size_t count = std::min(bytes.size(), m_chunkRest);
        body += bytes.substr(0, count);
        bytes.remove_prefix(count);
        m_chunkRest -= count;
        if (m_chunkRest == 0) m_chunk = Chunk::kDataEnd;
    }
}

// The line with the size of a chunk, or the empty line behind its data.
void NtripReply::readChunkLine(std::string_view& bytes) {
    const std::size_t end = bytes.find('\n');
    m_held += bytes.substr(0, std::min(end, bytes.size()));
    bytes.remove_prefix(end == bytes.npos ? bytes.size() : end + 1);
    if (m_held.size() > kLongestChunkLine) return settle(NtripOutcome::kMalformed, "a chunk has no size");
    if (end == bytes.npos) return;

    const std::string line = std::exchange(m_held, {});
    if (m_chunk == Chunk::kDataEnd) {
        m_chunk = Chunk::kSize;
        if (!trimmed(line).empty()) settle(NtripOutcome::kMalformed, "a chunk does not end where it should");
        return;
    }
    const auto size = chunkSize(trimmed(std::string_view(line).substr(0, line.find(';'))));
    if (!size) return settle(NtripOutcome::kMalformed, "a chunk has no size");
    m_chunkRest = *size;
    m_chunk = *size == 0 ? Chunk::kEnd : Chunk::kData;
}

std::string ntripRequest(const CasterUrl& caster, NtripVersion version, std::string_view gga) {
    const bool isSecond = version == NtripVersion::k2;
    std::string request = "GET /" + caster.mount + (isSecond ? " HTTP/1.1\r\n" : " HTTP/1.0\r\n");
    if (isSecond) request += "Host: " + caster.host + ":" + std::to_string(caster.port) + "\r\n";
    if (isSecond) request += "Ntrip-Version: Ntrip/2.0\r\n";
    request += "User-Agent: NTRIP VKComm/" VKCOMM_VERSION "\r\n";
    if (!caster.user.empty() || !caster.password.empty()) {
        const std::string credentials = caster.user + ":" + caster.password;
        request += "Authorization: Basic " + CBase64().Encode(spanOf(credentials)) + "\r\n";
    }
    if (isSecond && !gga.empty()) request += "Ntrip-GGA: " + std::string(trimmed(gga)) + "\r\n";
    return request + (isSecond ? "Connection: close\r\n\r\n" : "\r\n");
}

}  // namespace vkcomm
