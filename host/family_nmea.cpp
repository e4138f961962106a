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

double secondOfDay(const NmeaTime& time) { return time.hour * 3600.0 + time.minute * 60.0 + time.second; }

// RMC and ZDA may come without a date.
bool hasDate(const NmeaTime& time) {
    return time.year >= 1980 && time.year <= 9999 && time.month >= 1 && time.month <= 12 && time.day >= 1 &&
           time.day <= 31;
}

// "12:34:56.789", its digits as they were sent: a sentence is stored only with a time of six characters.
void writeTime(FieldWriter& out, const CNmeaFormat& parser) {
    const std::string_view sentence = parser.LastSentence();
    const std::size_t start = sentence.find_first_of(",*", 1) + 1;
    std::string time(sentence.substr(start, sentence.find_first_of(",*", start) - start));
    time.insert(4, 1, ':').insert(2, 1, ':');
    out.text("utc", time);
}

void writeDate(FieldWriter& out, const NmeaTime& time) {
    if (!hasDate(time)) return;
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
    writeTime(out, parser);
    writePlace(out, fix.position);
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
    writeTime(out, parser);
    out.real("sigma_latitude_m", errors.latitude, 4);
    out.real("sigma_longitude_m", errors.longitude, 4);
    out.real("sigma_height_m", errors.height, 4);
    out.real("range_rms_m", errors.rangeRms, 4);
}

void writeRmc(FieldWriter& out, const CNmeaFormat& parser) {
    const NmeaMotion& motion = parser.Motion();
    writeTime(out, parser);
    writeDate(out, parser.Time());
    out.real("speed_m_s", motion.speed, 3);
    out.real("course_deg", motion.course * kDegreesPerRadian, 3);
    out.real("magnetic_variation_deg", motion.magneticVariation, 2);
}

void writeZda(FieldWriter& out, const CNmeaFormat& parser) {
    writeTime(out, parser);
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
            writeFields(out, textOf(record.bytes), ",");
        else if (m_stored)
            m_row->write(out, m_parser);
        else
            out.boolean("stored", false);
    }

    std::optional<ReceiverTime> time() const override { return m_time; }

    ReceiverSnapshot snapshot() const override {
        ReceiverSnapshot snapshot;
        snapshot.time = time();
        const NmeaFix& fix = m_parser.Fix();
        if (m_hasFix) snapshot.position = snapshotPosition(fix.position);
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
        if (formatter == kNmeaRmc || formatter == kNmeaZda) noteDate();
        if (formatter != kNmeaGsa) noteTime();
        if (formatter != kNmeaGga) return RecordUse::kStored;
        m_gga = textOf(sentence);
        m_hasFix = m_parser.Fix().quality > 0;
        return m_hasFix ? RecordUse::kPosition : RecordUse::kNoFix;
    }

    // A date holds for the day that began before or at its sentence's time: a time more than half a day
    // earlier is that of the next day.
    void noteTime() {
        const double seconds = secondOfDay(m_parser.Time());
        if (!(seconds >= 0.0 && seconds <= kSecondsPerDay)) return;
        m_time = ReceiverTime{{}, seconds, TimeScale::kUtc};
        if (!m_dateSeen) return;
        const double nextDay = seconds < m_dateSecond - kSecondsPerDay / 2 ? kSecondsPerDay : 0.0;
        const double ofWeek = m_dayOfWeek * kSecondsPerDay + nextDay + seconds;
        const int weeks = static_cast<int>(std::floor(ofWeek / kSecondsPerWeek));
        m_time = ReceiverTime{m_dateWeek + weeks, ofWeek - weeks * kSecondsPerWeek, TimeScale::kUtc};
    }

    void noteDate() {
        const NmeaTime& time = m_parser.Time();
        if (!hasDate(time)) return;
        long week = 0;
        double seconds = 0.0;
        ymdhms_to_gps(time.year, time.month, time.day, 0, 0, 0.0, &week, &seconds);
        m_dateSeen = true;
        m_dateWeek = static_cast<int>(week);
        m_dayOfWeek = static_cast<int>(seconds / kSecondsPerDay);
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

    // What stands behind the star is no satellite.
    void appendSatellites(ReceiverSnapshot& snapshot) const {
        for (unsigned talker = 0; talker < kTalkers; ++talker)
            for (const std::string_view sentence : m_satellites[talker])
                appendSatellites(systemOf(talker), SentenceFields(sentence.substr(0, sentence.rfind('*'))),
                                 snapshot);
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
    std::optional<ReceiverTime> m_time;  // of the last sentence that has one
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
