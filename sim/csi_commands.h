// The commands of a simulated CSI or Hemisphere receiver: JSHOW, JT, JI, JASC, JBIN, JBAUD, JMASK, JDIFF, JAGE, JOFF
// and JSAVE, one a line, answered by "$>" lines. What is wrong is not answered.
#pragma once

#include <string>
#include <string_view>

#include "sim/arguments.h"
#include "sim/commanded_receiver.h"

namespace vkcomm::sim {

class CsiCommands final : public CommandedReceiver {
protected:
    Front frontOf(ByteSpan bytes) const override { return lineFront(bytes); }

    void obey(ByteSpan command, Reaction& reaction) override;

    std::string_view rateSetting() const override { return "this port"; }

private:
    struct Row;
    static const Row kRows[];

    void show(Arguments& arguments);
    void application(Arguments& arguments);
    void identity(Arguments& arguments);
    void sentence(Arguments& arguments);
    void message(Arguments& arguments);
    void baud(Arguments& arguments);
    void mask(Arguments& arguments);
    void source(Arguments& arguments);
    void age(Arguments& arguments);
    void off(Arguments& arguments);
    void save(Arguments& arguments);

    void setOutput(const std::string& name, Arguments& arguments);

    std::string m_answer;  // of the command that is being obeyed
};

}  // namespace vkcomm::sim
