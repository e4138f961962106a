#include "vkcomm/formats/cmc_format.h"

#include <algorithm>
#include <cmath>

#include "vkcomm/formats/gga_writer.h"
#include "vkcomm/gpstime/gps_time.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr double kRadiansPerDegree = 0.017453292519943295;

// The shortest frame of each message: the last byte that is read, and the check bytes.
constexpr std::size_t kNavigationFrame = 74;
constexpr std::size_t kFirstByteFrame = 7;
constexpr std::size_t kIdentificationFrame = 88;
constexpr std::size_t kStatusFrame = 27;
constexpr std::size_t kIonosphereFrame = 15;

constexpr std::size_t kPartNumberAt = 30;
constexpr std::size_t kSerialAt = 73;
constexpr std::size_t kSerialLength = 13;

struct CalendarTime {
    long year;
    long month;
    long day;
    long hour;
    long minute;
    double second;
};

CalendarTime decodeTime(ByteReader& reader) {
    CalendarTime time{};
    time.hour = reader.le<std::uint8_t>() & 0x1F;
    time.minute = reader.le<std::uint8_t>();
    time.second = reader.le<double>();
    time.day = reader.le<std::uint8_t>();
    time.month = reader.le<std::uint8_t>();
    time.year = reader.le<std::uint16_t>();
    return time;
}

void setTime(CmcNavigation& navigation, const CalendarTime& time) {
    long week = static_cast<long>(navigation.gpsWeek);
    ymdhms_to_gps(time.year, time.month, time.day, time.hour, time.minute, time.second, &week,
                  &navigation.gpsSeconds);
    navigation.gpsWeek = static_cast<std::uint32_t>(std::max(week, 0L));
}

float tenths(std::int16_t value) { return static_cast<float>(value * 0.1); }

void decodeNavigation(ByteSpan frame, CmcNavigation& navigation) {
    ByteReader reader(frame);
    reader.skip(4);
    setTime(navigation, decodeTime(reader));
    navigation.position.latitude = reader.le<double>();
    navigation.position.longitude = reader.le<double>();
    navigation.position.height = double{reader.le<float>()};
    reader.skip(20);  // speed, track and velocities
    navigation.horizontalMerit = reader.le<float>();
    navigation.verticalMerit = reader.le<float>();
    navigation.hdop = tenths(reader.le<std::int16_t>());
    navigation.vdop = tenths(reader.le<std::int16_t>());
    const auto mode = reader.le<std::uint8_t>();
    navigation.mode = mode & 0x1F;
    navigation.confident = mode & 0x20;
    navigation.alignment = mode & 0x40;
    navigation.satellites = reader.le<std::uint8_t>() & 0x0F;
}

constexpr bool isLetterOrDigit(unsigned char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

}  // namespace

void CCMCFormat::vProcress20Dat(const unsigned char* frame) {
    if (frame) vProcress20Dat(ByteSpan(frame, kNavigationFrame));
}

void CCMCFormat::vProcess30Dat(const unsigned char* frame) {
    if (frame) vProcess30Dat(ByteSpan(frame, kFirstByteFrame));
}

void CCMCFormat::vProcess33Dat(const unsigned char* frame) {
    if (frame) vProcess33Dat(ByteSpan(frame, kFirstByteFrame));
}

void CCMCFormat::vProcess45Dat(const unsigned char* frame) {
    if (frame) vProcess45Dat(ByteSpan(frame, kIdentificationFrame));
}

void CCMCFormat::vProcess49Dat(const unsigned char* frame) {
    if (frame) vProcess49Dat(ByteSpan(frame, kStatusFrame));
}

void CCMCFormat::vProcess75Dat(const unsigned char* frame) {
    if (frame) vProcess75Dat(ByteSpan(frame, kIonosphereFrame));
}

void CCMCFormat::vProcress20Dat(ByteSpan frame) {
    if (frame.size() >= kNavigationFrame) decodeNavigation(frame, m_navigation);
}

void CCMCFormat::vProcess30Dat(ByteSpan frame) {
    if (frame.size() >= kFirstByteFrame) m_status.message30 = frame[4] & 0x0F;
}

void CCMCFormat::vProcess33Dat(ByteSpan frame) {
    if (frame.size() >= kFirstByteFrame) m_status.visibleSatellites = frame[4] & 0x0F;
}

void CCMCFormat::vProcess45Dat(ByteSpan frame) {
    if (frame.size() < kIdentificationFrame) return;
    const ByteSpan number = frame.subspan(kPartNumberAt, 2);
    if (std::ranges::all_of(number, isLetterOrDigit))
        m_identification.number = (number[0] - '0') * 10 + (number[1] - '0');
    const ByteSpan serial = frame.subspan(kSerialAt, kSerialLength);
    m_identification.text.clear();
    if (std::ranges::all_of(serial.first(4), isLetterOrDigit))
        m_identification.text.assign(serial.begin(), serial.end());
    else
        appendFormat(m_identification.text, "%8lX",
                     static_cast<unsigned long>(loadLe<std::uint32_t>(serial.data())));
}

void CCMCFormat::vProcess49Dat(ByteSpan frame) {
    if (frame.size() < kStatusFrame) return;
    m_status.maskAngle = static_cast<float>(loadLe<std::uint16_t>(&frame[23]) * 0.01 * kRadiansPerDegree);
}

void CCMCFormat::vProcess75Dat(ByteSpan frame) {
    if (frame.size() >= kIonosphereFrame) m_status.message75 = frame[12];
}

std::wstring CCMCFormat::strGetGPGGA() const {
    constexpr int kAutonomous = 1;
    GgaFix fix;
    fix.seconds = std::trunc(m_navigation.gpsSeconds);
    fix.latitude = m_navigation.position.latitude;
    fix.longitude = m_navigation.position.longitude;
    fix.quality = kAutonomous;
    fix.satellites = m_navigation.satellites;
    fix.hdop = double{m_navigation.hdop};
    fix.height = m_navigation.position.height;
    return ggaSentence(fix);
}

}  // namespace vkcomm
