#include "vkcomm/formats/nmea_format.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "vkcomm/formats/reply_text.h"
#include "vkcomm/formats/sentence_fields.h"
#include "vkcomm/gpstime/gps_time.h"

namespace vkcomm {

namespace {

constexpr double kRadiansPerDegree = 0.017453292519943295;
// Deliberate: the exact, truncated factor that hosts compare with.
constexpr double kMetresPerSecondPerKnot = 0.51444;

ByteSpan terminated(const unsigned char* sentence) {
    return {sentence, terminatedText(reinterpret_cast<const char*>(sentence)).size()};
}

// ddmm.mmmm or dddmm.mmmm with its hemisphere, in radians.
double angle(double value, std::string_view hemisphere) {
    constexpr double kSenseless = 1e15;  // whole numbers below it are exact
    value = std::clamp(value, -kSenseless, kSenseless);
    const auto whole = static_cast<std::int64_t>(std::floor(value));
    const double minutes = static_cast<double>(whole % 100) + (value - static_cast<double>(whole));
    const double radians = (static_cast<double>(whole / 100) + minutes / 60.0) * kRadiansPerDegree;
    return hemisphere == "S" || hemisphere == "W" ? -radians : radians;
}

int truncated(double value) {
    using Int = std::numeric_limits<int>;
    if (std::isnan(value)) return 0;
    return static_cast<int>(std::clamp(value, double{Int::min()}, double{Int::max()}));
}

}  // namespace

int CNmeaFormat::bProcessGGA(const unsigned char* sentence) { return bProcessGGA(terminated(sentence)); }

int CNmeaFormat::bProcessGSA(const unsigned char* sentence) { return bProcessGSA(terminated(sentence)); }

int CNmeaFormat::bProcessGST(const unsigned char* sentence) { return bProcessGST(terminated(sentence)); }

int CNmeaFormat::bProcessRMC(const unsigned char* sentence) { return bProcessRMC(terminated(sentence)); }

int CNmeaFormat::bProcessZDA(const unsigned char* sentence) { return bProcessZDA(terminated(sentence)); }

int CNmeaFormat::bProcessGGA(ByteSpan sentence) {
    if (!keep(sentence)) return 0;
    const SentenceFields fields(m_sentence);
    m_flags.gga = readTime(fields.text(1));
    if (!m_flags.gga) {
        clearTime();
        m_fix = {};
        m_dops.hdop = 0.0;
        return 0;
    }
    m_fix.position.latitude = angle(fields.real(2), fields.text(3));
    m_fix.position.longitude = angle(fields.real(4), fields.text(5));
    m_fix.position.height = fields.real(9) + fields.real(11);
    m_fix.quality = fields.integer(6);
    m_fix.satellites = fields.integer(7);
    m_fix.age = truncated(fields.real(13));
    m_fix.station = fields.integer(14);
    m_dops.hdop = fields.real(8);
    return 1;
}

int CNmeaFormat::bProcessGSA(ByteSpan sentence) {
    if (!keep(sentence)) return 0;
    const SentenceFields fields(m_sentence);
    m_dops = {fields.real(15), fields.real(16), fields.real(17)};
    m_flags.gsa = true;
    return 1;
}

int CNmeaFormat::bProcessGST(ByteSpan sentence) {
    if (!keep(sentence)) return 0;
    const SentenceFields fields(m_sentence);
    m_flags.gst = readTime(fields.text(1));
    if (!m_flags.gst) return 0;
    m_errors = {fields.real(6), fields.real(7), fields.real(8), fields.real(2)};
    return 1;
}

int CNmeaFormat::bProcessRMC(ByteSpan sentence) {
    if (!keep(sentence)) return 0;
    const SentenceFields fields(m_sentence);
    m_flags.rmc = readTime(fields.text(1));
    if (!m_flags.rmc) {
        clearTime();
        m_time.year = m_time.month = m_time.day = 0;
        m_motion = {};
        return 0;
    }
    const int date = fields.integer(9);
    m_time.day = date / 10000;
    m_time.month = date / 100 % 100;
    m_time.year = date % 100 + 2000;
    m_motion.speed = fields.real(7) * kMetresPerSecondPerKnot;
    m_motion.course = fields.real(8) * kRadiansPerDegree;
    const double variation = fields.real(10);
    m_motion.magneticVariation = fields.text(11) == "W" ? -variation : variation;
    vYMDTMS2GPS();
    return 1;
}

int CNmeaFormat::bProcessZDA(ByteSpan sentence) {
    if (!keep(sentence)) return 0;
    const SentenceFields fields(m_sentence);
    if (!readTime(fields.text(1))) return 0;
    m_time.day = fields.integer(2);
    m_time.month = fields.integer(3);
    m_time.year = fields.integer(4);
    vYMDTMS2GPS();
    m_flags.zda = true;
    return 1;
}

void CNmeaFormat::vYMDTMS2GPS() {
    long week = m_time.gpsWeek;
    double seconds = m_time.gpsSeconds;
    ymdhms_to_gps(m_time.year, m_time.month, m_time.day, m_time.hour, m_time.minute, m_time.second, &week,
                  &seconds);
    m_time.gpsWeek = truncated(static_cast<double>(week));
    m_time.gpsSeconds = static_cast<unsigned int>(std::max(truncated(seconds), 0));
}

bool CNmeaFormat::keep(ByteSpan sentence) {
    m_sentence.assign(recordText(sentence.first(std::min(sentence.size(), kLongestReply))));
    return !m_sentence.empty();
}

bool CNmeaFormat::readTime(std::string_view field) {
    constexpr std::size_t kShortestTime = 6;
    if (field.size() < kShortestTime) return false;
    m_time.hour = static_cast<int>(parseInteger(field.substr(0, 2)));
    m_time.minute = static_cast<int>(parseInteger(field.substr(2, 2)));
    m_time.second = parseDouble(field.substr(4));
    return true;
}

void CNmeaFormat::clearTime() {
    m_time.hour = m_time.minute = 0;
    m_time.second = 0.0;
}

}  // namespace vkcomm
