// Packets of Trimble receivers: GENOUT reports with GSOF records, and replies.
#include <bitset>
#include <cmath>

#include "host/family_rows.h"
#include "host/genout_reassembler.h"
#include "vkcomm/datum/convert.h"
#include "vkcomm/formats/trimble_format.h"

namespace vkcomm {

namespace {

constexpr std::size_t kPacketHead = 4;
constexpr std::size_t kPacketTail = 2;

// What stands between the head of a packet and its checksum.
ByteSpan dataOf(ByteSpan packet) {
    return packet.subspan(kPacketHead, packet.size() - kPacketHead - kPacketTail);
}

enum GsofType : unsigned char {
    kPositionTime = 1,
    kGeodetic = 2,
    kCartesian = 3,
    kDelta = 6,
    kDops = 9,
    kSigmas = 12,
    kSatellites = 14,
};

using GsofTypes = std::bitset<256>;

// The types of the records in a report, by the same steps as the parser's.
GsofTypes typesIn(ByteSpan report) {
    constexpr std::size_t kReportHead = 3;
    GsofTypes types;
    for (std::size_t at = kReportHead; at + 2 <= report.size();) {
        types.set(report[at]);
        at += 2U + report[at + 1] + (report[at] == kSatellites ? 1U : 0U);
    }
    return types;
}

// Bits of the flags of a satellite.
constexpr unsigned kUsedInPosition = 0x40;
constexpr unsigned kUsedInRtk = 0x80;

bool isUsed(const TrimbleSatellite& satellite) {
    return (satellite.flags1 & (kUsedInPosition | kUsedInRtk)) != 0;
}

// Quarters of a dB-Hz; 0: not tracked.
std::optional<double> levelOf(std::uint8_t snr) {
    if (snr == 0) return std::nullopt;
    return snr / 4.0;
}

SatelliteSystem systemOf(int prn) {
    if (prn >= 1 && prn <= 32) return SatelliteSystem::kGps;
    return prn >= 120 && prn <= 138 ? SatelliteSystem::kSbas : SatelliteSystem::kUnknown;
}

class TrimbleParser final : public RowParser<TrimbleParser> {
public:
    static std::span<const MessageRow<TrimbleParser>> rows();

    std::optional<ReceiverTime> time() const override {
        if (!m_seen[kPositionTime]) return std::nullopt;
        const TrimblePositionTime& time = m_packets.PositionTime();
        return ReceiverTime{time.week, time.milliseconds / 1000.0, TimeScale::kGps};
    }

    ReceiverSnapshot snapshot() const override {
        ReceiverSnapshot snapshot;
        snapshot.time = time();
        if (hasFix()) {
            snapshot.position = snapshotPosition(CConvert::XYZtoBLH(m_packets.Position()));
            snapshot.quality = ggaQuality(gga());
        }
        if (m_seen[kPositionTime]) snapshot.satellitesUsed = m_packets.PositionTime().satellites;
        if (m_seen[kDops]) {
            const TrimbleDops& dops = m_packets.Dops();
            snapshot.dops = {{}, dops.pdop, dops.hdop, dops.vdop, dops.tdop};
        }
        if (m_seen[kSigmas]) {
            const TrimbleSigmas& sigmas = m_packets.Sigmas();
            snapshot.sigmas = {sigmas.north, sigmas.east, sigmas.up, {}};
        }
        for (const TrimbleSatellite& satellite : m_packets.Satellites().list)
            snapshot.satellites.push_back({systemOf(satellite.prn), satellite.prn, satellite.elevation,
                                           satellite.azimuth, levelOf(satellite.snrL1), isUsed(satellite)});
        return snapshot;
    }

    std::string gga() const override { return narrowed(m_packets.strGetGPGGA()); }

private:
    // Without a fix the position is not sent, or lies at the earth's centre.
    bool hasFix() const {
        constexpr double kWellInsideTheEarth = 6.0e6;
        const XYZ& position = m_packets.Position();
        return std::hypot(position.x, position.y, position.z) > kWellInsideTheEarth &&
               !(m_seen[kPositionTime] && m_packets.PositionTime().satellites == 0);
    }

    RecordUse genout(ByteSpan packet) {
        m_reported.reset();
        m_isComplete = m_pages.add(packet);
        if (!m_isComplete) return RecordUse::kStored;
        m_packets.vProcessGenout(m_pages.report());
        m_reported = typesIn(m_pages.report());
        m_seen |= m_reported;
        if (!m_reported[kGeodetic] && !m_reported[kCartesian]) return RecordUse::kStored;
        return hasFix() ? RecordUse::kPosition : RecordUse::kNoFix;
    }

    template <void (CTrimbleFormat::*Process)(ByteSpan)>
    RecordUse store(ByteSpan packet) {
        (m_packets.*Process)(dataOf(packet));
        return RecordUse::kStored;
    }

    RecordUse retsvdata(ByteSpan packet) {
        if (dataOf(packet)[0] == kSatelliteFlags) {
            if (dataOf(packet).size() < 2 + 4 * m_packets.SatelliteSets().size()) return RecordUse::kNone;
            m_packets.vProcessRetsvdata(dataOf(packet).subspan(2));
        }
        return RecordUse::kStored;
    }

    RecordUse rserial(ByteSpan packet) {
        return m_packets.SerialReply().bParse(dataOf(packet)) ? RecordUse::kStored : RecordUse::kNone;
    }

    RecordUse breakret(ByteSpan packet) {
        m_packets.BreakReply().bParse(dataOf(packet));
        return RecordUse::kStored;
    }

    void writeGenout(FieldWriter& out, ByteSpan packet) const {
        out.integer("transmission", dataOf(packet)[0]);
        out.integer("page", dataOf(packet)[1]);
        out.integer("last_page", dataOf(packet)[2]);
        if (!m_isComplete) return;
        out.beginList("records");
        for (std::size_t type = 0; type < m_reported.size(); ++type)
            if (m_reported[type]) out.item(static_cast<std::int64_t>(type));
        out.endList();
        if (m_reported[kPositionTime]) writePositionTime(out);
        if (m_reported[kGeodetic] || m_reported[kCartesian]) {
            writePlace(out, CConvert::XYZtoBLH(m_packets.Position()));
            writeXyz(out, m_packets.Position());
        }
        if (m_reported[kDelta]) writeBase(out, m_packets.BasePosition());
        if (m_reported[kDops]) writeDops(out);
        if (m_reported[kSigmas]) writeSigmaRecord(out);
        if (m_reported[kSatellites]) writeSatellites(out);
    }

    void writePositionTime(FieldWriter& out) const {
        const TrimblePositionTime& time = m_packets.PositionTime();
        writeGpsTime(out, time.week, time.milliseconds / 1000.0);
        out.integer("satellites_used", time.satellites);
        out.integer("flags1", time.flags1);
        out.integer("flags2", time.flags2);
        out.integer("initialisations", time.initialisations);
    }

    static void writeBase(FieldWriter& out, const XYZ& base) {
        out.real("base_x_m", base.x, 4);
        out.real("base_y_m", base.y, 4);
        out.real("base_z_m", base.z, 4);
    }

    void writeDops(FieldWriter& out) const {
        const TrimbleDops& dops = m_packets.Dops();
        out.real("pdop", dops.pdop, 2);
        out.real("hdop", dops.hdop, 2);
        out.real("vdop", dops.vdop, 2);
        out.real("tdop", dops.tdop, 2);
    }

    void writeSigmaRecord(FieldWriter& out) const {
        const TrimbleSigmas& sigmas = m_packets.Sigmas();
        out.real("position_rms_m", sigmas.positionRms, 4);
        writeSigmas(out, sigmas.north, sigmas.east, sigmas.up);
        out.real("covariance_east_north_m2", sigmas.covariance, 6);
        out.real("semi_major_m", sigmas.semiMajor, 4);
        out.real("semi_minor_m", sigmas.semiMinor, 4);
        out.real("orientation_deg", sigmas.orientation, 2);
        out.real("unit_variance", sigmas.unitVariance, 4);
        out.integer("epochs", sigmas.epochs);
    }

    void writeSatellites(FieldWriter& out) const {
        out.beginList("satellites");
        for (const TrimbleSatellite& satellite : m_packets.Satellites().list) {
            out.beginItem();
            out.integer("prn", satellite.prn);
            out.integer("elevation_deg", satellite.elevation);
            out.integer("azimuth_deg", satellite.azimuth);
            out.real("cn0_dbhz", satellite.snrL1 / 4.0, 2);
            out.real("cn0_l2_dbhz", satellite.snrL2 / 4.0, 2);
            out.boolean("used", isUsed(satellite));
            out.endItem();
        }
        out.endList();
    }

    // The head of the page; the parser keeps nothing of these.
    void writeRawdata(FieldWriter& out, ByteSpan packet) const {
        const ByteSpan data = dataOf(packet);
        out.integer("record_type", data[0]);
        out.integer("page", data[1] >> 4);
        out.integer("pages", data[1] & 15);
        out.integer("reply", data[2]);
    }

    void writeRetsvdata(FieldWriter& out, ByteSpan packet) const {
        out.integer("subtype", dataOf(packet)[0]);
        out.integer("prn", dataOf(packet)[1]);
        if (dataOf(packet)[0] != kSatelliteFlags) return;
        out.beginList("satellite_sets");
        for (const std::uint32_t set : m_packets.SatelliteSets())
            out.item(std::int64_t{set});
        out.endList();
    }

    void writeRecstat1(FieldWriter& out, ByteSpan) const {
        out.text("satellites", textOf(m_packets.Status()).substr(2, 2));
        out.bytes("status", m_packets.Status());
    }

    void writeRetopt(FieldWriter& out, ByteSpan) const {
        const TrimbleOptions& options = m_packets.Options();
        out.integer("sync_time", options.syncTime);
        out.integer("fastest_rate", options.fastestRate);
        out.integer("memory_installed", options.memoryInstalled);
        out.bytes("options", options.bytes);
    }

    void writeRserial(FieldWriter& out, ByteSpan) const {
        const TrimbleSerialReply& reply = m_packets.SerialReply().Reply();
        out.text("serial", narrowed(reply.serial));
        out.text("receiver_type", narrowed(reply.receiverType));
        out.text("navigation_version", narrowed(reply.navigationVersion));
        out.text("signal_version", narrowed(reply.signalVersion));
        out.text("boot_version", narrowed(reply.bootVersion));
        out.text("antenna_serial", narrowed(reply.antennaSerial));
        out.text("antenna_type", narrowed(reply.antennaType));
        out.text("channels", narrowed(reply.channels));
        out.text("channels_l1", narrowed(reply.channelsL1));
        out.text("long_serial", narrowed(reply.longSerial));
    }

    void writeBreakret(FieldWriter& out, ByteSpan) const {
        const TrimbleBreakReply& reply = m_packets.BreakReply().Reply();
        out.text("identity", narrowed(reply.identity));
        out.text("second_identity", narrowed(reply.secondIdentity));
        writeTexts(out, "port", reply.port);
        writeTexts(out, "version", reply.version);
    }

    static void writeTexts(FieldWriter& out, std::string_view name, std::span<const std::wstring> texts) {
        out.beginList(name);
        for (const std::wstring& text : texts)
            out.item(narrowed(text));
        out.endList();
    }

    static constexpr unsigned char kSatelliteFlags = 0;

    CTrimbleFormat m_packets;
    GenoutReassembler m_pages;
    GsofTypes m_reported;  // by the last packet
    GsofTypes m_seen;      // ever
    bool m_isComplete = false;
};

// The shortest sizes are those of head, data and the two bytes behind them.
std::span<const MessageRow<TrimbleParser>> TrimbleParser::rows() {
    using P = TrimbleParser;
    static constexpr MessageRow<P> kRows[] = {
        {LOG_TRIMBLE_PACKET, kTrimbleGenout, 9, &P::genout, &P::writeGenout},
        {LOG_TRIMBLE_PACKET, kTrimbleRawdata, 10, &P::store<&CTrimbleFormat::vProcessRawData>,
         &P::writeRawdata},
        {LOG_TRIMBLE_PACKET, kTrimbleRetsvdata, 8, &P::retsvdata, &P::writeRetsvdata},
        {LOG_TRIMBLE_PACKET, kTrimbleRecstat1, 27, &P::store<&CTrimbleFormat::vProcessRecstat1>,
         &P::writeRecstat1},
        {LOG_TRIMBLE_PACKET, kTrimbleRetopt, 55, &P::store<&CTrimbleFormat::vProcessRetopt>, &P::writeRetopt},
        {LOG_TRIMBLE_PACKET, kTrimbleRserial, 51, &P::rserial, &P::writeRserial},
        {LOG_TRIMBLE_PACKET, kTrimbleBreakret, 6, &P::breakret, &P::writeBreakret},
    };
    return kRows;
}

}  // namespace

std::unique_ptr<FamilyParser> makeTrimbleParser() { return std::make_unique<TrimbleParser>(); }

}  // namespace vkcomm
