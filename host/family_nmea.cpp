// NMEA 0183 sentences of any talker.
#include <array>
#include <cmath>

#include "host/family_rows.h"
#include "vkcomm/formats/nmea_format.h"
#include "vkcomm/formats/sentence_fields.h"
#include "vkcomm/gpstime/gps_time.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr double kDay = 86400.0;
constexpr double kWeek = 7 * kDay;

std::string_view textOf(ByteSpan sentence) {
    return {reinterpret_cast<const char*>(sentence.data()), sentence.size()};
}

double secondOfDay(const NmeaTime& time) { return time.hour * 3600.0 + time.minute * 60.0 + time.second; }

// "12:34:56.78", with the seconds as sent: to the hundredth.
void writeTime(FieldWriter& out, const NmeaTime& time) {
    std::string text;
    appendInteger(text, time.hour, 2);
    text += ':';
    appendInteger(text, time.minute, 2);
    text += ':';
    appendFixed(text, time.second, 2, 5);
    out.text("utc", text);
}

void writeDate(FieldWriter& out, const NmeaTime& time) {
    std::string text;
    appendInteger(text, time.year, 4);
    text += '-';
    appendInteger(text, time.month, 2);
    text += '-';
    appendInteger(text, time.day, 2);
    out.text("date", text);
    out.integer("week", time.gpsWeek);
    out.integer("seconds_of_week", time.gpsSeconds);
}

void writeGga(FieldWriter& out, const CNmeaFormat& parser) {
    const NmeaFix& fix = parser.Fix();
    writeTime(out, parser.Time());
    writePosition(out, fix.position.latitude * kDegreesPerRadian, fix.position.longitude * kDegreesPerRadian);
    out.real("height_ellipsoid_m", fix.position.height, 4);
    out.integer("quality", fix.quality);
    out.integer("satellites", fix.satellites);
    out.real("hdop", parser.Dops().hdop, 2);
    out.integer("age_s", fix.age);
    out.integer("station", fix.station);
}

void writeGsa(FieldWriter& out, const CNmeaFormat& parser) {
    out.real("pdop", parser.Dops().pdop, 2);
    out.real("hdop", parser.Dops().hdop, 2);
    out.real("vdop", parser.Dops().vdop, 2);
}

void writeGst(FieldWriter& out, const CNmeaFormat& parser) {
    const NmeaErrors& errors = parser.Errors();
    writeTime(out, parser.Time());
    out.real("sigma_latitude_m", errors.latitude, 4);
    out.real("sigma_longitude_m", errors.longitude, 4);
    out.real("sigma_height_m", errors.height, 4);
    out.real("range_rms_m", errors.rangeRms, 4);
}

void writeRmc(FieldWriter& out, const CNmeaFormat& parser) {
    const NmeaMotion& motion = parser.Motion();
    writeTime(out, parser.Time());
    writeDate(out, parser.Time());
    out.real("speed_m_s", motion.speed, 3);
    out.real("course_deg", motion.course * kDegreesPerRadian, 3);
    out.real("magnetic_variation_deg", motion.magneticVariation, 2);
}

void writeZda(FieldWriter& out, const CNmeaFormat& parser) {
    writeTime(out, parser.Time());
    writeDate(out, parser.Time());
}

struct ParsedSentence {
    unsigned formatter;
    int (CNmeaFormat::*process)(ByteSpan);
    void (*write)(FieldWriter&, const CNmeaFormat&);
};

constexpr ParsedSentence kParsedSentences[] = {
    {kNmeaGga, &CNmeaFormat::bProcessGGA, writeGga}, {kNmeaGsa, &CNmeaFormat::bProcessGSA, writeGsa},
    {kNmeaGst, &CNmeaFormat::bProcessGST, writeGst}, {kNmeaRmc, &CNmeaFormat::bProcessRMC, writeRmc},
    {kNmeaZda, &CNmeaFormat::bProcessZDA, writeZda},
};

void writeFields(FieldWriter& out, std::string_view sentence) {
    const std::string_view data = sentence.substr(0, sentence.rfind('*'));
    out.beginList("fields");
    for (std::size_t comma = data.find(','); comma != std::string_view::npos;) {
        const std::size_t next = data.find(',', comma + 1);
        out.item(data.substr(comma + 1, next == std::string_view::npos ? next : next - comma - 1));
        comma = next;
    }
    out.endList();
}

// Satellites are kept by talker as they are sent: one GSV cycle each.
constexpr SatelliteSystem systemOf(unsigned talker) {
    switch (talker) {
    case kTalkerGps: return SatelliteSystem::kGps;
    case kTalkerGlonass: return SatelliteSystem::kGlonass;
    case kTalkerGalileo: return SatelliteSystem::kGalileo;
    case kTalkerBeidou:
    case kTalkerBeidouOlder:
    case kTalkerBeidouProprietary: return SatelliteSystem::kBeidou;
    case kTalkerQzss:
    case kTalkerQzssOlder: return SatelliteSystem::kQzss;
    case kTalkerNavic: return SatelliteSystem::kNavic;
    default: return SatelliteSystem::kUnknown;
    }
}

// Satellites of GP sentences with numbers 33 to 64 are SBAS: PRN less 87.
SnapshotSatellite numbered(SatelliteSystem system, int number) {
    constexpr int kFirstSbas = 33;
    constexpr int kLastSbas = 64;
    constexpr int kSbasOffset = 87;
    constexpr int kGlonassOffset = 64;
    if (system == SatelliteSystem::kGps && number >= kFirstSbas && number <= kLastSbas)
        return {SatelliteSystem::kSbas, number + kSbasOffset, {}, {}, {}, {}};
    if (system == SatelliteSystem::kGlonass && number > kGlonassOffset)
        return {system, number - kGlonassOffset, {}, {}, {}, {}};
    return {system, number, {}, {}, {}, {}};
}

std::optional<double> numberIn(const SentenceFields& fields, std::size_t n) {
    if (fields.text(n).empty()) return std::nullopt;
    return fields.real(n);
}

class NmeaParser final : public FamilyParser {
public:
    RecordUse process(const RecordView& record) override {
        m_row = nullptr;
        if (record.type != LOG_NMEA) return RecordUse::kNone;
        const unsigned formatter = nmeaFormatter(record.id);
        if (formatter == kNmeaGsv) return keepSatellites(nmeaTalker(record.id), record.bytes);
        const auto* row = std::ranges::find(kParsedSentences, formatter, &ParsedSentence::formatter);
        if (row == std::end(kParsedSentences)) return RecordUse::kNone;
        m_row = row;
        m_stored = (m_parser.*row->process)(record.bytes) != 0;
        if (!m_stored) return formatter == kNmeaGga ? RecordUse::kNoFix : RecordUse::kNone;
        return noted(formatter, record.bytes);
    }

    void writeValues(FieldWriter& out, const RecordView& record) const override {
        if (!m_row)
            writeFields(out, textOf(record.bytes));
        else if (m_stored)
            m_row->write(out, m_parser);
        else
            out.boolean("stored", false);
    }

    // A date holds for the day that began before or at its sentence's time: a time more than half a day
    // earlier is that of the next day.
    std::optional<ReceiverTime> time() const override {
        if (!m_timeSeen) return std::nullopt;
        const double seconds = secondOfDay(m_parser.Time());
        if (!m_dateSeen) return ReceiverTime{{}, seconds, TimeScale::kUtc};
        const double nextDay = seconds < m_dateSecond - kDay / 2 ? kDay : 0.0;
        const double ofWeek = m_dayOfWeek * kDay + nextDay + seconds;
        const int weeks = static_cast<int>(std::floor(ofWeek / kWeek));
        return ReceiverTime{m_dateWeek + weeks, ofWeek - weeks * kWeek, TimeScale::kUtc};
    }

    ReceiverSnapshot snapshot() const override {
        ReceiverSnapshot snapshot;
        snapshot.time = time();
        const NmeaFix& fix = m_parser.Fix();
        if (m_hasFix)
            snapshot.position =
                SnapshotPosition{fix.position.latitude * kDegreesPerRadian,
                                 fix.position.longitude * kDegreesPerRadian, fix.position.height};
        snapshot.quality = m_hasFix ? fix.quality : 0;
        if (m_parser.Flags().gga) {
            snapshot.satellitesUsed = fix.satellites;
            snapshot.dops.hdop = m_parser.Dops().hdop;
        }
        if (m_parser.Flags().gsa) {
            snapshot.dops.pdop = m_parser.Dops().pdop;
            snapshot.dops.vdop = m_parser.Dops().vdop;
        }
        if (m_parser.Flags().gst) {
            const NmeaErrors& errors = m_parser.Errors();
            snapshot.sigmas = {errors.latitude, errors.longitude, errors.height, {}};
        }
        appendSatellites(snapshot);
        return snapshot;
    }

    // As it was sent.
    std::string gga() const override {
        return m_gga.empty() ? m_gga : m_gga.substr(0, m_gga.find_first_of("\r\n")) + "\r\n";
    }

private:
    static constexpr std::size_t kTalkers = kTalkerBeidouProprietary + 1;
    static constexpr std::size_t kMostSentences = 9;

    // The sentences of one talker's GSV cycle, by their number.
    using Cycle = std::array<std::string, kMostSentences>;

    RecordUse noted(unsigned formatter, ByteSpan sentence) {
        if (formatter != kNmeaGsa) m_timeSeen = true;
        if (formatter == kNmeaRmc || formatter == kNmeaZda) noteDate();
        if (formatter != kNmeaGga) return RecordUse::kStored;
        m_gga = textOf(sentence);
        m_hasFix = m_parser.Fix().quality > 0;
        return m_hasFix ? RecordUse::kPosition : RecordUse::kNoFix;
    }

    void noteDate() {
        const NmeaTime& time = m_parser.Time();
        long week = 0;
        double seconds = -1.0;
        ymdhms_to_gps(time.year, time.month, time.day, 0, 0, 0.0, &week, &seconds);
        m_dateSeen = seconds >= 0.0;
        m_dateWeek = static_cast<int>(week);
        m_dayOfWeek = static_cast<int>(seconds / kDay);
        m_dateSecond = secondOfDay(time);
    }

    // Only kept: they are taken apart when somebody asks.
    RecordUse keepSatellites(unsigned talker, ByteSpan sentence) {
        constexpr std::size_t kNumberAt = 9;  // "$GPGSV,3,1,…"
        if (talker >= kTalkers || sentence.size() <= kNumberAt) return RecordUse::kNone;
        const int number = sentence[kNumberAt] - '1';
        if (number < 0 || number >= static_cast<int>(kMostSentences)) return RecordUse::kNone;
        Cycle& cycle = m_satellites[talker];
        if (number == 0)
            for (std::string& older : cycle)
                older.clear();
        cycle[static_cast<std::size_t>(number)] = textOf(sentence);
        return RecordUse::kStored;
    }

    void appendSatellites(ReceiverSnapshot& snapshot) const {
        for (unsigned talker = 0; talker < kTalkers; ++talker)
            for (const std::string& sentence : m_satellites[talker])
                appendSatellites(systemOf(talker), SentenceFields(sentence), snapshot);
    }

    static void appendSatellites(SatelliteSystem system, const SentenceFields& fields,
                                 ReceiverSnapshot& snapshot) {
        constexpr std::size_t kFirst = 4;
        constexpr std::size_t kEach = 4;
        constexpr std::size_t kMost = 4;
        for (std::size_t at = kFirst; at < kFirst + kEach * kMost; at += kEach) {
            if (fields.integer(at) <= 0) continue;
            SnapshotSatellite satellite = numbered(system, fields.integer(at));
            satellite.elevation = numberIn(fields, at + 1);
            satellite.azimuth = numberIn(fields, at + 2);
            satellite.cn0 = numberIn(fields, at + 3);
            snapshot.satellites.push_back(satellite);
        }
    }

    CNmeaFormat m_parser;
    const ParsedSentence* m_row = nullptr;
    bool m_stored = false;
    bool m_timeSeen = false;
    bool m_dateSeen = false;
    bool m_hasFix = false;
    int m_dateWeek = 0;
    int m_dayOfWeek = 0;
    double m_dateSecond = 0.0;
    std::string m_gga;
    std::array<Cycle, kTalkers> m_satellites;
};

}  // namespace

std::unique_ptr<FamilyParser> makeNmeaParser() { return std::make_unique<NmeaParser>(); }

}  // namespace vkcomm
