#include "sim/nmea_encoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "vkcomm/util/checksums.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm::sim {

namespace {

constexpr std::string_view kHexDigits = "0123456789ABCDEF";

ByteSpan bytesOf(const std::string& text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

// One sentence in the making. Every call appends one field (position: two) with the comma before it.
class Sentence {
public:
    explicit Sentence(std::string_view name) : m_text("$") { m_text += name; }

    Sentence& text(std::string_view value) {
        m_text += ',';
        m_text += value;
        return *this;
    }

    Sentence& empty(int count = 1) {
        m_text.append(static_cast<std::size_t>(count), ',');
        return *this;
    }

    Sentence& integer(int value, int width = 0) {
        m_text += ',';
        appendInteger(m_text, value, width);
        return *this;
    }

    Sentence& fixed(double value, int decimals) {
        m_text += ',';
        appendFixed(m_text, value, decimals);
        return *this;
    }

    Sentence& time(const CalendarTime& utc);
    Sentence& position(const Epoch& epoch);

    // Closes the sentence and appends it.
    void addTo(Piece& piece);

private:
    Sentence& angle(double degrees, int degreeWidth, std::string_view hemispheres);

    std::string m_text;
};

Sentence& Sentence::time(const CalendarTime& utc) {
    m_text += ',';
    appendInteger(m_text, utc.hour * 10'000 + utc.minute * 100 + utc.second, 6);
    m_text += '.';
    appendInteger(m_text, utc.millisecond / 10, 2);
    return *this;
}

// Rounds once, in units of the last digit, so that minutes never print as 60.
Sentence& Sentence::angle(double degrees, int degreeWidth, std::string_view hemispheres) {
    constexpr long long kUnitsPerMinute = 10'000'000;
    const long long units = std::llround(std::fabs(degrees) * (60.0 * kUnitsPerMinute));
    const long long minutes = units / kUnitsPerMinute;
    m_text += ',';
    appendInteger(m_text, minutes / 60, degreeWidth);
    appendInteger(m_text, minutes % 60, 2);
    m_text += '.';
    appendInteger(m_text, units % kUnitsPerMinute, 7);
    return text(hemispheres.substr(degrees < 0 ? 1 : 0, 1));
}

Sentence& Sentence::position(const Epoch& epoch) {
    if (epoch.quality == FixQuality::kNone) return empty(4);
    return angle(epoch.latitude, 2, "NS").angle(epoch.longitude, 3, "EW");
}

void Sentence::addTo(Piece& piece) {
    const unsigned char check = xorOf(bytesOf(m_text).subspan(1));
    m_text += '*';
    m_text += kHexDigits[check >> 4];
    m_text += kHexDigits[check & 15];
    m_text += "\r\n";
    piece.addFrame(bytesOf(m_text));
}

// A fix quality in the words of GGA and of the mode fields.
struct QualityWords {
    int gga;
    std::string_view mode;
};

constexpr std::array<QualityWords, 5> kQualityWords{{{0, "N"}, {1, "A"}, {2, "D"}, {5, "F"}, {4, "R"}}};

const QualityWords& wordsOf(FixQuality quality) { return kQualityWords[static_cast<std::size_t>(quality)]; }

bool hasFix(const Epoch& epoch) { return epoch.quality != FixQuality::kNone; }

bool hasCorrections(const Epoch& epoch) { return epoch.quality > FixQuality::kSingle; }

// Satellite numbers as sentences of the GP and GL talkers count them: SBAS PRN less 87, GLONASS slot plus 64.
int sentenceNumber(const Satellite& satellite) {
    constexpr std::array<int, 3> kOffsets{0, -87, 64};
    return satellite.number + kOffsets[static_cast<std::size_t>(satellite.system)];
}

double knots(double metresPerSecond) { return metresPerSecond * 3600.0 / 1852.0; }

void addGga(const Epoch& epoch, const CalendarTime& utc, Piece& piece) {
    Sentence gga("GPGGA");
    gga.time(utc).position(epoch).integer(wordsOf(epoch.quality).gga).integer(epoch.satellitesUsed(), 2);
    if (hasFix(epoch))
        gga.fixed(epoch.dops.hdop, 1)
            .fixed(epoch.heightAboveSea, 3)
            .text("M")
            .fixed(epoch.undulation, 2)
            .text("M");
    else
        gga.empty(2).text("M").empty().text("M");
    if (hasCorrections(epoch))
        gga.fixed(epoch.correctionAge, 1).integer(1, 4);
    else
        gga.empty(2);
    gga.addTo(piece);
}

void addGsa(const Epoch& epoch, Piece& piece) {
    constexpr int kSlots = 12;
    Sentence gsa("GPGSA");
    gsa.text("A").integer(hasFix(epoch) ? 3 : 1);
    int filled = 0;
    for (const Satellite& satellite : epoch.satellites) {
        if (!satellite.used || filled == kSlots) continue;
        gsa.integer(sentenceNumber(satellite), 2);
        ++filled;
    }
    gsa.empty(kSlots - filled);
    if (hasFix(epoch))
        gsa.fixed(epoch.dops.pdop, 1).fixed(epoch.dops.hdop, 1).fixed(epoch.dops.vdop, 1);
    else
        gsa.empty(3);
    gsa.addTo(piece);
}

// All sentences of one talker, four satellites each.
void addGsv(std::string_view name, const std::vector<const Satellite*>& satellites, Piece& piece) {
    constexpr std::size_t kEach = 4;
    const std::size_t count = (satellites.size() + kEach - 1) / kEach;
    for (std::size_t number = 0; number < count; ++number) {
        Sentence gsv(name);
        gsv.integer(static_cast<int>(count)).integer(static_cast<int>(number + 1));
        gsv.integer(static_cast<int>(satellites.size()), 2);
        for (std::size_t i = number * kEach; i < std::min(satellites.size(), (number + 1) * kEach); ++i) {
            const Satellite& satellite = *satellites[i];
            gsv.integer(sentenceNumber(satellite), 2).integer(static_cast<int>(satellite.elevation), 2);
            gsv.integer(static_cast<int>(satellite.azimuth), 3)
                .integer(static_cast<int>(satellite.l1.cn0), 2);
        }
        gsv.addTo(piece);
    }
}

// GPS and SBAS satellites share the GP talker.
void addSatellitesInView(const Epoch& epoch, Piece& piece) {
    std::vector<const Satellite*> gp, gl;
    for (const Satellite& satellite : epoch.satellites)
        (satellite.system == SatelliteSystem::kGlonass ? gl : gp).push_back(&satellite);
    addGsv("GPGSV", gp, piece);
    addGsv("GLGSV", gl, piece);
}

void addRmc(const Epoch& epoch, const CalendarTime& utc, Piece& piece) {
    Sentence rmc("GPRMC");
    rmc.time(utc).text(hasFix(epoch) ? "A" : "V").position(epoch);
    if (hasFix(epoch))
        rmc.fixed(knots(epoch.speed), 3).fixed(epoch.course, 3);
    else
        rmc.empty(2);
    rmc.integer(utc.day * 10'000 + utc.month * 100 + utc.year % 100, 6);
    rmc.text("3.1").text("E").text(wordsOf(epoch.quality).mode).addTo(piece);
}

// The error ellipse lies along the meridian: the latitude is the worse known.
void addGst(const Epoch& epoch, const CalendarTime& utc, Piece& piece) {
    Sentence gst("GPGST");
    gst.time(utc);
    if (hasFix(epoch))
        gst.fixed(epoch.sigmaHeight, 3)
            .fixed(epoch.sigmaLatitude, 3)
            .fixed(epoch.sigmaLongitude, 3)
            .fixed(0.0, 1)
            .fixed(epoch.sigmaLatitude, 3)
            .fixed(epoch.sigmaLongitude, 3)
            .fixed(epoch.sigmaHeight, 3);
    else
        gst.empty(7);
    gst.addTo(piece);
}

void addZda(const CalendarTime& utc, Piece& piece) {
    Sentence("GPZDA")
        .time(utc)
        .integer(utc.day, 2)
        .integer(utc.month, 2)
        .integer(utc.year, 4)
        .text("00")
        .text("00")
        .addTo(piece);
}

void addVtg(const Epoch& epoch, Piece& piece) {
    Sentence vtg("GPVTG");
    if (hasFix(epoch))
        vtg.fixed(epoch.course, 3)
            .text("T")
            .empty()
            .text("M")
            .fixed(knots(epoch.speed), 3)
            .text("N")
            .fixed(epoch.speed * 3.6, 3);
    else
        vtg.empty().text("T").empty().text("M").empty().text("N").empty();
    vtg.text("K").text(wordsOf(epoch.quality).mode).addTo(piece);
}

int hexValue(unsigned char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    const int letter = (digit | 0x20) - 'a';
    return letter >= 0 && letter < 6 ? letter + 10 : -1;
}

// Reads a line the lenient way: to its line feed, whatever it holds, with the last star as the border of the
// check.
Match matchSentence(ByteSpan bytes) {
    if (bytes.empty() || bytes[0] != '$') return Match::kNone;
    const ByteSpan line =
        bytes.first(static_cast<std::size_t>(std::ranges::find(bytes, '\n') - bytes.begin()));
    if (line.size() == bytes.size()) return Match::kUnfinished;
    std::size_t star = line.size() - 1;
    while (star > 0 && line[star] != '*')
        --star;
    if (star == 0 || line.size() - star < 3) return Match::kNone;
    const int high = hexValue(line[star + 1]);
    const int low = hexValue(line[star + 2]);
    const bool right = high >= 0 && low >= 0 && xorOf(line.subspan(1, star - 1)) == high * 16 + low;
    return right ? Match::kFrame : Match::kNone;
}

using namespace std::string_view_literals;

constexpr std::array kFalseHeads{
    "$GPGGA,"sv,          "$GPRMC,123519.00,A,4807.0380000,N,"sv,       "$GPGSV,3,1,11*"sv, "$"sv,
    "\x02\x00\x40\xF0"sv, "\xAA\x44\x12\x1C\x2A\x00\x02\x20\x40\x1F"sv,
};

}  // namespace

void encodeNmea(const Epoch& epoch, Piece& piece) {
    const CalendarTime utc = utcOf(epoch);
    addGga(epoch, utc, piece);
    addGsa(epoch, piece);
    addSatellitesInView(epoch, piece);
    addRmc(epoch, utc, piece);
    addGst(epoch, utc, piece);
    addZda(utc, piece);
    addVtg(epoch, piece);
}

const Framing kNmeaFraming{matchSentence, 5, kFalseHeads};

}  // namespace vkcomm::sim
