// $BIN messages and JSHOW replies of CSI and Hemisphere receivers.
#include <cmath>
#include <numbers>

#include "host/family_rows.h"
#include "vkcomm/formats/csi_format.h"
#include "vkcomm/formats/gga_writer.h"

namespace vkcomm {

namespace {

// Numbers of the navigation mode, without its mark bit.
enum NavigationMode : unsigned { kNoFix, k2d, k3d, k2dCorrected, k3dCorrected, kRtkFloat, kRtkFixed };

int ggaQualityOf(unsigned mode) {
    switch (mode) {
    case kNoFix: return 0;
    case k2d:
    case k3d: return 1;
    case kRtkFloat: return 5;
    case kRtkFixed: return 4;
    default: return 2;
    }
}

// The raw signal-to-noise r is known by its level 10 ln(0.8192 r); the receiver's C/N0 is
// 10 log10(0.8192 r) + 30.
std::optional<double> cn0Of(int level) {
    if (level == 0) return std::nullopt;
    return 30.0 + level * std::numbers::log10e;
}

class CsiParser final : public RowParser<CsiParser> {
public:
    static std::span<const MessageRow<CsiParser>> rows();

    std::optional<ReceiverTime> time() const override {
        if (!m_positionSeen) return std::nullopt;
        const CsiNavigation& navigation = m_messages.Navigation();
        return ReceiverTime{navigation.gpsWeek, static_cast<double>(navigation.gpsSeconds), TimeScale::kGps};
    }

    ReceiverSnapshot snapshot() const override {
        ReceiverSnapshot snapshot;
        snapshot.time = time();
        const CsiNavigation& navigation = m_messages.Navigation();
        const CsiSolution& solution = m_messages.Solution();
        if (hasFix()) {
            snapshot.position =
                SnapshotPosition{navigation.latitude, navigation.longitude, navigation.height};
            snapshot.quality = ggaQualityOf(mode());
        }
        if (m_positionSeen) snapshot.satellitesUsed = static_cast<int>(solution.satellites);
        if (m_dopsSeen) {
            snapshot.satellitesTracked = static_cast<int>(solution.satellitesTracked);
            snapshot.dops.hdop = solution.hdop;
            snapshot.dops.vdop = solution.vdop;
        }
        const CsiSatelliteTable& table = m_messages.Satellites();
        for (std::size_t i = 0; i < table.count; ++i)
            snapshot.satellites.push_back(satelliteOf(table.rows[i]));
        return snapshot;
    }

    // These receivers send no undulation: 0.00.
    std::string gga() const override {
        constexpr double kRadiansPerDegree = 0.017453292519943295;
        const CsiNavigation& navigation = m_messages.Navigation();
        GgaFix fix;
        fix.seconds = navigation.gpsSeconds;
        fix.latitude = navigation.latitude * kRadiansPerDegree;
        fix.longitude = navigation.longitude * kRadiansPerDegree;
        fix.quality = ggaQualityOf(mode());
        fix.satellites = static_cast<int>(m_messages.Solution().satellites);
        fix.hdop = m_messages.Solution().hdop;
        fix.height = navigation.height;
        return narrowed(ggaSentence(fix));
    }

private:
    unsigned mode() const {
        constexpr std::uint32_t kManualMark = 0x80;
        return m_messages.Navigation().navigationMode & (kManualMark - 1);
    }

    bool hasFix() const { return m_positionSeen && mode() != kNoFix; }

    static SnapshotSatellite satelliteOf(const CsiSatellite& row) {
        constexpr int kFirstSbas = 120;
        return {row.prn < kFirstSbas ? SatelliteSystem::kGps : SatelliteSystem::kSbas,
                row.prn,
                row.elevation,
                row.azimuth,
                cn0Of(row.signalLevel),
                row.used != 0};
    }

    RecordUse message1(ByteSpan record) {
        m_messages.ProcessSBinaryMsg1(record);
        m_positionSeen = true;
        return hasFix() ? RecordUse::kPosition : RecordUse::kNoFix;
    }

    RecordUse message2(ByteSpan record) {
        m_messages.ProcessSBinaryMsg2(record);
        m_dopsSeen = true;
        return RecordUse::kStored;
    }

    template <void (CCSIFormat::*Process)(ByteSpan)>
    RecordUse store(ByteSpan record) {
        (m_messages.*Process)(record);
        return RecordUse::kStored;
    }

    void writeMessage1(FieldWriter& out, ByteSpan) const {
        const CsiNavigation& navigation = m_messages.Navigation();
        writeGpsTime(out, navigation.gpsWeek, navigation.gpsSeconds);
        writeDegrees(out, navigation.latitude, navigation.longitude);
        out.real("height_ellipsoid_m", navigation.height, 4);
        out.real("velocity_north_m_s", navigation.velocityNorth, 4);
        out.real("velocity_east_m_s", navigation.velocityEast, 4);
        out.real("velocity_up_m_s", navigation.velocityUp, 4);
        out.real("residual_deviation_m", navigation.residualDeviation, 4);
        out.integer("navigation_mode", navigation.navigationMode);
        out.integer("satellites_used", m_messages.Solution().satellites);
    }

    void writeMessage2(FieldWriter& out, ByteSpan) const {
        const CsiSolution& solution = m_messages.Solution();
        out.integer("satellites_tracked", solution.satellitesTracked);
        out.integer("satellites_used", solution.satellites);
        out.integer("tracked_mask", solution.trackedMask);
        out.integer("used_mask", solution.usedMask);
        out.real("hdop", solution.hdop, 1);
        out.real("vdop", solution.vdop, 1);
    }

    void writeTable(FieldWriter& out, ByteSpan) const {
        const CsiSatelliteTable& table = m_messages.Satellites();
        out.integer("satellites_valid", table.valid);
        out.beginList("satellites");
        for (std::size_t i = 0; i < table.count; ++i) {
            const CsiSatellite& row = table.rows[i];
            out.beginItem();
            out.integer("prn", row.prn);
            out.integer("elevation_deg", row.elevation);
            out.integer("azimuth_deg", row.azimuth);
            out.integer("signal_level", row.signalLevel);
            if (const auto cn0 = cn0Of(row.signalLevel)) out.real("cn0_dbhz", *cn0, 1);
            out.boolean("used", row.used != 0);
            out.integer("cycle_slips", row.channelValue);
            out.endItem();
        }
        out.endList();
    }

    // "$>JSHOW,BAUD,9600": the setting and its value. Of other replies the decoder gives the '$' alone.
    void writeReply(FieldWriter& out, ByteSpan record) const {
        constexpr std::string_view kShow = "$>JSHOW,";
        const std::string_view line = lineOf(record);
        if (!line.starts_with(kShow)) return;
        const std::string_view setting = line.substr(kShow.size());
        const std::size_t comma = std::min(setting.find(','), setting.size());
        out.text("setting", setting.substr(0, comma));
        out.text("value", setting.substr(std::min(comma + 1, setting.size())));
    }

    CCSIFormat m_messages;
    bool m_positionSeen = false;
    bool m_dopsSeen = false;
};

std::span<const MessageRow<CsiParser>> CsiParser::rows() {
    using P = CsiParser;
    static constexpr MessageRow<P> kRows[] = {
        {LOG_HEMISPHERE_BINARY, kBin1, 58, &P::message1, &P::writeMessage1},
        {LOG_HEMISPHERE_BINARY, kBin2, 22, &P::message2, &P::writeMessage2},
        {LOG_HEMISPHERE_BINARY, kBin96, 308, &P::store<&CCSIFormat::ProcessSBinaryMsg96>, &P::writeTable},
        {LOG_HEMISPHERE_BINARY, kBin99, 308, &P::store<&CCSIFormat::ProcessSBinaryMsg99>, &P::writeTable},
        {LOG_CSI_REPLY, kCsiReply, 0, &P::store<&CCSIFormat::ProcessCSISHOW>, &P::writeReply},
    };
    return kRows;
}

}  // namespace

std::unique_ptr<FamilyParser> makeCsiParser() { return std::make_unique<CsiParser>(); }

}  // namespace vkcomm
