#include "vkcomm/formats/csi_format.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "vkcomm/formats/reply_text.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr std::size_t kChannelsAt = 20;
constexpr std::size_t kChannelBytes = 24;

// The shortest record of each message: the last byte that is read, the sum and the line end.
constexpr std::size_t kTailBytes = 4;
constexpr std::size_t kNavigationBytes = 58 + kTailBytes;
constexpr std::size_t kSolutionBytes = 22 + kTailBytes;
constexpr std::size_t kChannelsBytes =
    kChannelsAt + CsiSatelliteTable::kCapacity * kChannelBytes + kTailBytes;

constexpr unsigned char kPhaseLock = 0x40;
// Code lock to frame sync with a new epoch, and phase lock: all a channel can have.
constexpr unsigned char kFullyLocked = '_';

constexpr bool isKnownPrn(int prn) { return (prn >= 1 && prn <= 37) || (prn >= 120 && prn <= 140); }

ByteSpan channel(ByteSpan record, std::size_t index) {
    return record.subspan(kChannelsAt + index * kChannelBytes, kChannelBytes);
}

std::uint32_t wholeSeconds(double seconds) {
    if (!(seconds > 0.0)) return 0;
    return static_cast<std::uint32_t>(std::min(seconds, double{std::numeric_limits<std::uint32_t>::max()}));
}

template <typename T>
T clampedTo(long value) {
    using Limits = std::numeric_limits<T>;
    return static_cast<T>(std::clamp<long>(value, Limits::min(), Limits::max()));
}

template <typename T>
T finite(std::string_view value) {
    constexpr double kMost = std::numeric_limits<T>::max();
    return static_cast<T>(std::clamp(parseDouble(value), -kMost, kMost));
}

CsiNavigation decodeNavigation(ByteSpan record) {
    ByteReader reader(record);
    reader.skip(10);
    CsiNavigation navigation;
    navigation.gpsWeek = reader.le<std::uint16_t>();
    navigation.gpsSeconds = wholeSeconds(reader.le<double>());
    navigation.latitude = reader.le<double>();
    navigation.longitude = reader.le<double>();
    navigation.height = double{reader.le<float>()};
    navigation.velocityNorth = reader.le<float>();
    navigation.velocityEast = reader.le<float>();
    navigation.velocityUp = reader.le<float>();
    navigation.residualDeviation = reader.le<float>();
    navigation.navigationMode = reader.le<std::uint16_t>();
    return navigation;
}

CsiSolution decodeSolution(ByteSpan record) {
    CsiSolution solution;
    solution.trackedMask = loadLe<std::uint32_t>(&record[8]);
    solution.usedMask = loadLe<std::uint32_t>(&record[12]);
    solution.satellitesTracked = static_cast<std::uint32_t>(std::popcount(solution.trackedMask));
    solution.satellites = static_cast<std::uint32_t>(std::popcount(solution.usedMask));
    solution.hdop = loadLe<std::int16_t>(&record[18]) / 10.0;
    solution.vdop = loadLe<std::int16_t>(&record[20]) / 10.0;
    return solution;
}

// Deliberate: the natural logarithm, and truncation toward zero. Hosts know levels on this scale.
std::int16_t signalLevel(unsigned char raw) {
    if (raw == 0) return 0;
    return static_cast<std::int16_t>(10.0 * std::log(0.8192 * raw));
}

// Deliberate: without a mask, a channel counts as used when its status is exactly that of full lock; with
// one, satellites from 33 on (SBAS) never are, since the mask has no bits for them.
bool isUsed(int prn, unsigned char status, std::uint32_t usedMask) {
    if (usedMask == 0) return status == kFullyLocked;
    return prn <= 32 && (usedMask >> (prn - 1) & 1) != 0;
}

CsiSatellite decodeSatellite(ByteSpan channel, std::uint32_t usedMask, const CsiSatellite& before) {
    CsiSatellite satellite;
    satellite.prn = channel[1];
    satellite.elevation = static_cast<std::int8_t>(channel[8]);
    satellite.azimuth = static_cast<std::int16_t>(channel[9] * 2);
    satellite.phaseLocked = (channel[2] & kPhaseLock) != 0;
    satellite.used = isUsed(satellite.prn, channel[2], usedMask);
    if (satellite.prn == before.prn) {
        satellite.signalLevel = before.signalLevel;
        satellite.channelValue = before.channelValue;
    }
    return satellite;
}

// A word of a setting's value and its code.
struct Word {
    std::string_view word;
    int code;
};

constexpr Word kSources[] = {{"NONE", 0}, {"WAAS", 1}, {"BEACON", 2}, {"THIS PORT", 3}};
constexpr Word kAltitudes[] = {{"NEVER", 0}, {"SOMETIMES", 1}, {"ALWAYS", 2}};
constexpr Word kAirModes[] = {{"AUTO", 0}, {"NORM", 1}, {"HIGH", 2}, {"LOW", 3}};
constexpr Word kSmoothings[] = {{"LONG", 0}, {"SHORT", 1}};

int codeOfWordIn(std::string_view value, std::span<const Word> words, int otherwise) {
    const auto stands = [value](const Word& word) { return value.find(word.word) != value.npos; };
    const auto row = std::ranges::find_if(words, stands);
    return row == words.end() ? otherwise : row->code;
}

struct ShowHandler {
    std::string_view keyword;
    void (CCSIFormat::*process)(std::string_view);
};

constexpr ShowHandler kShowHandlers[] = {
    {"BAUD", &CCSIFormat::Process_JShow_baud},     {"DIFF", &CCSIFormat::Process_JShow_Diff},
    {"ALT", &CCSIFormat::Process_JShow_Alt},       {"LIMIT", &CCSIFormat::Process_JShow_Limit},
    {"MASK", &CCSIFormat::Process_JShow_Mask},     {"AIR", &CCSIFormat::Process_JShow_Air},
    {"SMOOTH", &CCSIFormat::Process_JShow_Smooth}, {"FREQ", &CCSIFormat::Process_JShow_Freq},
    {"AGE", &CCSIFormat::Process_JShow_Age},       {"THISPORT", &CCSIFormat::Process_JShow_Thisport},
};

}  // namespace

void CCSIFormat::ProcessSBinaryMsg1(const unsigned char* record) {
    if (record) ProcessSBinaryMsg1(ByteSpan(record, kNavigationBytes));
}

void CCSIFormat::ProcessSBinaryMsg2(const unsigned char* record) {
    if (record) ProcessSBinaryMsg2(ByteSpan(record, kSolutionBytes));
}

void CCSIFormat::ProcessSBinaryMsg96(const unsigned char* record) {
    if (record) ProcessSBinaryMsg96(ByteSpan(record, kChannelsBytes));
}

void CCSIFormat::ProcessSBinaryMsg99(const unsigned char* record) {
    if (record) ProcessSBinaryMsg99(ByteSpan(record, kChannelsBytes));
}

void CCSIFormat::ProcessSBinaryMsg1(ByteSpan record) {
    if (record.size() < kNavigationBytes) return;
    m_solution.satellites = record[9];
    m_navigation = decodeNavigation(record);
}

void CCSIFormat::ProcessSBinaryMsg2(ByteSpan record) {
    if (record.size() >= kSolutionBytes) m_solution = decodeSolution(record);
}

void CCSIFormat::ProcessSBinaryMsg96(ByteSpan record) {
    if (record.size() < kChannelsBytes) return;
    for (std::size_t i = 0; i < CsiSatelliteTable::kCapacity; ++i) {
        const ByteSpan from = channel(record, i);
        if (!isKnownPrn(from[0])) continue;
        for (CsiSatellite& row : m_table.rows) {
            if (row.prn != from[0]) continue;
            row.channelValue = from[3];
            row.signalLevel = signalLevel(from[1]);
        }
    }
    UpdateValidSatNum();
}

void CCSIFormat::ProcessSBinaryMsg99(ByteSpan record) {
    if (record.size() < kChannelsBytes) return;
    m_table.count = 0;
    for (std::size_t i = 0; i < CsiSatelliteTable::kCapacity; ++i) {
        const ByteSpan from = channel(record, i);
        if (!isKnownPrn(from[1])) continue;
        CsiSatellite& row = m_table.rows[m_table.count++];
        row = decodeSatellite(from, m_solution.usedMask, row);
    }
    std::fill(m_table.rows.begin() + m_table.count, m_table.rows.end(), CsiSatellite{});
}

void CCSIFormat::UpdateValidSatNum() {
    const auto isValid = [](const CsiSatellite& row) {
        return isKnownPrn(row.prn) && row.used != 0 && row.signalLevel > 0;
    };
    const auto rows = std::span(m_table.rows).first(m_table.count);
    m_table.valid = static_cast<std::uint32_t>(std::ranges::count_if(rows, isValid));
}

void CCSIFormat::ProcessCSISHOW(const char* reply) {
    const std::string_view text = terminatedText(reply);
    ProcessCSISHOW(ByteSpan(reinterpret_cast<const unsigned char*>(text.data()), text.size()));
}

void CCSIFormat::ProcessCSISHOW(ByteSpan reply) {
    for (std::string_view rest = recordText(reply); !rest.empty();)
        processShowLine(takeUntil(rest, '\n'));
}

void CCSIFormat::processShowLine(std::string_view line) {
    constexpr std::string_view kHead = "JSHOW,";
    if (const std::size_t head = line.find(kHead); head != line.npos) line.remove_prefix(head + kHead.size());
    const std::string_view keyword = trimmed(takeUntil(line, ','));
    const auto* row = std::ranges::find(kShowHandlers, keyword, &ShowHandler::keyword);
    if (row != std::end(kShowHandlers)) (this->*row->process)(trimmed(line));
}

void CCSIFormat::Process_JShow_baud(std::string_view value) {
    if (value.find(',') == value.npos) m_settings.baud = clampedTo<std::int32_t>(parseInteger(value));
}

void CCSIFormat::Process_JShow_Diff(std::string_view value) {
    const auto* row = std::ranges::find(kSources, value, &Word::word);
    m_settings.differentialSource = row == std::end(kSources) ? 4 : row->code;
}

void CCSIFormat::Process_JShow_Alt(std::string_view value) {
    m_settings.altitudeUse = codeOfWordIn(value, kAltitudes, 4);
}

void CCSIFormat::Process_JShow_Limit(std::string_view value) { m_settings.limit = finite<float>(value); }

void CCSIFormat::Process_JShow_Mask(std::string_view value) {
    m_settings.maskAngle = clampedTo<std::int16_t>(parseInteger(value));
}

void CCSIFormat::Process_JShow_Air(std::string_view value) {
    m_settings.airMode = codeOfWordIn(value, kAirModes, 5);
}

void CCSIFormat::Process_JShow_Smooth(std::string_view value) {
    m_settings.smoothing = codeOfWordIn(value, kSmoothings, m_settings.smoothing);
}

void CCSIFormat::Process_JShow_Freq(std::string_view value) { m_settings.frequency = finite<double>(value); }

void CCSIFormat::Process_JShow_Age(std::string_view value) {
    m_settings.maximumAge = clampedTo<std::int16_t>(parseInteger(value));
}

void CCSIFormat::Process_JShow_Thisport(std::string_view value) { m_settings.thisPort = value; }

}  // namespace vkcomm
