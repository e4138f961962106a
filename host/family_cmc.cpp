// Binary messages of CMC Allstar and SUPERSTAR receivers.
#include <vector>

#include "host/family_rows.h"
#include "vkcomm/formats/cmc_format.h"

namespace vkcomm {

namespace {

constexpr unsigned char kNotCorrectedByUtc = 0x20;  // in the byte of the hour

// One of the twelve satellites of message 33: number and status, elevation, azimuth (nine bits) and SBAS
// number, signal.
struct Visible {
    int number;  // of a GPS satellite, five bits; 0: SBAS or PRN 32
    int sbas;    // 0: none
    bool used;
    int elevation;
    int azimuth;
    int cn0;
};

constexpr std::size_t kMostVisible = 12;
constexpr std::size_t kVisibleSize = 5;
constexpr std::size_t kVisibleAt = 5;

Visible loadVisible(ByteSpan frame, std::size_t index) {
    constexpr unsigned kUsed = 0x60;  // both status bits
    const unsigned char* at = frame.data() + kVisibleAt + index * kVisibleSize;
    return {at[0] & 0x1F,
            at[3] >> 1,
            (at[0] & kUsed) == kUsed,
            static_cast<std::int8_t>(at[1]),
            at[2] | (at[3] & 1) << 8,
            at[4]};
}

class CmcParser final : public RowParser<CmcParser> {
public:
    static std::span<const MessageRow<CmcParser>> rows();

    std::optional<ReceiverTime> time() const override {
        if (!m_positionSeen) return std::nullopt;
        const CmcNavigation& navigation = m_messages.Navigation();
        return ReceiverTime{static_cast<int>(navigation.gpsWeek), navigation.gpsSeconds, m_scale};
    }

    ReceiverSnapshot snapshot() const override {
        ReceiverSnapshot snapshot;
        snapshot.time = time();
        const CmcNavigation& navigation = m_messages.Navigation();
        if (hasFix()) {
            snapshot.position = snapshotPosition(navigation.position);
            snapshot.quality = ggaQuality(gga());
        }
        if (m_positionSeen) {
            snapshot.satellitesUsed = navigation.satellites;
            snapshot.dops.hdop = navigation.hdop;
            snapshot.dops.vdop = navigation.vdop;
        }
        for (const Visible& visible : m_visible)
            snapshot.satellites.push_back(satelliteOf(visible));
        return snapshot;
    }

    std::string gga() const override { return narrowed(m_messages.strGetGPGGA()); }

private:
    bool hasFix() const {
        constexpr unsigned kFirstWithPosition = 2;
        constexpr unsigned kLastWithPosition = 6;
        const unsigned mode = m_messages.Navigation().mode;
        return m_positionSeen && mode >= kFirstWithPosition && mode <= kLastWithPosition;
    }

    static SnapshotSatellite satelliteOf(const Visible& visible) {
        constexpr int kSbasOffset = 87;
        constexpr int kBeyondFiveBits = 32;
        SnapshotSatellite satellite{
            SatelliteSystem::kGps, visible.number, visible.elevation, visible.azimuth, {}, visible.used};
        if (visible.number == 0 && visible.sbas == 0) {
            satellite.number = kBeyondFiveBits;
        } else if (visible.number == 0) {
            satellite.system = SatelliteSystem::kSbas;
            satellite.number = visible.sbas + kSbasOffset;
        }
        if (visible.cn0 > 0) satellite.cn0 = visible.cn0;
        return satellite;
    }

    RecordUse navigation(ByteSpan frame) {
        m_messages.vProcress20Dat(frame);
        m_scale = (frame[4] & kNotCorrectedByUtc) != 0 ? TimeScale::kGps : TimeScale::kUtc;
        m_positionSeen = true;
        return hasFix() ? RecordUse::kPosition : RecordUse::kNoFix;
    }

    template <void (CCMCFormat::*Process)(ByteSpan)>
    RecordUse store(ByteSpan frame) {
        (m_messages.*Process)(frame);
        return RecordUse::kStored;
    }

    RecordUse visibility(ByteSpan frame) {
        m_messages.vProcess33Dat(frame);
        m_visible.clear();
        const std::size_t room = (frame.size() - 2 - kVisibleAt) / kVisibleSize;
        const std::size_t count =
            std::min({std::size_t{m_messages.Status().visibleSatellites}, room, kMostVisible});
        for (std::size_t i = 0; i < count; ++i)
            m_visible.push_back(loadVisible(frame, i));
        return RecordUse::kStored;
    }

    void writeNavigation(FieldWriter& out, ByteSpan) const {
        const CmcNavigation& navigation = m_messages.Navigation();
        out.text("time_scale", m_scale == TimeScale::kGps ? "gps" : "utc");
        out.integer("week", navigation.gpsWeek);
        out.real("seconds_of_week", navigation.gpsSeconds, 3);
        writePlace(out, navigation.position);
        out.real("horizontal_merit_m", navigation.horizontalMerit, 3);
        out.real("vertical_merit_m", navigation.verticalMerit, 3);
        out.real("hdop", navigation.hdop, 1);
        out.real("vdop", navigation.vdop, 1);
        out.integer("mode", navigation.mode);
        out.boolean("confident", navigation.confident != 0);
        out.integer("satellites_used", navigation.satellites);
    }

    void writeMessage30(FieldWriter& out, ByteSpan) const {
        out.integer("value", m_messages.Status().message30);
    }

    void writeVisibility(FieldWriter& out, ByteSpan) const {
        out.integer("satellites_visible", m_messages.Status().visibleSatellites);
        out.beginList("satellites");
        for (const Visible& visible : m_visible) {
            const SnapshotSatellite satellite = satelliteOf(visible);
            out.beginItem();
            out.integer("prn", satellite.number);
            out.integer("elevation_deg", visible.elevation);
            out.integer("azimuth_deg", visible.azimuth);
            out.integer("cn0_dbhz", visible.cn0);
            out.boolean("used", visible.used);
            out.endItem();
        }
        out.endList();
    }

    void writeIdentification(FieldWriter& out, ByteSpan) const {
        out.integer("number", m_messages.Identification().number);
        out.text("serial", m_messages.Identification().text);
    }

    void writeStatus(FieldWriter& out, ByteSpan) const {
        out.real("mask_angle_deg", m_messages.Status().maskAngle * kDegreesPerRadian, 2);
    }

    void writeIonosphere(FieldWriter& out, ByteSpan) const {
        out.integer("valid", m_messages.Status().message75);
    }

    CCMCFormat m_messages;
    std::vector<Visible> m_visible;
    TimeScale m_scale = TimeScale::kGps;
    bool m_positionSeen = false;
};

// The shortest sizes are what the parser reads; message 33 has at least room for its satellites' head.
std::span<const MessageRow<CmcParser>> CmcParser::rows() {
    using P = CmcParser;
    static constexpr MessageRow<P> kRows[] = {
        {LOG_CMC_BINARY, kCmcNavigation, 74, &P::navigation, &P::writeNavigation},
        {LOG_CMC_BINARY, kCmcMessage30, 7, &P::store<&CCMCFormat::vProcess30Dat>, &P::writeMessage30},
        {LOG_CMC_BINARY, kCmcVisibility, 7, &P::visibility, &P::writeVisibility},
        {LOG_CMC_BINARY, kCmcIdentification, 88, &P::store<&CCMCFormat::vProcess45Dat>,
         &P::writeIdentification},
        {LOG_CMC_BINARY, kCmcReceiverStatus, 27, &P::store<&CCMCFormat::vProcess49Dat>, &P::writeStatus},
        {LOG_CMC_BINARY, kCmcIonoUtc, 15, &P::store<&CCMCFormat::vProcess75Dat>, &P::writeIonosphere},
    };
    return kRows;
}

}  // namespace

std::unique_ptr<FamilyParser> makeCmcParser() { return std::make_unique<CmcParser>(); }

}  // namespace vkcomm
