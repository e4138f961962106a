#include "sim/damage.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>
#include <vector>

namespace vkcomm::sim {

namespace {

using Bytes = std::vector<unsigned char>;

std::uint32_t positionIn(std::size_t size, Random& random) {
    return random.below(static_cast<std::uint32_t>(size));
}

Bytes randomBytes(std::size_t size, Random& random) {
    Bytes bytes(size);
    for (unsigned char& byte : bytes) {
        byte = static_cast<unsigned char>(random.below(255));
        if (byte == '\n') byte = 255;
    }
    return bytes;
}

// The ways to break a frame. Each changes something within the first reach bytes (at least one).
using Break = void (*)(Bytes& frame, std::size_t reach, Random& random);

void flipBits(Bytes& frame, std::size_t reach, Random& random) {
    for (std::uint32_t count = 1 + random.below(3); count > 0; --count) {
        const std::uint32_t at = positionIn(reach, random);
        frame[at] = static_cast<unsigned char>(frame[at] ^ 1u << random.below(8));
    }
}

void dropBytes(Bytes& frame, std::size_t reach, Random& random) {
    const std::uint32_t at = positionIn(reach, random);
    const std::size_t count = std::min<std::size_t>(1 + random.below(8), reach - at);
    const auto first = frame.begin() + static_cast<std::ptrdiff_t>(at);
    frame.erase(first, first + static_cast<std::ptrdiff_t>(count));
}

void insertBytes(Bytes& frame, std::size_t reach, Random& random) {
    const Bytes garbage = randomBytes(1 + random.below(8), random);
    const auto at = frame.begin() + static_cast<std::ptrdiff_t>(positionIn(reach, random));
    frame.insert(at, garbage.begin(), garbage.end());
}

void cutShort(Bytes& frame, std::size_t reach, Random& random) { frame.resize(positionIn(reach, random)); }

constexpr std::array<Break, 4> kBreaks{flipBits, dropBytes, insertBytes, cutShort};

}  // namespace

Damager::Damager(const Framing& framing, double percent, std::uint64_t seed)
    : m_framing(framing), m_share(percent / 100.0), m_random(seed) {}

void Damager::damage(Piece& piece, bool endOfRecording) {
    if (m_share <= 0.0) return;
    Piece damaged;
    do
        damaged = attempt(piece, endOfRecording);
    while (holdsFalseFrame(damaged, endOfRecording));
    piece = std::move(damaged);
}

Piece Damager::attempt(const Piece& piece, bool endOfRecording) {
    Piece out;
    std::size_t first = 0;  // of the broken frames in front of the next whole one
    for (std::size_t i = 0; i < piece.frames.size(); ++i) {
        const bool last = i + 1 == piece.frames.size();
        if (m_random.chance(m_share) && !last) continue;
        addGap(piece, first, i, endOfRecording && last, out);
        first = i + 1;
    }
    return out;
}

// Appends the remains of frames first to next - 1, and frame next whole. Chance may let a remain pass its
// check, alone or together with what follows; then other damage is done.
void Damager::addGap(const Piece& piece, std::size_t first, std::size_t next, bool endOfRecording,
                     Piece& out) {
    const std::size_t bytes = out.bytes.size();
    const std::size_t frames = out.frames.size();
    do {
        out.truncate(bytes, frames);
        for (std::size_t i = first; i < next; ++i) {
            mayAddGarbage(out);
            addBroken(piece.frameBytes(i), out);
        }
        mayAddGarbage(out);
        if (endOfRecording) addFalseHead(out);
        out.addFrame(piece.frameBytes(next));
    } while (holdsFrame(out.bytes, bytes, out.frames.back().offset));
}

void Damager::addBroken(ByteSpan frame, Piece& out) {
    const std::size_t checked = frame.size() - std::min(frame.size(), m_framing.uncheckedTail);
    Bytes remains;
    do {
        remains.assign(frame.begin(), frame.end());
        const Break breakFrame = kBreaks[m_random.below(kBreaks.size())];
        breakFrame(remains, std::max<std::size_t>(checked, 1), m_random);
    } while (holdsFrame(remains, 0, remains.size()));
    out.addFrame(remains, false);
}

void Damager::addFalseHead(Piece& out) {
    const std::string_view head =
        m_framing.falseHeads[m_random.below(static_cast<std::uint32_t>(m_framing.falseHeads.size()))];
    for (const char byte : head)
        out.bytes.push_back(static_cast<unsigned char>(byte));
}

void Damager::mayAddGarbage(Piece& out) {
    if (!m_random.chance(m_share)) return;
    if (m_random.chance(0.5)) return addFalseHead(out);
    out.addBytes(randomBytes(1 + m_random.below(300), m_random));
}

// True when a frame that passes its check begins in the bytes from..to-1.
bool Damager::holdsFrame(ByteSpan bytes, std::size_t from, std::size_t to) const {
    for (std::size_t at = from; at < to; ++at)
        if (m_framing.match(bytes.subspan(at)) == Match::kFrame) return true;
    return false;
}

// True when a frame that passes its check begins outside the whole ones, or may begin there and end in the
// next piece.
bool Damager::holdsFalseFrame(const Piece& piece, bool endOfRecording) const {
    const auto isFalse = [&](std::size_t at) {
        const Match match = m_framing.match(ByteSpan(piece.bytes).subspan(at));
        return match == Match::kFrame || (match == Match::kUnfinished && !endOfRecording);
    };
    std::size_t at = 0;
    for (const Frame& frame : piece.frames) {
        if (!frame.whole) continue;
        for (; at < frame.offset; ++at)
            if (isFalse(at)) return true;
        at = frame.offset + frame.size;
    }
    return false;
}

}  // namespace vkcomm::sim
