#include "sim/commanded_receiver.h"

#include <algorithm>

#include "sim/command_text.h"
#include "sim/correction_frame.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm::sim {

Front CommandedReceiver::correctionsOrFrontOf(ByteSpan bytes) const {
    const CorrectionLook look = lookForCorrections(bytes);
    const bool isUnfinished = look.match == CorrectionMatch::kUnfinished;
    if (look.match != CorrectionMatch::kNone && !isUnfinished) return otherFront(look.size);
    Front front = frontOf(bytes);
    if (front.kind == FrontKind::kOther && isUnfinished) front = {};
    return front;
}

void CommandedReceiver::leave(ByteSpan bytes, Reaction& reaction) const {
    if (hearsBareCorrections()) reaction.leave(bytes);
}

// What has no end within the bound is given up to where a correction may begin.
void CommandedReceiver::giveUp(ByteSpan& left, Reaction& reaction) {
    constexpr std::size_t kShown = 16;
    const auto beginsCorrection = [](const unsigned char& byte) {
        return lookForCorrections({&byte, 1}).match != CorrectionMatch::kNone;
    };
    note(shownText(left.first(kShown)) + "...", "too long");
    const auto next = std::find_if(left.begin() + 1, left.begin() + kMostHeld, beginsCorrection);
    const auto size = static_cast<std::size_t>(next - left.begin());
    leave(left.first(size), reaction);
    left = left.subspan(size);
}

Reaction CommandedReceiver::receive(ByteSpan bytes) {
    Reaction reaction;
    m_held.insert(m_held.end(), bytes.begin(), bytes.end());
    ByteSpan left = m_held;
    while (!left.empty()) {
        const Front front = correctionsOrFrontOf(left.first(std::min(left.size(), kMostHeld)));
        if (front.kind == FrontKind::kUnfinished && left.size() < kMostHeld) break;
        if (front.kind == FrontKind::kUnfinished) {
            giveUp(left, reaction);
            continue;
        }
        const ByteSpan taken = left.first(front.size);
        if (front.kind == FrontKind::kCommand) obey(taken, reaction);
        if (front.kind == FrontKind::kOther) leave(taken, reaction);
        left = left.subspan(front.size);
    }
    m_held.erase(m_held.begin(), m_held.end() - static_cast<std::ptrdiff_t>(left.size()));
    return reaction;
}

Reaction CommandedReceiver::passOn(CommandedReceiver& other, ByteSpan bytes) {
    const std::uint64_t before = other.obeyed() + other.refused();
    Reaction reaction = other.receive(bytes);
    const auto added = static_cast<std::size_t>(other.obeyed() + other.refused() - before);
    const auto& notes = other.notes();
    for (std::size_t i = notes.size() - std::min(added, notes.size()); i < notes.size(); ++i)
        note(notes[i].command, notes[i].problem);
    return reaction;
}

std::uint32_t CommandedReceiver::portRate() const {
    return static_cast<std::uint32_t>(std::max(0L, parseInteger(m_settings.get(rateSetting()))));
}

void CommandedReceiver::note(std::string command, std::string problem) {
    ++(problem.empty() ? m_obeyed : m_refused);
    m_notes.push_back({std::move(command), std::move(problem)});
    if (m_notes.size() > kMostNotes) m_notes.pop_front();
}

}  // namespace vkcomm::sim
