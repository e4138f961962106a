#include "vkcomm/formats/oem4_satellites.h"

#include <algorithm>

namespace vkcomm {

namespace {

constexpr std::size_t kSatvisHeadSize = 12;
constexpr std::size_t kSatvisRecordSize = 40;

SatelliteEntry loadEntry(const unsigned char* record) {
    SatelliteEntry entry;
    entry.byte0 = record[0];
    entry.byte3 = record[3];
    entry.word1 = loadLe<std::uint16_t>(record + 1);
    entry.byte5 = record[5];
    entry.byte9 = record[9];
    entry.byte4 = record[4];
    return entry;
}

}  // namespace

std::size_t satelliteMessageSize(std::size_t count) {
    return SatelliteMessage::kHeadSize + std::min(count, kOem4Slots) * SatelliteMessage::kRecordSize;
}

bool loadSatelliteMessage(ByteSpan body, SatelliteMessage& message) {
    if (body.empty()) return false;
    const std::size_t size = satelliteMessageSize(body[0]);
    if (body.size() < size) return false;
    message = {};
    std::copy_n(body.begin(), size, message.raw.begin());
    message.count = std::min<std::size_t>(body[0], kOem4Slots);
    for (std::size_t i = 0; i < message.count; ++i)
        message.table[i] = loadEntry(message.raw.data() + satelliteMessageSize(i));
    return true;
}

std::optional<SatvisView> SatvisView::of(ByteSpan body) {
    if (body.size() < kSatvisHeadSize) return std::nullopt;
    const SatvisView view(body);
    if ((body.size() - kSatvisHeadSize) / kSatvisRecordSize < view.count()) return std::nullopt;
    return view;
}

bool SatvisView::isValid() const { return loadLe<std::uint32_t>(m_body.data()) != 0; }

bool SatvisView::hasCompleteAlmanac() const { return loadLe<std::uint32_t>(m_body.data() + 4) != 0; }

std::size_t SatvisView::count() const { return loadLe<std::uint32_t>(m_body.data() + 8); }

VisibleSatellite SatvisView::operator[](std::size_t index) const {
    const unsigned char* const at = m_body.data() + kSatvisHeadSize + index * kSatvisRecordSize;
    return {loadLe<std::int16_t>(at), loadLe<std::int16_t>(at + 2), loadLe<std::uint32_t>(at + 4),
            loadLe<double>(at + 8),   loadLe<double>(at + 16),      loadLe<double>(at + 24),
            loadLe<double>(at + 32)};
}

}  // namespace vkcomm
