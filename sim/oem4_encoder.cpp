#include "sim/oem4_encoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "sim/byte_writer.h"
#include "sim/ephemeris.h"
#include "sim/oem4_log.h"

namespace vkcomm::sim {

namespace {

enum : std::uint16_t {
    kVersion = 37,
    kRawephem = 41,
    kBestpos = 42,
    kSatvis = 48,
    kBestvel = 99,
    kRangecmp = 140,
    kPsrdop = 174
};

constexpr std::int64_t kSatvisInterval = 10'000;  // milliseconds
constexpr std::int64_t kEphemerisInterval = 120'000;

// Solution computed, or insufficient observations.
std::uint32_t solutionStatus(const Epoch& epoch) { return epoch.quality == FixQuality::kNone ? 1 : 0; }

std::uint32_t positionType(FixQuality quality) {
    constexpr std::array<std::uint32_t, 5> kTypes{0, 16, 17, 34, 50};
    return kTypes[static_cast<std::size_t>(quality)];
}

std::uint8_t tracked(const Epoch& epoch) { return static_cast<std::uint8_t>(epoch.satellites.size()); }

std::uint8_t used(const Epoch& epoch) { return static_cast<std::uint8_t>(epoch.satellitesUsed()); }

void addVersion(const Epoch& epoch, Piece& piece) {
    constexpr std::uint32_t kGpsCard = 1;
    ByteWriter body;
    body.le<std::uint32_t>(1);  // components
    body.le(kGpsCard);
    body.text("SIMULATED", 16);
    body.text("SIM00000001", 16);
    body.text("OEMV3-SIM", 16);
    body.text("3.620", 16);
    body.text("3.000", 16);
    body.text("2024/Feb/28", 12);
    body.text("12:00:00", 12);
    addOem4Log(kVersion, epoch, body.bytes(), piece);
}

void addBestpos(const Epoch& epoch, Piece& piece) {
    constexpr std::uint32_t kWgs84 = 61;
    const bool fix = epoch.quality != FixQuality::kNone;
    const bool dualFrequency = epoch.quality >= FixQuality::kRtkFloat;
    const auto ifFix = [=](double value) { return fix ? value : 0.0; };
    ByteWriter body;
    body.le(solutionStatus(epoch));
    body.le(positionType(epoch.quality));
    body.le(ifFix(epoch.latitude));
    body.le(ifFix(epoch.longitude));
    body.le(ifFix(epoch.heightAboveSea));
    body.le(static_cast<float>(ifFix(epoch.undulation)));
    body.le(kWgs84);
    body.le(static_cast<float>(epoch.sigmaLatitude));
    body.le(static_cast<float>(epoch.sigmaLongitude));
    body.le(static_cast<float>(epoch.sigmaHeight));
    body.text(epoch.quality > FixQuality::kSingle ? "1" : "", 4);  // base station
    body.le(static_cast<float>(epoch.correctionAge));
    body.le(0.0f);  // solution age
    body.le(tracked(epoch));
    body.le(used(epoch));
    body.le(used(epoch));  // with L1
    body.le<std::uint8_t>(dualFrequency ? used(epoch) : std::uint8_t{0});
    body.zeros(3);
    body.le<std::uint8_t>(!fix ? 0x00 : dualFrequency ? 0x03 : 0x01);  // GPS L1, GPS L2
    addOem4Log(kBestpos, epoch, body.bytes(), piece);
}

void addBestvel(const Epoch& epoch, Piece& piece) {
    constexpr std::uint32_t kDopplerVelocity = 8;
    const bool fix = epoch.quality != FixQuality::kNone;
    ByteWriter body;
    body.le(solutionStatus(epoch));
    body.le(fix ? kDopplerVelocity : std::uint32_t{0});
    body.le(0.0f);  // latency
    body.le(static_cast<float>(epoch.correctionAge));
    body.le(fix ? epoch.speed : 0.0);
    body.le(fix ? epoch.course : 0.0);
    body.le(fix ? epoch.verticalSpeed : 0.0);
    body.zeros(4);
    addOem4Log(kBestvel, epoch, body.bytes(), piece);
}

void addPsrdop(const Epoch& epoch, Piece& piece) {
    constexpr float kElevationCutOff = 5.0f;
    ByteWriter body;
    for (const double dop :
         {epoch.dops.gdop, epoch.dops.pdop, epoch.dops.hdop, epoch.dops.htdop, epoch.dops.tdop})
        body.le(static_cast<float>(dop));
    body.le(kElevationCutOff);
    body.le(static_cast<std::uint32_t>(epoch.satellitesUsed()));
    for (const Satellite& satellite : epoch.satellites)
        if (satellite.used) body.le(static_cast<std::uint32_t>(satellite.number));
    addOem4Log(kPsrdop, epoch, body.bytes(), piece);
}

// Tracking status words without the channel: phase lock on L1 C/A, and on L2 P(Y) codeless.
constexpr std::uint32_t kTrackingL1 = 0x1810'9C04;
constexpr std::uint32_t kTrackingL2 = 0x1130'9C0B;

// The code that stands for the error of a pseudorange: the better the signal, the lower.
std::uint8_t pseudorangeSigmaCode(double cn0) { return cn0 >= 45 ? 0 : cn0 >= 42 ? 1 : cn0 >= 38 ? 3 : 5; }

std::uint8_t phaseSigmaCode(double cn0) { return cn0 >= 45 ? 2 : cn0 >= 38 ? 4 : 8; }

// One 24-byte record: 32 bits tracking status, 28 Doppler in 1/256 Hz, 36 pseudorange in 1/128 m, 32
// accumulated Doppler in 1/256 cycle (minus the phase, rolling over), 4 + 4 error codes, 8 PRN, 21 lock time
// in 1/32 s, 5 C/N0 from 20 dB-Hz, 22 reserved. Lock time and C/N0 stop at their ends.
void addRange(const Signal& signal, int prn, std::uint32_t tracking, ByteWriter& body) {
    const auto doppler = static_cast<std::uint64_t>(std::llround(signal.doppler * 256.0)) & 0x0FFF'FFFF;
    const auto range = static_cast<std::uint64_t>(std::llround(signal.pseudorange * 128.0));
    const auto accumulated =
        static_cast<std::uint64_t>(std::llround(-signal.carrierPhase * 256.0)) & 0xFFFF'FFFF;
    const auto lock = static_cast<std::uint32_t>(std::min(signal.lockTime * 32.0, 2'097'151.0));
    const auto cn0 = static_cast<std::uint32_t>(std::clamp(std::lround(signal.cn0) - 20, 0L, 31L));

    body.le(tracking);
    body.le(doppler | range << 28);
    body.le(static_cast<std::uint32_t>(accumulated));
    body.le(static_cast<std::uint8_t>(pseudorangeSigmaCode(signal.cn0) | phaseSigmaCode(signal.cn0) << 4));
    body.le(static_cast<std::uint8_t>(prn));
    body.le(lock | cn0 << 21);
    body.zeros(2);
}

void addRangecmp(const Epoch& epoch, Piece& piece) {
    constexpr std::uint32_t kMaxSatellites = 12;
    ByteWriter ranges;
    std::uint32_t channel = 0;
    for (const Satellite& satellite : epoch.satellites) {
        if (satellite.system != SatelliteSystem::kGps || channel == kMaxSatellites) continue;
        addRange(satellite.l1, satellite.number, kTrackingL1 | channel << 5, ranges);
        addRange(satellite.l2, satellite.number, kTrackingL2 | channel << 5, ranges);
        ++channel;
    }
    ByteWriter body;
    body.le(channel * 2);
    body.append(ranges.bytes());
    addOem4Log(kRangecmp, epoch, body.bytes(), piece);
}

// PRN as these receivers count: GLONASS slots from 38.
int oem4Number(const Satellite& satellite) {
    return satellite.system == SatelliteSystem::kGlonass ? satellite.number + 37 : satellite.number;
}

void addSatvis(const Epoch& epoch, Piece& piece) {
    ByteWriter body;
    body.le<std::uint32_t>(1);  // valid
    body.le<std::uint32_t>(1);  // worked out from a complete almanac
    body.le(static_cast<std::uint32_t>(epoch.satellites.size()));
    for (const Satellite& satellite : epoch.satellites) {
        body.le(static_cast<std::int16_t>(oem4Number(satellite)));
        body.le<std::int16_t>(0);   // GLONASS frequency
        body.le<std::uint32_t>(0);  // healthy
        body.le(satellite.elevation);
        body.le(satellite.azimuth);
        body.le(satellite.l1.doppler);  // without the receiver's clock, and with it
        body.le(satellite.l1.doppler);
    }
    addOem4Log(kSatvis, epoch, body.bytes(), piece);
}

// Reference time, then subframes 1 to 3. They went out up to half a minute ago.
void addRawephem(const Epoch& epoch, int prn, Piece& piece) {
    constexpr std::int64_t kFrame = 30'000;  // the five subframes, milliseconds
    const Ephemeris ephemeris = ephemerisOf(prn, epoch.week, epoch.millisecondsOfWeek);
    ByteWriter body;
    body.le(static_cast<std::uint32_t>(prn));
    body.le(static_cast<std::uint32_t>(ephemeris.week));
    body.le(static_cast<std::uint32_t>(ephemeris.reference * 16));
    body.append(subframesOf(ephemeris, epoch.millisecondsOfWeek / kFrame * 30));
    addOem4Log(kRawephem, epoch, body.bytes(), piece);
}

void addEphemerides(const Epoch& epoch, Piece& piece) {
    for (const Satellite& satellite : epoch.satellites)
        if (satellite.system == SatelliteSystem::kGps) addRawephem(epoch, satellite.number, piece);
}

}  // namespace

void encodeOem4Start(const Epoch& epoch, Piece& piece) { addVersion(epoch, piece); }

void encodeOem4(const Epoch& epoch, Piece& piece) {
    addBestpos(epoch, piece);
    addBestvel(epoch, piece);
    addPsrdop(epoch, piece);
    addRangecmp(epoch, piece);
    if (isDue(epoch, kSatvisInterval)) addSatvis(epoch, piece);
    if (isDue(epoch, kEphemerisInterval)) addEphemerides(epoch, piece);
}

}  // namespace vkcomm::sim
