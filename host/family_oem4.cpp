// OEM4 logs of NovAtel receivers, binary and ASCII.
#include <array>
#include <cmath>
#include <vector>

#include "host/family_rows.h"
#include "vkcomm/formats/oem4_format.h"
#include "vkcomm/formats/sentence_fields.h"

namespace vkcomm {

namespace {

constexpr std::size_t kMostPrns = 64;
constexpr std::size_t kBody915 = 24;

struct PositionTypeName {
    std::uint32_t type;
    std::string_view name;
};

constexpr PositionTypeName kPositionTypes[] = {
    {0, "NONE"},         {1, "FIXEDPOS"},        {2, "FIXEDHEIGHT"},      {4, "FLOATCONV"},
    {5, "WIDELANE"},     {6, "NARROWLANE"},      {8, "DOPPLER_VELOCITY"}, {16, "SINGLE"},
    {17, "PSRDIFF"},     {18, "WAAS"},           {19, "PROPAGATED"},      {20, "OMNISTAR"},
    {32, "L1_FLOAT"},    {33, "IONOFREE_FLOAT"}, {34, "NARROW_FLOAT"},    {48, "L1_INT"},
    {49, "WIDE_INT"},    {50, "NARROW_INT"},     {51, "RTK_DIRECT_INS"},  {52, "INS"},
    {64, "OMNISTAR_HP"}, {65, "OMNISTAR_XP"},    {66, "CDGPS"},
};

std::string_view positionTypeName(std::uint32_t type) {
    const auto* row = std::ranges::find(kPositionTypes, type, &PositionTypeName::type);
    return row == std::end(kPositionTypes) ? std::string_view("UNKNOWN") : row->name;
}

// NovAtel numbers GLONASS slots from 38 on and SBAS by PRN.
SnapshotSatellite satelliteOf(int prn) {
    constexpr int kGlonassOffset = 37;
    if (prn >= 1 && prn <= 32) return {SatelliteSystem::kGps, prn, {}, {}, {}, {}};
    if (prn >= 38 && prn <= 61) return {SatelliteSystem::kGlonass, prn - kGlonassOffset, {}, {}, {}, {}};
    if (prn >= 120 && prn <= 138) return {SatelliteSystem::kSbas, prn, {}, {}, {}, {}};
    return {SatelliteSystem::kUnknown, prn, {}, {}, {}, {}};
}

template <std::size_t Size>
void writeFixed(FieldWriter& out, std::string_view name, const std::array<char, Size>& field) {
    out.text(name, fixedText(field));
}

struct EphemerisField {
    std::string_view name;
    double CEphemeris::*value;
};

constexpr EphemerisField kEphemerisFields[] = {
    {"toc_s", &CEphemeris::toc},         {"af0_s", &CEphemeris::af0},
    {"af1_s_s", &CEphemeris::af1},       {"af2_s_s2", &CEphemeris::af2},
    {"tgd_s", &CEphemeris::tgd},         {"toe_s", &CEphemeris::toe},
    {"sqrt_a_m05", &CEphemeris::sqrtA},  {"eccentricity", &CEphemeris::e},
    {"m0_rad", &CEphemeris::m0},         {"delta_n_rad_s", &CEphemeris::deltaN},
    {"omega0_rad", &CEphemeris::omega0}, {"omega_dot_rad_s", &CEphemeris::omegaDot},
    {"omega_rad", &CEphemeris::omega},   {"i0_rad", &CEphemeris::i0},
    {"idot_rad_s", &CEphemeris::idot},   {"cuc_rad", &CEphemeris::cuc},
    {"cus_rad", &CEphemeris::cus},       {"crc_m", &CEphemeris::crc},
    {"crs_m", &CEphemeris::crs},         {"cic_rad", &CEphemeris::cic},
    {"cis_rad", &CEphemeris::cis},
};

ByteSpan bodyOf(ByteSpan log) { return log.subspan(kOem4HeaderSize); }

// Behind the body stand the four bytes of the CRC.
ByteSpan bodyWithoutCrc(ByteSpan log) { return bodyOf(log).first(log.size() - kOem4HeaderSize - 4); }

class Oem4Parser final : public RowParser<Oem4Parser> {
public:
    static std::span<const MessageRow<Oem4Parser>> rows();

    RecordUse process(const RecordView& record) override {
        m_isLog = record.type == LOG_OEM4_BINARY && record.bytes.size() >= kOem4HeaderSize + 4;
        m_isResponse = false;
        forgetRow();
        if (record.type == LOG_OEM4_ASCII) readAsciiHeader(record.bytes);
        if (!m_isLog) return RecordUse::kNone;
        m_header = loadOem4Header(record.bytes.data());
        m_isResponse = m_header.isResponse();
        // A response carries text, and the parser would scale the sigmas of the older position once more.
        if (m_isResponse) return RecordUse::kNone;
        return RowParser::process(record);
    }

    void writeValues(FieldWriter& out, const RecordView& record) const override {
        if (record.type == LOG_OEM4_ASCII) return writeAscii(out, record.bytes);
        if (!m_isLog) return;
        writeGpsTime(out, m_header.week, m_header.milliseconds / 1000.0);
        if (m_isResponse)
            out.text("response", responseText(bodyWithoutCrc(record.bytes)));
        else
            RowParser::writeValues(out, record);
    }

    // Receivers without time send week 0.
    std::optional<ReceiverTime> time() const override {
        if (m_header.week == 0) return std::nullopt;
        return ReceiverTime{m_header.week, m_header.milliseconds / 1000.0, TimeScale::kGps};
    }

    ReceiverSnapshot snapshot() const override {
        ReceiverSnapshot snapshot;
        const Oem4Position& position = m_logs.Position();
        if (position.week != 0)
            snapshot.time = ReceiverTime{position.week, position.seconds, TimeScale::kGps};
        if (hasFix()) {
            const BestposBody& body = m_logs.Bestpos();
            snapshot.position =
                SnapshotPosition{body.latitude, body.longitude, body.height, HeightReference::kSeaLevel};
            snapshot.quality = ggaQuality(gga());
            snapshot.sigmas = {body.latitudeSigma, body.longitudeSigma, body.heightSigma, {}};
        }
        if (m_positionSeen) {
            snapshot.satellitesUsed = position.satellitesUsed;
            snapshot.satellitesTracked = position.satellitesTracked;
        }
        if (m_dopsSeen) {
            const PsrdopBody& dops = m_logs.Psrdop();
            snapshot.dops = {dops.gdop, dops.pdop, dops.hdop, {}, dops.tdop};
        }
        appendSatellites(snapshot.satellites);
        return snapshot;
    }

    std::string gga() const override { return narrowed(m_logs.strGetGPGGA()); }

private:
    // The strongest signal of a satellite in the last RANGECMP.
    struct Level {
        int prn;
        float cn0;
    };

    bool hasFix() const {
        return m_positionSeen && m_logs.Bestpos().solutionStatus == 0 && m_logs.Bestpos().positionType != 0;
    }

    RecordUse bestpos(ByteSpan log) {
        m_logs.vProcessBestposB(log);
        m_positionSeen = true;
        return hasFix() ? RecordUse::kPosition : RecordUse::kNoFix;
    }

    RecordUse psrdop(ByteSpan log) {
        m_logs.vProcessPsrDOPB(log);
        m_dopsSeen = true;
        m_usedPrns.clear();
        ByteReader list(bodyWithoutCrc(log).subspan(kPsrdopBodySize));
        for (std::uint32_t i = 0; i < m_logs.Psrdop().satellites && list.remaining() >= 4; ++i)
            m_usedPrns.push_back(static_cast<int>(list.le<std::uint32_t>() & 0xFFFF));
        return RecordUse::kStored;
    }

    static std::size_t observationsIn(ByteSpan log) {
        return std::min<std::size_t>(loadLe<std::uint32_t>(bodyOf(log).data()), kOem4Slots);
    }

    static ByteSpan compressed(ByteSpan log, std::size_t index) {
        return bodyOf(log).subspan(4 + index * kCompressedRangeSize, kCompressedRangeSize);
    }

    // The parser folds PRNs above 63; the byte itself does not.
    static int prnOf(ByteSpan compressedRange) { return compressedRange[17]; }

    static bool isSkipped(ByteSpan compressedRange) { return (prnOf(compressedRange) & 0x3F) == 0x3F; }

    RecordUse rangecmp(ByteSpan log) {
        const std::size_t count = observationsIn(log);
        if (bodyWithoutCrc(log).size() < 4 + count * kCompressedRangeSize) return RecordUse::kNone;
        m_logs.vProcessRangeCMPB(log);
        m_levels.clear();
        for (std::size_t i = 0; i < count; ++i)
            if (!isSkipped(compressed(log, i)))
                noteLevel(prnOf(compressed(log, i)), m_logs.Ranges().slots[i].cn0);
        return RecordUse::kStored;
    }

    void noteLevel(int prn, float cn0) {
        const auto level = std::ranges::find(m_levels, prn, &Level::prn);
        if (level == m_levels.end())
            m_levels.push_back({prn, cn0});
        else
            level->cn0 = std::max(level->cn0, cn0);
    }

    template <void (CNOEM4Format::*Process)(ByteSpan)>
    RecordUse store(ByteSpan log) {
        (m_logs.*Process)(log);
        return RecordUse::kStored;
    }

    RecordUse satvis(ByteSpan log) {
        const auto view = SatvisView::of(bodyWithoutCrc(log));
        if (!view) return RecordUse::kNone;
        m_visible.clear();
        for (std::size_t i = 0; i < view->count(); ++i)
            if ((*view)[i].elevation >= 0.0 && m_visible.size() < kMostPrns) m_visible.push_back((*view)[i]);
        return RecordUse::kStored;
    }

    RecordUse shown(ByteSpan) { return RecordUse::kStored; }

    RecordUse serverEpoch(ByteSpan log) {
        constexpr std::size_t kCrc = 4;
        const ByteSpan withoutCrc = log.first(log.size() - std::min(log.size(), kCrc));
        return decodePellEpoch(withoutCrc, m_epoch) ? RecordUse::kStored : RecordUse::kNone;
    }

    RecordUse serverStation(ByteSpan log) {
        return decodePellStation(bodyWithoutCrc(log), m_station) ? RecordUse::kStored : RecordUse::kNone;
    }

    // Byte 20 of the body is the length of the tail behind it; other lengths than these two mean none.
    static std::size_t tailSize915(ByteSpan log) {
        const std::size_t length = bodyOf(log)[20];
        return length == 12 || length == 16 ? length : 0;
    }

    RecordUse message915(ByteSpan log) {
        if (bodyWithoutCrc(log).size() < kBody915 + tailSize915(log)) return RecordUse::kNone;
        m_logs.vProcessMessage915(log);
        return RecordUse::kStored;
    }

    void writeBestpos(FieldWriter& out, ByteSpan) const {
        const BestposBody& body = m_logs.Bestpos();
        out.integer("solution_status", body.solutionStatus);
        out.integer("position_type", body.positionType);
        out.text("position_type_name", positionTypeName(body.positionType));
        writeDegrees(out, body.latitude, body.longitude);
        out.real("height_m", body.height, 4);
        out.real("undulation_m", body.undulation, 4);
        out.integer("datum", body.datum);
        writeSigmas(out, body.latitudeSigma, body.longitudeSigma, body.heightSigma);
        writeFixed(out, "station", body.baseStation);
        out.real("differential_age_s", body.differentialAge, 3);
        out.real("solution_age_s", body.solutionAge, 3);
        out.integer("satellites_tracked", body.satellitesTracked);
        out.integer("satellites_used", body.satellitesUsed);
    }

    void writePsrdop(FieldWriter& out, ByteSpan) const {
        const PsrdopBody& dops = m_logs.Psrdop();
        out.real("gdop", dops.gdop, 4);
        out.real("pdop", dops.pdop, 4);
        out.real("hdop", dops.hdop, 4);
        out.real("htdop", dops.htdop, 4);
        out.real("tdop", dops.tdop, 4);
        out.real("elevation_cutoff_deg", dops.elevationCutOff, 2);
        out.beginList("prns");
        for (const int prn : m_usedPrns)
            out.item(prn);
        out.endList();
    }

    void writeRangecmp(FieldWriter& out, ByteSpan log) const {
        out.beginList("observations");
        for (std::size_t i = 0; i < observationsIn(log); ++i)
            if (!isSkipped(compressed(log, i))) writeRange(out, m_logs.Ranges().slots[i]);
        out.endList();
    }

    static void writeRange(FieldWriter& out, const RangeObservation& range) {
        out.beginItem();
        out.integer("prn", range.prn);
        out.integer("tracking_state", range.trackingStatus);
        out.real("pseudorange_m", range.pseudorange, 4);
        out.real("accumulated_doppler_cycles", range.accumulatedDoppler, 4);
        out.real("cn0_dbhz", range.cn0, 1);
        out.real("lock_time_s", range.lockTime, 3);
        out.endItem();
    }

    void writeVersion(FieldWriter& out, ByteSpan) const {
        const VersionComponent& version = m_logs.Version();
        out.integer("component", version.type);
        writeFixed(out, "model", version.model);
        writeFixed(out, "serial", version.serialNumber);
        writeFixed(out, "hardware", version.hardware);
        writeFixed(out, "software", version.software);
        writeFixed(out, "boot", version.boot);
        writeFixed(out, "compile_date", version.compileDate);
        writeFixed(out, "compile_time", version.compileTime);
    }

    void writeRawephem(FieldWriter& out, ByteSpan) const {
        const CEphemeris& ephemeris = m_logs.Ephemeris();
        out.integer("prn", ephemeris.prn);
        out.integer("reference_week", ephemeris.week);
        out.integer("reference_seconds", ephemeris.referenceSeconds);
        out.boolean("subframes_in_place", ephemeris.subframesInPlace);
        out.boolean("consistent", ephemeris.isConsistent());
        out.integer("health", ephemeris.health);
        out.integer("ura_index", ephemeris.uraIndex);
        out.integer("iodc", ephemeris.iodc);
        out.integer("iode", ephemeris.iodeSubframe2);
        for (const EphemerisField& field : kEphemerisFields)
            out.number(field.name, ephemeris.*field.value);
    }

    void writeSatvis(FieldWriter& out, ByteSpan log) const {
        const auto view = SatvisView::of(bodyWithoutCrc(log));
        out.boolean("valid", view->isValid());
        out.beginList("satellites");
        for (std::size_t i = 0; i < view->count(); ++i) {
            const VisibleSatellite satellite = (*view)[i];
            out.beginItem();
            out.integer("prn", satellite.prn);
            out.integer("health", satellite.health);
            out.real("elevation_deg", satellite.elevation, 2);
            out.real("azimuth_deg", satellite.azimuth, 2);
            out.real("doppler_hz", satellite.trueDoppler, 3);
            out.endItem();
        }
        out.endList();
    }

    void writeRefstation(FieldWriter& out, ByteSpan log) const {
        REFSTATIONB_DATA record;
        m_logs.vProcessRefStationB(log, record);
        ByteReader body(ByteSpan(record.bytes).subspan(kOem4HeaderSize));
        out.integer("status", body.le<std::uint32_t>());
        const auto x = body.le<double>();
        const auto y = body.le<double>();
        writeXyz(out, {x, y, body.le<double>()});
        out.integer("health", body.le<std::uint32_t>());
        out.integer("station_type", body.le<std::uint32_t>());
        out.text("station", lineOf(body.bytes(body.remaining())));
    }

    void writePasscom(FieldWriter& out, ByteSpan log) const {
        PASSCOMB_LOG record;
        m_logs.vProcessPasscom2B(log, record);
        ByteReader body(ByteSpan(record.bytes).subspan(kOem4HeaderSize));
        const auto count = body.le<std::uint32_t>();
        out.integer("count", count);
        out.bytes("data", body.bytes(std::min<std::size_t>(count, body.remaining())));
    }

    // The epoch keeps the negatives of what was measured; here they are turned round again.
    void writeServerEpoch(FieldWriter& out, ByteSpan) const {
        out.number("clock", m_epoch.clock);
        out.beginList("satellites");
        for (std::size_t i = 0; i < m_epoch.satelliteCount; ++i) {
            out.beginItem();
            out.integer("prn", m_epoch.prn[i]);
            out.real("pseudorange_l1_m", -m_epoch.l1Pseudorange[i], 4);
            out.real("phase_l1_cycles", -m_epoch.l1Phase[i], 4);
            if (m_epoch.l2Present[i] != 0) {
                out.real("pseudorange_l2_m", -m_epoch.l2Pseudorange[i], 4);
                out.real("phase_l2_cycles", -m_epoch.l2Phase[i], 4);
            }
            out.endItem();
        }
        out.endList();
    }

    void writeServerStation(FieldWriter& out, ByteSpan) const {
        out.integer("station", m_station.station);
        writeXyz(out, {m_station.x, m_station.y, m_station.z});
    }

    void writeMessage915(FieldWriter& out, ByteSpan log) const {
        out.bytes("body", m_logs.Message915().body);
        out.bytes("tail", bodyOf(log).subspan(kBody915, tailSize915(log)));
    }

    static std::string_view responseText(ByteSpan body) {
        constexpr std::size_t kResponseCode = 4;
        return lineOf(body.subspan(std::min(body.size(), kResponseCode)));
    }

    // Week and seconds stand behind the time status.
    void readAsciiHeader(ByteSpan record) {
        const std::string_view line = lineOf(record);
        const SentenceFields header(line.substr(0, line.find(';')));
        const double seconds = header.real(6);
        m_header = {};
        if (!(seconds >= 0.0 && seconds < kSecondsPerWeek)) return;
        m_header.week = static_cast<std::uint16_t>(std::clamp(header.integer(5), 0, 0xFFFF));
        m_header.milliseconds = static_cast<std::uint32_t>(std::lround(seconds * 1000.0));
    }

    void writeAscii(FieldWriter& out, ByteSpan record) const {
        if (const auto made = time()) writeGpsTime(out, *made->week, made->seconds);
        writeFields(out, lineOf(record), ",;");
    }

    SnapshotSatellite& satellite(std::vector<SnapshotSatellite>& satellites, int prn) const {
        const SnapshotSatellite wanted = satelliteOf(prn);
        const auto same = [&](const SnapshotSatellite& s) {
            return s.system == wanted.system && s.number == wanted.number;
        };
        const auto found = std::ranges::find_if(satellites, same);
        if (found != satellites.end()) return *found;
        satellites.push_back(wanted);
        if (m_dopsSeen) satellites.back().used = false;
        return satellites.back();
    }

    void appendSatellites(std::vector<SnapshotSatellite>& satellites) const {
        for (const VisibleSatellite& visible : m_visible) {
            SnapshotSatellite& row = satellite(satellites, visible.prn);
            row.elevation = visible.elevation;
            row.azimuth = visible.azimuth;
        }
        for (const Level& level : m_levels)
            satellite(satellites, level.prn).cn0 = level.cn0;
        for (const int prn : m_usedPrns)
            satellite(satellites, prn).used = true;
    }

    CNOEM4Format m_logs;
    tag_PellEpoch m_epoch;
    tag_PellStation m_station;
    Oem4Header m_header;
    std::vector<VisibleSatellite> m_visible;
    std::vector<Level> m_levels;
    std::vector<int> m_usedPrns;
    bool m_isLog = false;
    bool m_isResponse = false;
    bool m_positionSeen = false;
    bool m_dopsSeen = false;
};

// The shortest sizes are those of header, fixed body and CRC.
std::span<const MessageRow<Oem4Parser>> Oem4Parser::rows() {
    using P = Oem4Parser;
    static constexpr MessageRow<P> kRows[] = {
        {LOG_OEM4_BINARY, kOem4Bestpos, 104, &P::bestpos, &P::writeBestpos},
        {LOG_OEM4_BINARY, kOem4Rangecmp, 36, &P::rangecmp, &P::writeRangecmp},
        {LOG_OEM4_BINARY, kOem4Psrdop, 60, &P::psrdop, &P::writePsrdop},
        {LOG_OEM4_BINARY, kOem4Satvis, 44, &P::satvis, &P::writeSatvis},
        {LOG_OEM4_BINARY, kOem4Rawephem, 134, &P::store<&CNOEM4Format::vProcessRawEphemB>, &P::writeRawephem},
        {LOG_OEM4_BINARY, kOem4Version, 144, &P::store<&CNOEM4Format::vProcessVerDataB>, &P::writeVersion},
        {LOG_OEM4_BINARY, kOem4Refstation, 73, &P::shown, &P::writeRefstation},
        {LOG_OEM4_BINARY, kOem4Passcom1, 116, &P::shown, &P::writePasscom},
        {LOG_OEM4_BINARY, kOem4Passcom2, 116, &P::shown, &P::writePasscom},
        {LOG_OEM4_BINARY, kOem4Passcom3, 116, &P::shown, &P::writePasscom},
        {LOG_OEM4_BINARY, kOem4ServerEpoch, 33, &P::serverEpoch, &P::writeServerEpoch},
        {LOG_OEM4_BINARY, kOem4ServerStation, 60, &P::serverStation, &P::writeServerStation},
        {LOG_OEM4_BINARY, kOem4ServerMessage915, 56, &P::message915, &P::writeMessage915},
    };
    return kRows;
}

}  // namespace

std::unique_ptr<FamilyParser> makeOem4Parser() { return std::make_unique<Oem4Parser>(); }

}  // namespace vkcomm
