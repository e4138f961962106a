#include "sim/live_stream.h"

#include <algorithm>
#include <cmath>

namespace vkcomm::sim {

namespace {

struct Limit {
    double value;
    double least;
    double most;
    const char* problem;
};

void encodeNothing(const Epoch&, Piece&) {}

Match matchNothing(ByteSpan) { return Match::kNone; }

// It says nothing until it is asked.
const Framing kNoFraming{matchNothing, 0, {}};
const Family kTsip = {"tsip", "Trimble TSIP: answers to questions", nullptr, encodeNothing, &kNoFraming};

const Family& liveFamily(std::string_view name) { return name == kTsip.name ? kTsip : *findFamily(name); }

std::int64_t rounded(double value) { return std::llround(value); }

}  // namespace

std::vector<std::string_view> liveFamilies() {
    std::vector<std::string_view> names;
    for (const Family& family : families())
        names.push_back(family.name);
    names.push_back(kTsip.name);
    return names;
}

std::string problemWith(const LiveOptions& options) {
    std::string problem = problemWith(RecordingOptions{.family = options.family});
    if (!problem.empty() && options.family != kTsip.name) return problem.append(", ").append(kTsip.name);
    const Limit limits[] = {
        {options.rateHz, 1.0, 20.0, "the rate must be from 1 to 20 Hz"},
        {options.dropPercent, 0.0, 100.0, "dropped frames must be from 0 to 100 percent"},
        {options.corruptPercent, 0.0, 100.0, "corrupt frames must be from 0 to 100 percent"},
        {static_cast<double>(options.splits), 1, 100, "an epoch can be split into 1 to 100 writes"},
        {static_cast<double>(options.delayMilliseconds), 0, 60'000, "the delay must be from 0 to 60000 ms"},
    };
    for (const Limit& limit : limits)
        if (!(limit.value >= limit.least && limit.value <= limit.most)) return limit.problem;
    return {};
}

LiveStream::LiveStream(const LiveOptions& options)
    : m_options(options), m_family(liveFamily(options.family)), m_truth({.seed = options.seed}),
      m_damager(*m_family.framing, options.corruptPercent, ~options.seed), m_random(options.seed ^ 0x11FEu) {}

LivePiece LiveStream::next() {
    while (m_planned.empty())
        planBlock();
    Planned planned = std::move(m_planned.front());
    m_planned.pop_front();
    m_counts.whole += planned.counts.whole;
    m_counts.damaged += planned.counts.damaged;
    m_counts.dropped += planned.counts.dropped;
    return std::move(planned.piece);
}

std::int64_t LiveStream::earliestDue() const {
    if (!m_planned.empty()) return m_planned.front().piece.dueMilliseconds;
    return std::max(m_lastDue, rounded(static_cast<double>(m_epochsPlanned) * epochMilliseconds()));
}

Epoch LiveStream::nextEpoch() {
    const std::int64_t time = rounded(static_cast<double>(m_epochsMade) * 1000.0 / m_options.rateHz);
    return m_options.isRover ? m_truth.at(time, m_fix) : m_truth.at(time);
}

// Several epochs at once: damage leaves the last frame of what it is given whole, and a family may have one
// frame an epoch. Each epoch then gets its frames with the garbage in front of them.
void LiveStream::planBlock() {
    std::vector<std::size_t> framesAnEpoch;
    std::vector<LiveCounts> counts;
    Piece block = makeBlock(framesAnEpoch, counts);
    if (!block.frames.empty()) m_damager.damage(block, false);
    std::size_t frame = 0, begin = 0;
    for (std::size_t epoch = 0; epoch < framesAnEpoch.size(); ++epoch) {
        std::size_t end = begin;
        for (std::size_t left = framesAnEpoch[epoch]; left > 0; --left, ++frame) {
            const Frame& each = block.frames[frame];
            ++(each.whole ? counts[epoch].whole : counts[epoch].damaged);
            end = each.offset + each.size;
        }
        planEpoch(ByteSpan(block.bytes).subspan(begin, end - begin), counts[epoch]);
        begin = end;
    }
}

Piece LiveStream::makeBlock(std::vector<std::size_t>& framesAnEpoch, std::vector<LiveCounts>& dropped) {
    constexpr std::size_t kFramesABlock = 16;
    const std::size_t epochsABlock = m_options.isRover ? 1 : 16;
    Piece block, clean;
    while (block.frames.size() < kFramesABlock && framesAnEpoch.size() < epochsABlock) {
        const Epoch epoch = nextEpoch();
        clean.truncate(0, 0);
        if (m_epochsMade++ == 0 && m_family.encodeStart) m_family.encodeStart(epoch, clean);
        m_family.encodeEpoch(epoch, clean);
        const std::size_t before = block.frames.size();
        for (std::size_t i = 0; i < clean.frames.size(); ++i)
            if (!m_random.chance(m_options.dropPercent / 100.0)) block.addFrame(clean.frameBytes(i));
        framesAnEpoch.push_back(block.frames.size() - before);
        dropped.push_back({.dropped = clean.frames.size() - framesAnEpoch.back()});
    }
    return block;
}

// An epoch is late as a whole; its pieces take half of the time until the next.
void LiveStream::planEpoch(ByteSpan bytes, const LiveCounts& counts) {
    const double interval = epochMilliseconds();
    const auto late = m_random.below(static_cast<std::uint32_t>(m_options.delayMilliseconds) + 1);
    const std::int64_t due = rounded(static_cast<double>(m_epochsPlanned++) * interval) + late;
    std::vector<std::size_t> cuts{0, bytes.size()};
    for (int cut = 1; cut < m_options.splits; ++cut)
        cuts.push_back(m_random.below(static_cast<std::uint32_t>(bytes.size()) + 1));
    std::ranges::sort(cuts);
    for (std::size_t i = 0; i + 1 < cuts.size(); ++i) {
        const double share = static_cast<double>(i) / (2.0 * m_options.splits);
        m_lastDue = std::max(m_lastDue, due + rounded(interval * share));
        const ByteSpan part = bytes.subspan(cuts[i], cuts[i + 1] - cuts[i]);
        const bool isLast = i + 2 == cuts.size();
        m_planned.push_back(
            {{m_lastDue, {part.begin(), part.end()}, isLast}, isLast ? counts : LiveCounts{}});
    }
}

}  // namespace vkcomm::sim
