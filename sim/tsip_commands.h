// The packets that a simulated receiver of Trimble's TSIP takes, each a question: 1Fh versions, 21h time, 24h satellite
// selection, 26h health, 27h signal levels, 35h I/O options, which it also sets. What is wrong is not answered.
#pragma once

#include <string>
#include <vector>

#include "sim/commanded_receiver.h"

namespace vkcomm::sim {

class TsipCommands final : public CommandedReceiver {
protected:
    Front frontOf(ByteSpan bytes) const override;
    void obey(ByteSpan command, Reaction& reaction) override;

private:
    // The problem, or nothing.
    std::string obeyPacket(unsigned char id, ByteSpan data, Reaction& reaction);

    std::vector<unsigned char> m_options{0x02, 0x02, 0x00, 0x00};
};

}  // namespace vkcomm::sim
