// The sentences that a simulated Thales (Ashtech) receiver takes: $PASHS sets and is answered by $PASHR,ACK or
// $PASHR,NAK; $PASHQ asks for RID, POS or SAT. A checksum may be left out. Other sentences are refused in silence.
#pragma once

#include <string>
#include <string_view>

#include "sim/arguments.h"
#include "sim/commanded_receiver.h"

namespace vkcomm::sim {

class ThalesCommands final : public CommandedReceiver {
protected:
    Front frontOf(ByteSpan bytes) const override { return lineFront(bytes); }

    void obey(ByteSpan command, Reaction& reaction) override;

    std::string_view rateSetting() const override { return "port A"; }

private:
    struct Row;
    static const Row kRows[];

    // Each gives the problem, or nothing.
    std::string set(Words words);
    std::string ask(const Words& words, Reaction& reaction);

    void onOff(std::string_view name, Arguments& arguments);
    void ambiguityReset(Arguments& arguments);
    void sessionMode(Arguments& arguments);
    void height(Arguments& arguments);
    void speed(Arguments& arguments);
    void output(Arguments& arguments);
    void reset(Arguments& arguments);
};

}  // namespace vkcomm::sim
