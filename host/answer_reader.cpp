#include "host/answer_reader.h"

#include <algorithm>
#include <array>
#include <utility>

#include "host/byte_text.h"
#include "host/family_rows.h"
#include "host/receiver_family.h"
#include "host/record_lines.h"
#include "vkcomm/frames/frame_bytes.h"

namespace vkcomm {

namespace {

constexpr int kAnyId = -1;

// Records that are a verdict. Where a byte of the record says which, it is 0 for a refusal.
struct VerdictRow {
    Dialect dialect;
    LOG_TYPE type;
    int id;
    AnswerKind kind;
    std::optional<std::size_t> flagAt = {};
};

constexpr std::size_t kCmcFlagAt = 5;  // behind header and the Id acknowledged
constexpr std::size_t kMakerFlagAt = 6;
constexpr int kCmcAcknowledge = 126;

constexpr VerdictRow kVerdicts[] = {
    {Dialect::kNovatel, LOG_REPLY_OK, kAnyId, AnswerKind::kAccepted},
    {Dialect::kNovatel, LOG_REPLY_ERROR, kAnyId, AnswerKind::kRefused},
    {Dialect::kJavad, LOG_NONE, static_cast<int>(javadId("RE")), AnswerKind::kAccepted},
    {Dialect::kJavad, LOG_NONE, static_cast<int>(javadId("ER")), AnswerKind::kRefused},
    {Dialect::kThales, LOG_NMEA, static_cast<int>(kPashrAck), AnswerKind::kAccepted},
    {Dialect::kThales, LOG_NMEA, static_cast<int>(kPashrNak), AnswerKind::kRefused},
    {Dialect::kNmea, LOG_NMEA, static_cast<int>(kPashrAck), AnswerKind::kAccepted},
    {Dialect::kNmea, LOG_NMEA, static_cast<int>(kPashrNak), AnswerKind::kRefused},
    {Dialect::kCmc, LOG_CMC_BINARY, kCmcAcknowledge, AnswerKind::kAccepted, kCmcFlagAt},
    {Dialect::kCsi, LOG_CSI_REPLY, static_cast<int>(kCsiReply), AnswerKind::kAccepted},
    {Dialect::kMaker, LOG_VAREK_REPLY, kAnyId, AnswerKind::kAccepted, kMakerFlagAt},
    {Dialect::kMaker, LOG_AT_BINARY, kAnyId, AnswerKind::kAccepted},
};

// In the maker's frames its own answers come between those of the board.
const VerdictRow* verdictOf(const CommandTarget& target, const RecordView& record) {
    const auto row = std::ranges::find_if(kVerdicts, [&](const VerdictRow& each) {
        const bool isSpoken = each.dialect == target.dialect ||
                              (each.dialect == Dialect::kMaker && each.type == LOG_VAREK_REPLY);
        return isSpoken && each.type == record.type &&
               (each.id == kAnyId || static_cast<unsigned>(each.id) == record.id);
    });
    return row == std::end(kVerdicts) ? nullptr : row;
}

AnswerKind kindOfVerdict(const VerdictRow& row, const RecordView& record) {
    const bool saysNo = row.flagAt && *row.flagAt < record.bytes.size() && record.bytes[*row.flagAt] == 0;
    return saysNo ? AnswerKind::kRefused : row.kind;
}

std::string nameText(const RecordView& record) {
    const RecordName name = nameOf(kindOf(record));
    return std::string(name.view());
}

constexpr LOG_TYPE kTextTypes[] = {LOG_REPLY_OK, LOG_REPLY_ERROR, LOG_NONE, LOG_NMEA, LOG_CSI_REPLY};

std::uint32_t maskOf(const CommandTarget& target) {
    const ReceiverFamily* family = findFamily(target.family);
    const std::uint32_t mask = family ? family->decodeMask : kDecodeAll;
    return target.dialect == Dialect::kMaker ? mask | kDecodeAt : mask | kDecodeMaker;
}

constexpr unsigned char kAck = 0x06;
constexpr unsigned char kNak = 0x15;
constexpr std::string_view kCsiStart = "$>";
constexpr std::size_t kLongestCsiLine = 512;

// "name=value" words of a record without the columns in front of them.
std::string valuesText(const RoutedRecord& routed) {
    std::string text = nameText(routed.record);
    FieldWriter fields(text, LineFormat::kText);
    if (routed.parser)
        routed.parser->writeValues(fields, routed.record);
    else
        fields.text("text", lineOf(routed.record.bytes));
    return text;
}

// What a terminal must not see is left out.
std::string plain(std::string_view line) {
    std::string text(line);
    std::erase_if(text, [](char c) { return c < ' ' || c > '~'; });
    return text;
}

std::string verdictText(const RoutedRecord& routed) {
    const bool isText = std::ranges::find(kTextTypes, routed.record.type) != std::end(kTextTypes);
    return isText ? plain(lineOf(routed.record.bytes)) : valuesText(routed);
}

std::string aboutOf(const CommandTarget& target, const RecordView& record) {
    constexpr std::size_t kNumberAt = 4, kJavadTextAt = 5;
    const std::string_view text = textOf(record.bytes);
    if (target.dialect == Dialect::kCmc && record.type == LOG_CMC_BINARY)
        return std::string(text.substr(std::min(kNumberAt, text.size()), 1));
    if (target.dialect != Dialect::kJavad) return {};
    return std::string(javadLabel(text.substr(std::min(kJavadTextAt, text.size()))));
}

// "[COM1]" and "Com1>" are the port's own name; 0 for others.
int portOfPrompt(unsigned id) {
    constexpr std::array<int, 7> kPorts = {0, 0, 1, 2, 3, 1, 2};
    return id < kPorts.size() ? kPorts[id] : 0;
}

std::string lettersOf(const RecordView& record) {
    return record.type == LOG_VAREK_REPLY ? std::string(textOf(record.bytes.subspan(2, 2))) : std::string();
}

}  // namespace

AnswerReader::AnswerReader(const CommandTarget& target) : m_target(target) {
    m_decoder.vSetClock(m_clock);
    m_decoder.vSetDecodeMask(maskOf(target));
    m_reader = target.dialect == Dialect::kJavad ? makeJavadReader(m_decoder) : makeFrameReader(m_decoder);
}

void AnswerReader::want(std::optional<MessageKind> kind) {
    m_wanted = kind;
    if (m_inside) m_inside->want(kind);
}

void AnswerReader::feed(ByteSpan bytes) {
    if (m_target.dialect == Dialect::kTsip) {
        for (const unsigned char byte : bytes)
            takeTsipByte(byte);
        return;
    }
    while (!bytes.empty()) {
        const ByteSpan piece = bytes.first(std::min<std::size_t>(bytes.size(), kLargestChunk));
        bytes = bytes.subspan(piece.size());
        m_recent.insert(m_recent.end(), piece.begin(), piece.end());
        m_fed += piece.size();
        m_reader->feed(piece);
        takeRecords();
    }
}

void AnswerReader::pause() {
    while (m_reader->giveUpLead())
        takeRecords();
    if (m_inside) m_inside->pause();
}

void AnswerReader::takeRecords() {
    while (const auto record = m_reader->next()) {
        takeLooseUpTo(record->offset);
        const std::size_t skipped = std::min(record->bytes.size(), m_recent.size());
        const RoutedRecord routed = m_router.route(*record);
        take(routed);
        m_recent.erase(m_recent.begin(), m_recent.begin() + static_cast<std::ptrdiff_t>(skipped));
        m_taken += skipped;
    }
    takeLooseUpTo(m_fed - m_reader->held());
}

void AnswerReader::take(const RoutedRecord& routed) {
    const RecordView& record = routed.record;
    if (carriesRecords(kindOf(record))) {
        if (!m_inside) {
            m_inside = std::make_unique<AnswerReader>(m_target);
            m_inside->want(m_wanted);
        }
        m_inside->feed(makerPayload(record.bytes));
        while (auto answer = m_inside->next())
            m_answers.push_back(std::move(*answer));
        return;
    }
    if (record.type == LOG_PORT_PROMPT) m_promptPort = portOfPrompt(record.id);
    // Of a bare "$>" reply the decoder takes the '$' alone; the line is gathered here.
    const bool isCsiLead = record.type == LOG_CSI_REPLY && record.bytes.size() == 1;
    if (isCsiLead) return takeLoose(record.bytes);
    if (isWanted(record)) return addRecord(routed);
    if (const VerdictRow* row = verdictOf(m_target, record))
        m_answers.push_back({kindOfVerdict(*row, record),
                             verdictText(routed),
                             {},
                             lettersOf(record),
                             aboutOf(m_target, record)});
}

bool AnswerReader::isWanted(const RecordView& record) const {
    if (!m_wanted || m_wanted->id != record.id) return false;
    const bool isOem4Log = m_wanted->type == LOG_OEM4_BINARY && record.type == LOG_OEM4_ASCII;
    return m_wanted->type == record.type || isOem4Log;
}

void AnswerReader::addRecord(const RoutedRecord& routed) {
    std::string json;
    RecordLines().appendJson(json, routed);
    json.pop_back();
    m_answers.push_back({AnswerKind::kRecord, valuesText(routed), std::move(json)});
}

void AnswerReader::takeLooseUpTo(std::uint64_t offset) {
    if (offset <= m_taken) return;
    const std::size_t count =
        std::min<std::size_t>(static_cast<std::size_t>(offset - m_taken), m_recent.size());
    takeLoose(ByteSpan(m_recent).first(count));
    m_recent.erase(m_recent.begin(), m_recent.begin() + static_cast<std::ptrdiff_t>(count));
    m_taken += count;
}

void AnswerReader::takeLoose(ByteSpan bytes) {
    for (const unsigned char byte : bytes) {
        if (m_target.dialect == Dialect::kCsi) takeCsiByte(static_cast<char>(byte));
        if (m_target.dialect != Dialect::kTrimble) continue;
        if (byte == kAck) m_answers.push_back({AnswerKind::kAccepted, "ACK"});
        if (byte == kNak) m_answers.push_back({AnswerKind::kRefused, "NAK"});
    }
}

void AnswerReader::takeCsiByte(char character) {
    if (character == '\n' && m_line.size() >= kCsiStart.size()) {
        const bool isRefused = m_line.find("FAILED") != m_line.npos || m_line.find("ERROR") != m_line.npos;
        m_answers.push_back({isRefused ? AnswerKind::kRefused : AnswerKind::kAccepted, plain(m_line)});
        m_line.clear();
        return;
    }
    if (character != '\r') m_line += character;
    const std::size_t compared = std::min(m_line.size(), kCsiStart.size());
    const bool isAnswer = m_line.compare(0, compared, kCsiStart.substr(0, compared)) == 0;
    if (!isAnswer || m_line.size() > kLongestCsiLine) m_line.assign(character == '$' ? 1 : 0, '$');
}

// Whose packets the decoder does not put together: DLE, type, data with every DLE doubled, DLE, ETX.
void AnswerReader::takeTsipByte(unsigned char byte) {
    constexpr unsigned char kDle = 0x10, kEtx = 0x03;
    constexpr std::size_t kLongest = 512;
    const bool isEscaped = std::exchange(m_isEscape, false);
    if (byte == kDle && !isEscaped) {
        m_isEscape = true;
    } else if (isEscaped && byte == kEtx) {
        addTsipPacket(std::exchange(m_line, {}));
    } else if (isEscaped && byte != kDle) {
        m_line.assign(1, static_cast<char>(byte));
    } else if (!m_line.empty() && m_line.size() < kLongest) {
        m_line += static_cast<char>(byte);
    }
}

void AnswerReader::addTsipPacket(std::string_view packet) {
    if (packet.empty()) return;
    const ByteSpan bytes = spanOf(packet);
    std::string text = "packet ";
    appendUpperHex(text, bytes.first(1));
    FieldWriter(text += 'h', LineFormat::kText).bytes("data", bytes.subspan(1));
    m_answers.push_back({AnswerKind::kAccepted, std::move(text), {}, {}, std::string(packet.substr(0, 1))});
}

std::optional<Answer> AnswerReader::next() {
    if (m_answers.empty()) return std::nullopt;
    Answer answer = std::move(m_answers.front());
    m_answers.pop_front();
    return answer;
}

void AnswerReader::forget() { m_answers.clear(); }

}  // namespace vkcomm
