// The commands of a simulated Javad receiver: set, print, em, out, dm and init, one a line.
//
// A line may begin with an identifier between percent signs, which the answer repeats and which asks for one, and may
// end in '@' and two hexadecimal digits, the XOR of all before with the '@'. Answers are RE messages, errors ER
// messages. Names of parameters that do not begin with '/' stand below /par.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "sim/command_text.h"
#include "sim/commanded_receiver.h"

namespace vkcomm::sim {

class JavadCommands final : public CommandedReceiver {
protected:
    // A port that was made an input for corrections hears no commands any more.
    Front frontOf(ByteSpan bytes) const override {
        const std::string mode = m_settings.get("/par/dev/ser/a/imode");
        return mode.empty() || mode == "cmd" ? lineFront(bytes) : otherFront();
    }

    void obey(ByteSpan command, Reaction& reaction) override;

    std::string_view rateSetting() const override { return "/par/dev/ser/a/rate"; }

private:
    struct Row;
    static const Row kRows[];

    // What a command comes to: text for the answer, and what is wrong.
    struct Outcome {
        std::string text;
        std::string problem;
    };

    Outcome obeyLine(std::string_view command);
    // Each takes the words behind the command.
    Outcome set(const Words& words);
    Outcome print(const Words& words);
    Outcome enable(const Words& words);
    Outcome disable(const Words& words);
    Outcome initialize(const Words& words);
    void changeMode(std::string_view name, std::string_view value);
};

}  // namespace vkcomm::sim
