#include "sim/caster_protocol.h"

#include <algorithm>
#include <array>

#include "sim/geodesy.h"
#include "vkcomm/util/checksums.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm::sim {

namespace {

constexpr std::string_view kEndOfHead = "\r\n\r\n";

char lowered(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool equalWithoutCase(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, [](char x, char y) { return lowered(x) == lowered(y); });
}

std::string_view trimmed(std::string_view text) {
    const std::size_t begin = std::min(text.find_first_not_of(" \t\r"), text.size());
    return text.substr(begin, text.find_last_not_of(" \t\r") + 1 - begin);
}

// Takes the text up to the separator, and the separator, from the front.
std::string_view takeUpTo(std::string_view& text, std::string_view separator) {
    const std::size_t end = std::min(text.find(separator), text.size());
    const std::string_view taken = text.substr(0, end);
    text.remove_prefix(std::min(end + separator.size(), text.size()));
    return taken;
}

std::string base64(std::string_view bytes) {
    constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        unsigned group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8 | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0u);
        for (std::size_t k = 0; k < 4; ++k)
            text += i + k > bytes.size() ? '=' : kAlphabet[group >> (18 - 6 * k) & 0x3F];
    }
    return text;
}

std::string withLength(std::string_view body) {
    std::string text = "Content-Length: ";
    appendInteger(text, static_cast<long long>(body.size()));
    return text + "\r\nConnection: close\r\n\r\n" + std::string(body);
}

struct AnswerRow {
    std::string_view status;
    std::string_view fields;
    std::string_view body;
};

// By CasterAnswer.
constexpr std::array<AnswerRow, 4> kAnswers{{
    {"200 OK", "Ntrip-Version: Ntrip/2.0\r\nContent-Type: gnss/data\r\nCache-Control: no-store\r\n", ""},
    {"400 Bad Request", "", "Only GET requests of NTRIP clients are served.\r\n"},
    {"401 Unauthorized", "WWW-Authenticate: Basic realm=\"simulated caster\"\r\n",
     "Wrong name or password.\r\n"},
    {"404 Not Found", "", "No such mount point.\r\n"},
}};

}  // namespace

std::size_t requestSize(std::string_view bytes) {
    const std::size_t end = bytes.find(kEndOfHead);
    return end == bytes.npos ? 0 : end + kEndOfHead.size();
}

std::optional<CasterRequest> parseCasterRequest(std::string_view request) {
    std::string_view line = takeUpTo(request, "\r\n");
    if (takeUpTo(line, " /") != "GET") return std::nullopt;
    CasterRequest parsed;
    parsed.mount = takeUpTo(line, " ");
    if (line != "HTTP/1.0" && line != "HTTP/1.1") return std::nullopt;

    const bool mayBeSecond = line == "HTTP/1.1";
    std::string version;
    const std::pair<std::string_view, std::string*> fields[] = {{"ntrip-version", &version},
                                                                {"user-agent", &parsed.userAgent},
                                                                {"authorization", &parsed.authorization},
                                                                {"ntrip-gga", &parsed.gga}};
    while (!request.empty()) {
        std::string_view value = takeUpTo(request, "\r\n");
        const std::string_view name = takeUpTo(value, ":");
        for (const auto& [known, place] : fields)
            if (equalWithoutCase(name, known)) *place = trimmed(value);
    }
    if (!equalWithoutCase(std::string_view(parsed.userAgent).substr(0, 5), "NTRIP")) return std::nullopt;
    parsed.version = mayBeSecond && equalWithoutCase(version, "Ntrip/2.0") ? 2 : 1;
    return parsed;
}

bool isAuthorized(std::string_view authorization, std::string_view user, std::string_view password) {
    const std::string_view scheme = takeUpTo(authorization, " ");
    return equalWithoutCase(scheme, "basic") &&
           trimmed(authorization) == base64(std::string(user) + ":" + std::string(password));
}

bool isPosition(std::string_view line) {
    constexpr int kQualityField = 6;
    if (!line.starts_with('$') || line.substr(std::min<std::size_t>(line.size(), 3), 4) != "GGA,")
        return false;
    if (testSentence(line) != TESTXOR_OK) return false;
    for (int field = 0; field < kQualityField; ++field)
        takeUpTo(line, ",");
    return parseInteger(line) > 0;
}

std::string casterHead(CasterAnswer answer, int version) {
    const AnswerRow& row = kAnswers[static_cast<std::size_t>(answer)];
    if (answer == CasterAnswer::kStream && version == 1) return "ICY 200 OK\r\n";
    std::string head = version == 1 ? "HTTP/1.0 " : "HTTP/1.1 ";
    head.append(row.status).append("\r\nServer: NTRIP SimulatedCaster/1.0\r\n").append(row.fields);
    if (answer != CasterAnswer::kStream) return head + withLength(row.body);
    return head + "Connection: close\r\nTransfer-Encoding: chunked\r\n\r\n";
}

std::string sourceTableAnswer(std::span<const CasterMount> mounts, bool needsPassword, int version) {
    std::string table;
    for (const CasterMount& mount : mounts) {
        table += "STR;" + mount.name + ";Simulated;RTCM 3.1;1004(1),1006(10),1010(1);2;GPS+GLO;VKCOMM;CHE;";
        appendFixed(table, kBaseLatitude, 2);
        table += ';';
        appendFixed(table, kBaseLongitude, 2);
        const std::string_view flag = mount.needsPosition ? "1" : "0";
        table.append(";").append(flag).append(";").append(flag).append(";simulator;none;");
        table.append(needsPassword ? "B" : "N").append(";N;1800;\r\n");
    }
    table += "ENDSOURCETABLE\r\n";
    const std::string_view head = version == 1
                                      ? "SOURCETABLE 200 OK\r\nServer: NTRIP SimulatedCaster/1.0\r\n"
                                        "Content-Type: text/plain\r\n"
                                      : "HTTP/1.1 200 OK\r\nServer: NTRIP SimulatedCaster/1.0\r\n"
                                        "Ntrip-Version: Ntrip/2.0\r\nContent-Type: gnss/sourcetable\r\n";
    return std::string(head) + withLength(table);
}

std::string chunkOf(std::string_view bytes) {
    std::string chunk;
    appendFormat(chunk, "%zx\r\n", bytes.size());
    return chunk.append(bytes).append("\r\n");
}

}  // namespace vkcomm::sim
