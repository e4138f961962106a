#include "host/correction_relay.h"

#include <algorithm>
#include <array>
#include <utility>

#include "host/byte_text.h"
#include "vkcomm/control/trimble_port.h"

namespace vkcomm {

namespace {

constexpr std::array<std::string_view, 3> kRoadNames = {"plain", "vd", "cors"};

struct RoadRow {
    GPSOEMTYPE type;
    CorrectionRoad road;
};

// All other types stand behind one of the maker's receivers.
constexpr RoadRow kRoads[] = {
    {OEM_TRIMBLE, CorrectionRoad::kPlain},    {OEM_NOVATEL, CorrectionRoad::kPlain},
    {OEM_CMC, CorrectionRoad::kPlain},        {OEM_TRIMBLE_7, CorrectionRoad::kPlain},
    {OEM_TRIMBLE_8, CorrectionRoad::kPlain},  {OEM_TRIMBLE_14, CorrectionRoad::kPlain},
    {OEM_NOVATEL_18, CorrectionRoad::kPlain}, {OEM_NOVATEL_19, CorrectionRoad::kPlain},
    {OEM_TYPE_13, CorrectionRoad::kCors},
};

// On the plain road one block may wait behind the one that is being written, so that the line never idles.
constexpr int kPlainDepth = 2;

class PortSink final : public CorrectionSink {
public:
    PortSink(CTrimblePort& port, std::optional<GPSOEMTYPE> type)
        : m_port(port), m_type(type.value_or(OEM_NONE)), m_road(roadOf(type)) {}

    bool isFree() override {
        const int most = m_road == CorrectionRoad::kPlain ? kPlainDepth : 1;
        return m_port.bWriterRunning() && m_port.bIsValid() && m_port.nQueueDepth() < most;
    }

    bool send(ByteSpan block) override {
        const bool isTaken = give(block);
        if (isTaken) m_inQueue.push_back(block.size());
        return isTaken;
    }

    // What the port discards is the end of its queue. The queue first: bytes are counted before they leave it.
    LostBlocks takeLost() override {
        const auto depth = static_cast<std::size_t>(m_port.nQueueDepth());
        const std::uint64_t before = std::exchange(m_discarded, m_port.Counters().discarded);
        LostBlocks lost;
        for (std::uint64_t left = m_discarded - before; left > 0 && !m_inQueue.empty();
             m_inQueue.pop_back()) {
            ++lost.blocks;
            lost.bytes += m_inQueue.back();
            left -= std::min<std::uint64_t>(left, m_inQueue.back());
        }
        while (m_inQueue.size() > depth)
            m_inQueue.pop_front();
        return lost;
    }

private:
    bool give(ByteSpan block) {
        const int length = static_cast<int>(block.size());
        switch (m_road) {
        case CorrectionRoad::kPlain:
            return m_port.WriteToPort(block.data(), static_cast<unsigned long>(block.size()), 0, 0, 1) != 0;
        case CorrectionRoad::kVd: m_port.vSendVDCmd(block.data(), length, m_type); return true;
        case CorrectionRoad::kCors: m_port.vSendCorsData(block.data(), length, m_type); return true;
        }
        return false;
    }

    CTrimblePort& m_port;
    const GPSOEMTYPE m_type;
    const CorrectionRoad m_road;
    std::deque<std::size_t> m_inQueue;  // sizes of the blocks that may not be written yet, oldest first
    std::uint64_t m_discarded = m_port.Counters().discarded;
};

}  // namespace

std::string_view roadName(CorrectionRoad road) { return kRoadNames[static_cast<std::size_t>(road)]; }

CorrectionRoad roadOf(std::optional<GPSOEMTYPE> type) {
    if (!type) return CorrectionRoad::kPlain;
    const auto* row = std::ranges::find(kRoads, *type, &RoadRow::type);
    return row == std::end(kRoads) ? CorrectionRoad::kVd : row->road;
}

std::unique_ptr<CorrectionSink> makePortSink(CTrimblePort& port, std::optional<GPSOEMTYPE> type) {
    return std::make_unique<PortSink>(port, type);
}

CorrectionRelay::CorrectionRelay(CorrectionSink& sink, Milliseconds mostAge)
    : m_sink(sink), m_mostAge(mostAge) {}

void CorrectionRelay::take(const CorrectionBlock& correction, Milliseconds now) {
    for (std::string_view rest = correction.bytes; !rest.empty();) {
        const std::string_view piece = rest.substr(0, kLongestBlock);
        append(piece, now);
        rest.remove_prefix(piece.size());
    }
    m_isDrained = false;
    while (m_isBehind && m_waitingBytes > kMostWaiting)
        dropOldest();
}

// To the newest block that waits, while it fits there.
void CorrectionRelay::append(std::string_view bytes, Milliseconds now) {
    if (m_blocks.empty() || m_blocks.back().bytes.size() + bytes.size() > kLongestBlock)
        m_blocks.push_back({{}, now});
    m_blocks.back().bytes += bytes;
    m_waitingBytes += bytes.size();
}

bool CorrectionRelay::turn(Milliseconds now) {
    countLost();
    while (!m_blocks.empty() && now - m_blocks.front().since > m_mostAge)
        dropOldest();
    const std::uint64_t before = m_counters.sentBlocks;
    while (!m_blocks.empty() && m_sink.isFree() && m_sink.send(spanOf(m_blocks.front().bytes)))
        removeOldest(m_counters.sentBlocks, m_counters.sentBytes);
    judgeRoad(now);
    return m_counters.sentBlocks != before;
}

// Half empty, so that a road that is behind does not count as up again between two messages.
void CorrectionRelay::judgeRoad(Milliseconds now) {
    if (!m_fullSince && m_waitingBytes >= kMostWaiting) m_fullSince = now;
    if (m_isDrained && m_waitingBytes < kMostWaiting / 2) m_fullSince.reset();
    m_isBehind = m_fullSince && now - *m_fullSince >= m_mostAge;
}

void CorrectionRelay::countLost() {
    const LostBlocks lost = m_sink.takeLost();
    m_counters.lostBlocks += lost.blocks;
    m_counters.lostBytes += lost.bytes;
    m_counters.sentBlocks -= lost.blocks;
    m_counters.sentBytes -= lost.bytes;
}

void CorrectionRelay::dropAll() {
    countLost();
    while (!m_blocks.empty())
        dropOldest();
}

void CorrectionRelay::removeOldest(std::uint64_t& blocks, std::uint64_t& bytes) {
    const std::size_t size = m_blocks.front().bytes.size();
    ++blocks;
    bytes += size;
    m_waitingBytes -= size;
    m_blocks.pop_front();
}

}  // namespace vkcomm
