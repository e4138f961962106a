// What OEM4 receivers tell about the satellites in view: the satellite message and the SATVIS log.
//
// All numbers are little-endian (SATVIS: OEM4 Family User Manual, volume 2, log 48; of the satellite message
// there is no public document). Plain data, no state: any thread may call.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "vkcomm/export.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

inline constexpr std::size_t kOem4Slots = 24;

// One entry of the satellite message. What the values mean is not known; numbers are offsets in the record.
struct SatelliteEntry {
    std::uint8_t byte0 = 0;
    std::uint8_t byte3 = 0;
    std::uint16_t word1 = 0;
    float byte5 = 0.0f;  // 0 to 255
    float byte9 = 0.0f;  // 0 to 255
    std::uint8_t byte4 = 0;
};

// The satellite message: a head of six bytes, its first being the count, and a record of twelve for each
// satellite.
struct SatelliteMessage {
    static constexpr std::size_t kHeadSize = 6;
    static constexpr std::size_t kRecordSize = 12;

    // As sent, the first 24 records at most.
    std::array<unsigned char, kHeadSize + kOem4Slots * kRecordSize> raw{};
    std::size_t count = 0;  // entries of the table that are filled
    std::array<SatelliteEntry, kOem4Slots> table{};
};

// The satellite message at body replaces message; satellites beyond the 24th are dropped. False, and nothing
// changes, when the body is shorter than its count asks for (24 records at most).
VKCOMM_API bool loadSatelliteMessage(ByteSpan body, SatelliteMessage& message);
// Bytes that loadSatelliteMessage reads of a body whose first byte is count.
VKCOMM_API std::size_t satelliteMessageSize(std::size_t count);

// One satellite of a SATVIS log.
struct VisibleSatellite {
    std::int16_t prn = 0;
    std::int16_t glonassFrequency = 0;
    std::uint32_t health = 0;
    double elevation = 0.0;        // degrees
    double azimuth = 0.0;          // degrees from north
    double trueDoppler = 0.0;      // Hz
    double apparentDoppler = 0.0;  // Hz, the receiver's clock drift included
};

// Reads a SATVIS log (48) where it stands; the bytes must outlive the view.
class VKCOMM_API SatvisView {
public:
    // Nothing when the body is shorter than its count asks for.
    static std::optional<SatvisView> of(ByteSpan body);

    bool isValid() const;
    bool hasCompleteAlmanac() const;
    std::size_t count() const;
    // index below count().
    VisibleSatellite operator[](std::size_t index) const;

private:
    explicit SatvisView(ByteSpan body) : m_body(body) {}

    ByteSpan m_body;
};

}  // namespace vkcomm
