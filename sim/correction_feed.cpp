#include "sim/correction_feed.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

#include "sim/rtcm3_encoder.h"

namespace vkcomm::sim {

namespace {

using Milliseconds = std::chrono::milliseconds;

class SimulatedFeed final : public CorrectionFeed {
public:
    explicit SimulatedFeed(const Truth& truth) : m_truth(truth) {}

    void append(Milliseconds now, std::size_t room, std::string& out) override {
        const std::int64_t second = now / std::chrono::seconds(1);
        if (room == 0 || second <= m_lastSecond) return;
        Piece piece;
        const bool isFirst = std::exchange(m_lastSecond, second) < 0;
        const Epoch epoch = m_truth.at(second * 1000);
        if (isFirst && !isDue(epoch, kStationEvery)) encodeRtcm3Station(piece);
        encodeRtcm3(epoch, piece);
        out.append(piece.bytes.begin(), piece.bytes.end());
    }

    bool ended() const override { return false; }

private:
    const Truth& m_truth;
    std::int64_t m_lastSecond = -1;
};

class FileFeed final : public CorrectionFeed {
public:
    FileFeed(std::shared_ptr<const std::string> bytes, double bytesPerSecond, bool loop)
        : m_bytes(std::move(bytes)), m_bytesPerSecond(bytesPerSecond), m_loop(loop) {}

    void append(Milliseconds now, std::size_t room, std::string& out) override {
        if (!m_start) m_start = now;
        std::uint64_t size = room;
        if (m_bytesPerSecond > 0.0) {
            const std::chrono::duration<double> since = now - *m_start;
            const auto due = static_cast<std::uint64_t>(m_bytesPerSecond * since.count());
            size = std::min(size, due - std::min(m_sent, due));
        }
        while (size > 0 && !ended()) {
            const auto from = static_cast<std::size_t>(m_sent % m_bytes->size());
            const auto count =
                static_cast<std::size_t>(std::min<std::uint64_t>(size, m_bytes->size() - from));
            out.append(*m_bytes, from, count);
            m_sent += count;
            size -= count;
        }
    }

    bool ended() const override { return m_bytes->empty() || (!m_loop && m_sent >= m_bytes->size()); }

private:
    const std::shared_ptr<const std::string> m_bytes;
    const double m_bytesPerSecond;
    const bool m_loop;
    std::optional<Milliseconds> m_start;
    std::uint64_t m_sent = 0;
};

}  // namespace

std::unique_ptr<CorrectionFeed> makeSimulatedFeed(const Truth& truth) {
    return std::make_unique<SimulatedFeed>(truth);
}

std::unique_ptr<CorrectionFeed> makeFileFeed(std::shared_ptr<const std::string> bytes, double bytesPerSecond,
                                             bool loop) {
    return std::make_unique<FileFeed>(std::move(bytes), bytesPerSecond, loop);
}

}  // namespace vkcomm::sim
