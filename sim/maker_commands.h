// The commands of one of the maker's simulated receivers, each answered by a frame of the same kind:
//
//   $$ frames   RG, RK, RL, RM, ST and IM with a number, RQ with two; VL, VF and VS with a text; SI. RZ carries
//               commands for the board inside: NovAtel lines, Trimble packets or CMC messages. VD carries corrections
//               and is not answered; bare ones are not heard. The frame without letters does nothing.
//   '@' blocks  152, the masks: set when there are data, told when there are none.
//   texts       "%", a letter and a text, one a line; VVA with seven characters, VVB with up to seven. Not answered.
//
// The answers to letters are one byte, 1 taken or 0 refused; that to SI is its text.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "sim/commanded_receiver.h"

namespace vkcomm::sim {

class MakerCommands final : public CommandedReceiver {
public:
    // Of bytes that begin with a dollar.
    static Front frontOfFrame(ByteSpan bytes);

    std::string state() const override;

protected:
    Front frontOf(ByteSpan bytes) const override;
    void obey(ByteSpan command, Reaction& reaction) override;

    bool hearsBareCorrections() const override { return false; }

private:
    enum Board { kTrimble, kCmc, kNovatel, kBoards };

    using Masks = std::array<unsigned char, 2>;

    void obeyFrame(ByteSpan frame, Reaction& reaction);
    void obeyLetters(std::string_view letters, ByteSpan payload, Reaction& reaction);
    void obeySetting(std::string_view letters, ByteSpan payload, Reaction& reaction);
    void obeyBlock(ByteSpan block, Reaction& reaction);
    void obeyText(ByteSpan text);

    // Gives the problem, or nothing.
    std::string setListed(std::string_view line);

    void tellIdentity(Reaction& reaction);
    void speakToBoard(ByteSpan payload, Reaction& reaction);
    CommandedReceiver& boardFor(ByteSpan payload);

    std::array<std::unique_ptr<CommandedReceiver>, kBoards> m_boards;
    std::map<std::uint16_t, Masks> m_masks;
};

}  // namespace vkcomm::sim
