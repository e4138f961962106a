// Messages of Javad receivers (GREIS).
#include <cmath>
#include <utility>
#include <vector>

#include "host/family_rows.h"
#include "vkcomm/datum/convert.h"
#include "vkcomm/gpstime/gps_time.h"

namespace vkcomm {

namespace {

constexpr std::size_t kHead = 5;

ByteSpan bodyOf(ByteSpan message) { return message.subspan(kHead); }

// The body less its checksum.
ByteSpan valuesOf(ByteSpan message) { return message.subspan(kHead, message.size() - kHead - 1); }

// Universal satellite indices.
SnapshotSatellite satelliteOf(unsigned index) {
    struct Range {
        unsigned first;
        unsigned last;
        SatelliteSystem system;
        unsigned offset;
    };

    constexpr Range kRanges[] = {
        {1, 37, SatelliteSystem::kGps, 0},        {38, 69, SatelliteSystem::kGlonass, 37},
        {71, 119, SatelliteSystem::kGalileo, 70}, {120, 142, SatelliteSystem::kSbas, 0},
        {193, 202, SatelliteSystem::kQzss, 192},
    };
    for (const Range& range : kRanges)
        if (index >= range.first && index <= range.last)
            return {range.system, static_cast<int>(index - range.offset), {}, {}, {}, {}};
    return {SatelliteSystem::kUnknown, static_cast<int>(index), {}, {}, {}, {}};
}

class JavadParser final : public RowParser<JavadParser> {
public:
    static std::span<const MessageRow<JavadParser>> rows();

    std::optional<ReceiverTime> time() const override {
        if (m_gpsTimeSeen) return ReceiverTime{fullWeek(), m_messages.Time().milliseconds / 1000.0, m_scale};
        if (m_secondOfDay) return ReceiverTime{{}, *m_secondOfDay, m_scale};
        return std::nullopt;
    }

    ReceiverSnapshot snapshot() const override {
        ReceiverSnapshot snapshot;
        snapshot.time = time();
        if (hasFix()) {
            snapshot.position = snapshotPosition(CConvert::XYZtoBLH(m_messages.Position().position));
            snapshot.quality = ggaQuality(gga());
        }
        if (m_statisticsSeen) {
            const JavadStatistics& statistics = m_messages.Statistics();
            snapshot.satellitesUsed = statistics.gpsUsed + statistics.glonassUsed;
            snapshot.satellitesTracked = statistics.gpsLocked + statistics.glonassLocked;
        }
        if (m_dopsSeen) {
            const JavadDops& dops = m_messages.Dops();
            snapshot.dops = {{}, {}, dops.hdop, dops.vdop, dops.tdop};
        }
        if (m_rmsSeen) {
            snapshot.sigmas.up = m_messages.Rms().vertical;
            snapshot.sigmas.horizontal = m_messages.Rms().horizontal;
        }
        for (std::size_t i = 0; i < m_indices.size(); ++i)
            snapshot.satellites.push_back(satelliteAt(i));
        return snapshot;
    }

    std::string gga() const override { return narrowed(m_messages.strGetGPGGA()); }

private:
    using Bytes = std::vector<unsigned char>;

    // Without one some receivers send an entered position as stand-alone; the status of the satellites tells
    // better.
    bool hasFix() const {
        constexpr double kWellInsideTheEarth = 6.0e6;
        const XYZ& position = m_messages.Position().position;
        return m_messages.Position().solutionType != 0 && m_statusSolution != 0 &&
               std::hypot(position.x, position.y, position.z) > kWellInsideTheEarth;
    }

    // Some firmware sends the week modulo 1024: with a date it is the full week nearest to that. Without one,
    // it is at least 1024, since there were no such receivers before.
    int fullWeek() const {
        constexpr int kRollOver = 1024;
        const int week = m_messages.Time().week;
        if (!m_weekAsSent) return week;
        if (!m_dateWeek) return week < kRollOver ? week + kRollOver : week;
        return week + kRollOver * static_cast<int>(std::lround(double(*m_dateWeek - week) / kRollOver));
    }

    SnapshotSatellite satelliteAt(std::size_t i) const {
        SnapshotSatellite satellite = satelliteOf(m_indices[i]);
        const auto valueIn = [i](const Bytes& values) {
            return i < values.size() ? std::optional<int>(values[i]) : std::nullopt;
        };
        if (const auto elevation = valueIn(m_elevations))
            satellite.elevation = static_cast<std::int8_t>(*elevation);
        if (const auto azimuth = valueIn(m_azimuths)) satellite.azimuth = *azimuth * 2;
        if (const auto level = valueIn(m_levels); level && *level > 0) satellite.cn0 = *level * m_levelUnit;
        if (const auto status = valueIn(m_status)) satellite.used = *status <= kLastUsedStatus;
        return satellite;
    }

    template <void (CJavadFormat::*Process)(ByteSpan)>
    RecordUse position(ByteSpan message) {
        (m_messages.*Process)(bodyOf(message));
        if (!counts(javadId(textOf(message)))) return RecordUse::kStored;
        return hasFix() ? RecordUse::kPosition : RecordUse::kNoFix;
    }

    // Of the two messages that bring the same position one counts; the other takes its place when it stays away.
    bool counts(unsigned id) {
        if (m_counted != 0 && id != m_counted && !std::exchange(m_isPassedOver, true)) return false;
        m_counted = id;
        m_isPassedOver = false;
        return true;
    }

    template <void (CJavadFormat::*Process)(ByteSpan), bool JavadParser::*Seen>
    RecordUse store(ByteSpan message) {
        (m_messages.*Process)(bodyOf(message));
        this->*Seen = true;
        return RecordUse::kStored;
    }

    RecordUse gt(ByteSpan message) {
        m_messages.vProcessGT(bodyOf(message));
        m_gpsTimeSeen = m_weekAsSent = true;
        m_scale = TimeScale::kGps;
        return RecordUse::kStored;
    }

    RecordUse rd(ByteSpan message) {
        m_messages.vProcessRD(bodyOf(message));
        const JavadDate& date = m_messages.Date();
        long week = 0;
        double seconds = -1.0;
        ymdhms_to_gps(date.year, date.month, date.day, 0, 0, 0.0, &week, &seconds);
        m_dateWeek.reset();
        if (seconds >= 0.0 && date.base != kGlonassTime) m_dateWeek = static_cast<int>(week);
        m_dateSeconds = seconds;
        if (!m_weekAsSent) m_scale = date.base == 0 ? TimeScale::kGps : TimeScale::kUtc;
        fillTime();
        return RecordUse::kStored;
    }

    RecordUse timeOfDay(ByteSpan message) {
        const double second = loadLe<std::uint32_t>(bodyOf(message).data()) / 1000.0;
        if (m_secondOfDay && second < *m_secondOfDay - kSecondsPerDay / 2) m_dateSeconds += kSecondsPerDay;
        m_secondOfDay = second;
        fillTime();
        return RecordUse::kStored;
    }

    // Receivers that send date and time of day instead of GPS time: the parser's time area is filled from
    // those.
    void fillTime() {
        if (m_weekAsSent || !m_secondOfDay) return;
        const double seconds = (m_dateWeek ? m_dateSeconds : 0.0) + *m_secondOfDay;
        const double weeks = std::floor(seconds / kSecondsPerWeek);
        std::array<unsigned char, 7> body{};
        storeLe(body.data(),
                static_cast<std::uint32_t>(std::lround((seconds - weeks * kSecondsPerWeek) * 1000.0)));
        storeLe(body.data() + 4,
                static_cast<std::uint16_t>(m_dateWeek.value_or(0) + static_cast<int>(weeks)));
        m_messages.vProcessGT(ByteSpan(body));
        m_gpsTimeSeen = m_dateWeek.has_value();
    }

    static RecordUse keep(Bytes& list, ByteSpan values) {
        list.assign(values.begin(), values.end());
        return RecordUse::kStored;
    }

    RecordUse si(ByteSpan message) { return keep(m_indices, valuesOf(message)); }

    RecordUse el(ByteSpan message) { return keep(m_elevations, valuesOf(message)); }

    RecordUse az(ByteSpan message) { return keep(m_azimuths, valuesOf(message)); }

    RecordUse ec(ByteSpan message) {
        m_levelUnit = 1.0;
        return keep(m_levels, valuesOf(message));
    }

    RecordUse ce(ByteSpan message) {
        m_levelUnit = 0.25;
        return keep(m_levels, valuesOf(message));
    }

    // The solution type stands behind the satellites.
    RecordUse ss(ByteSpan message) {
        const ByteSpan values = valuesOf(message);
        m_statusSolution = values.back();
        return keep(m_status, values.first(values.size() - 1));
    }

    RecordUse shown(ByteSpan) { return RecordUse::kStored; }

    RecordUse gs(ByteSpan message) {
        m_messages.vProcressGS(message, m_gpsTexts);
        return RecordUse::kStored;
    }

    RecordUse ns(ByteSpan message) {
        m_messages.vProcressNS(message, m_glonassTexts);
        return RecordUse::kStored;
    }

    void writePo(FieldWriter& out, ByteSpan) const {
        const JavadPosition& area = m_messages.Position();
        writePlace(out, CConvert::XYZtoBLH(area.position));
        writeXyz(out, area.position);
        out.real("sigma_position_m", area.sigma, 4);
        out.integer("solution_type", area.solutionType);
    }

    void writeDp(FieldWriter& out, ByteSpan) const {
        const JavadDops& dops = m_messages.Dops();
        out.real("hdop", dops.hdop, 4);
        out.real("vdop", dops.vdop, 4);
        out.real("tdop", dops.tdop, 4);
        out.integer("solution_type", dops.solutionType);
    }

    void writeSg(FieldWriter& out, ByteSpan) const {
        const JavadRms& rms = m_messages.Rms();
        out.real("sigma_horizontal_m", rms.horizontal, 4);
        out.real("sigma_up_m", rms.vertical, 4);
        out.real("sigma_velocity_horizontal_m_s", rms.horizontalVelocity, 4);
        out.real("sigma_velocity_up_m_s", rms.verticalVelocity, 4);
        out.integer("solution_type", rms.solutionType);
    }

    void writePs(FieldWriter& out, ByteSpan) const {
        const JavadStatistics& statistics = m_messages.Statistics();
        out.integer("solution_type", statistics.solutionType);
        out.integer("gps_locked", statistics.gpsLocked);
        out.integer("glonass_locked", statistics.glonassLocked);
        out.integer("gps_available", statistics.gpsAvailable);
        out.integer("glonass_available", statistics.glonassAvailable);
        out.integer("gps_used", statistics.gpsUsed);
        out.integer("glonass_used", statistics.glonassUsed);
        out.integer("fix_progress_percent", statistics.fixProgress);
    }

    void writeGt(FieldWriter& out, ByteSpan) const {
        writeGpsTime(out, fullWeek(), m_messages.Time().milliseconds / 1000.0);
    }

    void writeRd(FieldWriter& out, ByteSpan) const {
        const JavadDate& date = m_messages.Date();
        out.integer("year", date.year);
        out.integer("month", date.month);
        out.integer("day", date.day);
        out.integer("time_base", date.base);
    }

    void writeTimeOfDay(FieldWriter& out, ByteSpan) const { out.real("second_of_day", *m_secondOfDay, 3); }

    void writeEl(FieldWriter& out, ByteSpan) const {
        out.beginList("elevation_deg");
        for (const unsigned char elevation : m_elevations)
            out.item(std::int64_t{static_cast<std::int8_t>(elevation)});
        out.endList();
    }

    void writeAz(FieldWriter& out, ByteSpan) const {
        out.beginList("azimuth_deg");
        for (const unsigned char azimuth : m_azimuths)
            out.item(std::int64_t{azimuth} * 2);
        out.endList();
    }

    void writeEc(FieldWriter& out, ByteSpan) const {
        out.beginList("cn0_dbhz");
        for (const unsigned char level : m_levels)
            out.item(level * m_levelUnit, 2);
        out.endList();
    }

    void writeSs(FieldWriter& out, ByteSpan) const {
        out.beginList("status");
        for (const unsigned char status : m_status)
            out.item(std::int64_t{status});
        out.endList();
        out.integer("solution_type", m_statusSolution);
    }

    void writeSi(FieldWriter& out, ByteSpan) const {
        out.beginList("satellites");
        for (const unsigned char index : m_indices) {
            const SnapshotSatellite satellite = satelliteOf(index);
            const char system = static_cast<char>(satellite.system);
            out.beginItem();
            out.text("system", {&system, 1});
            out.integer("number", satellite.number);
            out.endItem();
        }
        out.endList();
    }

    void writeReply(FieldWriter& out, ByteSpan message) const {
        out.text("text", narrowed(m_messages.strProcessRECmd(message)));
    }

    void writeGs(FieldWriter& out, ByteSpan) const {
        out.beginList("satellites");
        for (const JAVAD_GPS_STATUS& s : m_gpsTexts)
            writeNumbered(out, {s.value1, s.value2, s.value3, s.value4, s.value5, s.value6, s.value7});
        out.endList();
    }

    void writeNs(FieldWriter& out, ByteSpan) const {
        out.beginList("satellites");
        for (const JAVAD_GLONASS_STATUS& s : m_glonassTexts)
            writeNumbered(out,
                          {s.value1, s.value2, s.value3, s.value4, s.value5, s.value6, s.value7, s.value8});
        out.endList();
    }

    static void writeNumbered(FieldWriter& out, std::initializer_list<int> values) {
        out.beginItem();
        std::string name = "value0";
        for (const int value : values) {
            ++name.back();
            out.integer(name, value);
        }
        out.endItem();
    }

    static constexpr std::uint8_t kGlonassTime = 2;
    // Higher ones tell why a satellite is not used.
    static constexpr int kLastUsedStatus = 3;

    CJavadFormat m_messages;
    std::vector<JAVAD_GPS_STATUS> m_gpsTexts;
    std::vector<JAVAD_GLONASS_STATUS> m_glonassTexts;
    Bytes m_indices;
    Bytes m_elevations;
    Bytes m_azimuths;
    Bytes m_levels;
    double m_levelUnit = 1.0;  // dB-Hz
    Bytes m_status;
    int m_statusSolution = -1;      // solution type of the same; none yet
    std::optional<int> m_dateWeek;  // GPS week of the date, or the same count in UTC
    double m_dateSeconds = 0.0;     // of that week, at midnight
    std::optional<double> m_secondOfDay;
    TimeScale m_scale = TimeScale::kGps;
    unsigned m_counted = 0;       // Id of the message whose positions count; 0: none yet
    bool m_isPassedOver = false;  // the other has come since
    bool m_gpsTimeSeen = false;
    bool m_weekAsSent = false;  // in a message of its own
    bool m_dopsSeen = false;
    bool m_rmsSeen = false;
    bool m_statisticsSeen = false;
};

// The shortest sizes are those of head and body.
std::span<const MessageRow<JavadParser>> JavadParser::rows() {
    using P = JavadParser;
    static constexpr MessageRow<P> kRows[] = {
        {LOG_NONE, javadId("~~"), 10, &P::timeOfDay, &P::writeTimeOfDay},
        {LOG_NONE, javadId("::"), 10, &P::timeOfDay, &P::writeTimeOfDay},
        {LOG_NONE, javadId("RD"), 11, &P::rd, &P::writeRd},
        {LOG_NONE, javadId("GT"), 12, &P::gt, &P::writeGt},
        {LOG_NONE, javadId("PO"), 35, &P::position<&CJavadFormat::vProcessPO>, &P::writePo},
        {LOG_NONE, javadId("PV"), 51, &P::position<&CJavadFormat::vProcessPV>, &P::writePo},
        {LOG_NONE, javadId("DP"), 19, &P::store<&CJavadFormat::vProcessDP, &P::m_dopsSeen>, &P::writeDp},
        {LOG_NONE, javadId("SG"), 23, &P::store<&CJavadFormat::vProcessSG, &P::m_rmsSeen>, &P::writeSg},
        {LOG_NONE, javadId("PS"), 14, &P::store<&CJavadFormat::vProcessPS, &P::m_statisticsSeen>,
         &P::writePs},
        {LOG_NONE, javadId("SI"), 6, &P::si, &P::writeSi},
        {LOG_NONE, javadId("EL"), 6, &P::el, &P::writeEl},
        {LOG_NONE, javadId("AZ"), 6, &P::az, &P::writeAz},
        {LOG_NONE, javadId("EC"), 6, &P::ec, &P::writeEc},
        {LOG_NONE, javadId("CE"), 6, &P::ce, &P::writeEc},
        {LOG_NONE, javadId("SS"), 7, &P::ss, &P::writeSs},
        {LOG_NONE, javadId("RE"), 5, &P::shown, &P::writeReply},
        {LOG_NONE, javadId("ER"), 5, &P::shown, &P::writeReply},
        {LOG_NONE, javadId("GS"), 6, &P::gs, &P::writeGs},
        {LOG_NONE, javadId("NS"), 6, &P::ns, &P::writeNs},
    };
    return kRows;
}

}  // namespace

std::unique_ptr<FamilyParser> makeJavadParser() { return std::make_unique<JavadParser>(); }

}  // namespace vkcomm
