// The messages that a simulated CMC Allstar receiver takes: 80 (the base's position), 83 (its output) and 91 set
// something and are acknowledged by message 126; 20, 30, 33, 45, 49 and 75 without data ask for the message of that
// number, once or, with bit 7 set, again and again. What is wrong is not answered.
#pragma once

#include <string>

#include "sim/commanded_receiver.h"

namespace vkcomm::sim {

class CmcCommands final : public CommandedReceiver {
protected:
    Front frontOf(ByteSpan bytes) const override;
    void obey(ByteSpan command, Reaction& reaction) override;

private:
    // Each gives the problem, or nothing.
    std::string obeyMessage(unsigned char number, bool isRepeated, ByteSpan data, Reaction& reaction);
    std::string setPosition(ByteSpan data);
    std::string setBytes(unsigned char number, ByteSpan data, std::size_t size);
    std::string tell(unsigned char number, bool isRepeated, ByteSpan data, Reaction& reaction);
};

}  // namespace vkcomm::sim
