#include "vkcomm/formats/server_messages.h"

#include <algorithm>

#include "vkcomm/formats/range_compressed.h"

namespace vkcomm {

namespace {

constexpr double kCodeUnits = 8.0;     // of a code measurement in one cycle of L1
constexpr double kPhaseUnits = 256.0;  // of a phase correction in one cycle
constexpr double kClockUnit = 1e-7;
constexpr std::size_t kFixedPart = 44;
constexpr std::size_t kSatelliteSize = 21;
constexpr unsigned kFirstUnknownPrn = 63;

double codeMetres(int units) { return units / kCodeUnits * kWavelengthL1; }

// Cycles; a correction of 0 stands for a phase that was not measured.
double phaseCycles(int correction, double range, double wavelength) {
    return correction == 0 ? 0.0 : correction / kPhaseUnits + range / wavelength;
}

// Stores the satellite in slot i; false when it has no L1 and the slot stays free.
bool storeSatellite(ByteSpan satellite, tag_PellEpoch& epoch, std::size_t i) {
    const unsigned char* const at = satellite.data();
    epoch.byte0[i] = at[0];
    epoch.word1[i] = loadLe<std::uint16_t>(at + 1);
    epoch.l1Present[i] = at[3];
    epoch.byte4[i] = at[4];
    epoch.byte12[i] = at[12];
    epoch.l2Present[i] = at[13];
    epoch.byte14[i] = at[14];
    epoch.byte20[i] = at[20];
    if (!epoch.l1Present[i]) {
        epoch.prn[i] = 0;
        return false;
    }
    const double range1 = codeMetres(loadLe<std::int32_t>(at + 5));
    const double range2 = codeMetres(loadLe<std::int16_t>(at + 15)) + range1;
    const bool hasL2 = epoch.l2Present[i] != 0;
    epoch.l1Pseudorange[i] = -range1;
    epoch.l1Phase[i] = -phaseCycles(loadLe<std::int16_t>(at + 9), range1, kWavelengthL1);
    epoch.l2Pseudorange[i] = hasL2 ? -range2 : 0.0;
    epoch.l2Phase[i] = hasL2 ? -phaseCycles(loadLe<std::int16_t>(at + 17), range1, kWavelengthL2) : 0.0;
    return true;
}

// Reads one turn into slot i; true when it filled the slot.
bool readTurn(ByteReader& reader, tag_PellEpoch& epoch, std::size_t i) {
    const auto prn = reader.le<std::uint8_t>();
    const bool known = prn != 0 && prn < kFirstUnknownPrn;
    epoch.prn[i] = known ? prn : std::uint8_t{0};
    if (!known) return false;
    const ByteSpan satellite = reader.bytes(kSatelliteSize);
    return reader.ok() && storeSatellite(satellite, epoch, i);
}

bool readSatellites(ByteSpan frame, std::size_t turns, tag_PellEpoch& epoch) {
    ByteReader reader(frame.subspan(kFixedPart));
    std::uint32_t filled = 0;
    for (std::size_t turn = 0; turn < turns && reader.ok(); ++turn)
        if (readTurn(reader, epoch, filled)) ++filled;
    epoch.satelliteCount = filled;
    return reader.ok();
}

}  // namespace

bool decodePellEpoch(ByteSpan frame, tag_PellEpoch& epoch) {
    constexpr std::size_t kCountAt = 28;
    if (frame.size() <= kCountAt) return false;
    const unsigned char* const bytes = frame.data();
    tag_PellEpoch decoded = epoch;
    decoded.week = loadLe<std::uint16_t>(bytes + 14);
    decoded.seconds = loadLe<std::uint32_t>(bytes + 16) / 1000.0;
    decoded.satelliteCount = 0;
    const std::size_t count = bytes[kCountAt];
    if (count <= kPellSatellites) {
        if (frame.size() < kFixedPart) return false;
        std::copy_n(bytes + 29, decoded.head.size(), decoded.head.begin());
        decoded.clock = loadLe<std::int32_t>(bytes + 34) * kClockUnit;
        decoded.zero = 0.0;
        decoded.word = loadLe<std::uint32_t>(bytes + 40);
        if (!readSatellites(frame, count, decoded)) return false;
    }
    epoch = decoded;
    return true;
}

bool decodePellStation(ByteSpan body, tag_PellStation& station) {
    if (body.size() < kPellStationSize) return false;
    const unsigned char* const bytes = body.data();
    station = {loadLe<double>(bytes + 4), loadLe<double>(bytes + 12), loadLe<double>(bytes + 20),
               loadLe<std::uint32_t>(bytes)};
    return true;
}

}  // namespace vkcomm
