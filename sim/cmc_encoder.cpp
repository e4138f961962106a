#include "sim/cmc_encoder.h"

#include <array>
#include <cmath>
#include <vector>

#include "sim/byte_writer.h"
#include "sim/cmc_messages.h"
#include "sim/geodesy.h"

namespace vkcomm::sim {

namespace {

enum : std::uint8_t { kMessage30 = 30, kIdentification = 45, kStatus = 49, kIonoUtc = 75 };

bool hasFix(const Epoch& epoch) { return epoch.quality != FixQuality::kNone; }

std::uint8_t modeOf(FixQuality quality) {
    constexpr std::uint8_t kInitialised = 1, kThreeD = 2, kDifferentialThreeD = 4;
    constexpr std::uint8_t kConfident = 0x20, kAligned = 0x80;
    if (quality == FixQuality::kNone) return kInitialised;
    return kAligned | kConfident | (quality == FixQuality::kSingle ? kThreeD : kDifferentialThreeD);
}

std::uint16_t tenths(double dop) { return static_cast<std::uint16_t>(std::lround(dop * 10.0)); }

void setTime(const Epoch& epoch, CmcNavigation& navigation) {
    constexpr std::uint8_t kGpsTime = 0x20;
    const CalendarTime time = gpsCalendarOf(epoch);
    navigation.hours = static_cast<std::uint8_t>(time.hour | kGpsTime);
    navigation.minutes = static_cast<std::uint8_t>(time.minute);
    navigation.seconds = (time.second * 1000 + time.millisecond) / 1000.0;
    navigation.day = static_cast<std::uint8_t>(time.day);
    navigation.month = static_cast<std::uint8_t>(time.month);
    navigation.year = static_cast<std::uint16_t>(time.year);
}

void setPosition(const Epoch& epoch, CmcNavigation& navigation) {
    const LocalVelocity velocity = localVelocityOf(epoch);
    navigation.latitude = radiansOf(epoch.latitude);
    navigation.longitude = radiansOf(epoch.longitude);
    navigation.height = static_cast<float>(ellipsoidalHeight(epoch));
    navigation.groundSpeed = static_cast<float>(epoch.speed);
    navigation.track = static_cast<float>(radiansOf(epoch.course));
    navigation.north = static_cast<float>(velocity.north);
    navigation.east = static_cast<float>(velocity.east);
    navigation.up = static_cast<float>(velocity.up);
    navigation.horizontalMerit = static_cast<float>(horizontalSigma(epoch));
    navigation.verticalMerit = static_cast<float>(epoch.sigmaHeight);
}

void addNavigation(const Epoch& epoch, Piece& piece) {
    constexpr std::uint8_t kNavigating = 3;
    CmcNavigation navigation;
    setTime(epoch, navigation);
    if (hasFix(epoch)) setPosition(epoch, navigation);
    navigation.hdop = tenths(epoch.dops.hdop);
    navigation.vdop = tenths(epoch.dops.vdop);
    navigation.mode = modeOf(epoch.quality);
    navigation.satellites = static_cast<std::uint8_t>(epoch.satellitesUsed());
    navigation.systemMode = kNavigating;
    addCmcNavigation(navigation, piece);
}

void addVisible(const Epoch& epoch, Piece& piece) {
    std::vector<CmcSatellite> satellites;
    for (const Satellite& satellite : epoch.satellites)
        if (satellite.system != SatelliteSystem::kGlonass)
            satellites.push_back({.number = static_cast<std::uint8_t>(satellite.number),
                                  .used = satellite.used,
                                  .elevation = static_cast<std::int8_t>(std::lround(satellite.elevation)),
                                  .azimuth = static_cast<std::uint16_t>(std::lround(satellite.azimuth) % 360),
                                  .level = static_cast<std::uint8_t>(std::lround(satellite.l1.cn0))});
    addCmcVisibility(satellites, piece);
}

void addStatus(Piece& piece) {
    ByteWriter data;
    data.zeros(19);
    data.le<std::uint16_t>(500);  // mask angle, hundredths of a degree
    data.zeros(19);
    addCmcMessage(kStatus, data.bytes(), piece);
}

// Its first byte counts satellites; how long the message is in truth is not known.
void addMessage30(const Epoch& epoch, Piece& piece) {
    ByteWriter data;
    data.le(static_cast<std::uint8_t>(epoch.satellitesUsed()));
    addCmcMessage(kMessage30, data.bytes(), piece);
}

// Two flags, that the parameters of the ionosphere and of UTC are valid.
void addIonoUtc(Piece& piece) {
    ByteWriter data;
    data.zeros(8);
    data.le<std::uint8_t>(1);
    data.zeros(8);
    data.le<std::uint8_t>(1);
    addCmcMessage(kIonoUtc, data.bytes(), piece);
}

// Part numbers of software and boot software, serial number, type of device.
void addIdentification(Piece& piece) {
    constexpr std::uint8_t kSuperstar2 = 3;
    ByteWriter data;
    data.text("169-613955-007", 14);
    data.text("SIMULATION V05", 14);
    data.zeros(4);
    data.text("169-614110-002", 14);
    data.zeros(23);
    data.text("SIM0000000001", 13);
    data.zeros(12);
    data.le(kSuperstar2);
    addCmcMessage(kIdentification, data.bytes(), piece);
}

}  // namespace

void encodeCmcStart(const Epoch&, Piece& piece) { addIdentification(piece); }

void encodeCmc(const Epoch& epoch, Piece& piece) {
    addNavigation(epoch, piece);
    addVisible(epoch, piece);
    addStatus(piece);
    if (!isDue(epoch, 10'000)) return;
    addMessage30(epoch, piece);
    addIonoUtc(piece);
}

}  // namespace vkcomm::sim
