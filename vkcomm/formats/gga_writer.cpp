#include "vkcomm/formats/gga_writer.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "vkcomm/util/checksums.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr std::size_t kUsualLength = 96;

// Angles are counted in ten-millionths of a minute, times in hundredths of a second: whole numbers carry by
// themselves.
constexpr std::int64_t kUnitsPerMinute = 10'000'000;
constexpr double kUnitsPerRadian = 34377467707.849393;  // 10800 / pi minutes
constexpr double kMostUnits = 1e18;
constexpr int kMinuteDecimals = 7;

struct Hemispheres {
    char positive;
    char negative;
    int degreeDigits;
};

constexpr Hemispheres kLatitude{'N', 'S', 2};
constexpr Hemispheres kLongitude{'E', 'W', 3};

void appendDegreesAndMinutes(std::string& out, double radians, int degreeDigits) {
    const std::int64_t units = std::llround(std::min(std::abs(radians) * kUnitsPerRadian, kMostUnits));
    const std::int64_t minutes = units / kUnitsPerMinute;
    appendInteger(out, minutes / 60 * 100 + minutes % 60, degreeDigits + 2);
    out += '.';
    appendInteger(out, units % kUnitsPerMinute, kMinuteDecimals);
}

void appendAngle(std::string& out, double radians, const Hemispheres& names, HemisphereText form) {
    const bool known = std::isfinite(radians);
    if (known) appendDegreesAndMinutes(out, radians, names.degreeDigits);
    if (form == HemisphereText::kField) out += ',';
    if (known) out += radians < 0.0 ? names.negative : names.positive;
    if (form == HemisphereText::kField) out += ',';
}

void appendTime(std::string& out, double seconds) {
    constexpr double kSecondsPerDay = 86400.0;
    constexpr std::int64_t kHundredthsPerDay = 8'640'000;
    if (!std::isfinite(seconds)) return;
    double inDay = std::fmod(seconds, kSecondsPerDay);
    if (inDay < 0.0) inDay += kSecondsPerDay;
    const std::int64_t hundredths = std::llround(inDay * 100.0) % kHundredthsPerDay;
    const std::int64_t minutes = hundredths / 6000;
    appendInteger(out, minutes / 60 * 10'000 + minutes % 60 * 100 + hundredths / 100 % 60, 6);
    out += '.';
    appendInteger(out, hundredths % 100, 2);
}

void appendIf(bool known, std::string& out, double value, int decimals) {
    if (known) appendFixed(out, value, decimals);
}

bool isPosition(const GgaFix& fix) {
    return std::isfinite(fix.seconds) && std::isfinite(fix.latitude) && std::isfinite(fix.longitude) &&
           std::isfinite(fix.hdop) && std::isfinite(fix.height) && std::isfinite(fix.undulation);
}

void appendPosition(std::string& out, const GgaFix& fix, bool known) {
    if (!known) {
        out += ",,,,";
        return;
    }
    appendLatitude(out, fix.latitude, HemisphereText::kField);
    appendLongitude(out, fix.longitude, HemisphereText::kField);
}

void appendChecksum(std::string& out) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    const unsigned sum = xorOf({reinterpret_cast<const unsigned char*>(out.data()) + 1, out.size() - 1});
    out += '*';
    out += kDigits[sum >> 4];
    out += kDigits[sum & 0x0F];
    out += "\r\n";
}

}  // namespace

void appendLatitude(std::string& out, double radians, HemisphereText form) {
    appendAngle(out, radians, kLatitude, form);
}

void appendLongitude(std::string& out, double radians, HemisphereText form) {
    appendAngle(out, radians, kLongitude, form);
}

std::wstring ggaSentence(const GgaFix& fix) {
    const bool known = isPosition(fix);
    std::string out;
    out.reserve(kUsualLength);
    out += "$GPGGA,";
    appendTime(out, fix.seconds);
    out += ',';
    appendPosition(out, fix, known);
    appendInteger(out, known ? fix.quality : 0);
    out += ',';
    appendInteger(out, fix.satellites, 2);
    out += ',';
    appendIf(std::isfinite(fix.hdop), out, fix.hdop, 1);
    out += ',';
    appendIf(known, out, fix.height, 3);
    out += ",M,";
    appendIf(known, out, fix.undulation, 2);
    out += ",M,0,";
    appendChecksum(out);
    return {out.begin(), out.end()};
}

}  // namespace vkcomm
