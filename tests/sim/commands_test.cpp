// What the library tells receivers, told to simulated ones that know nothing of it.
#include <gtest/gtest.h>

#include <numbers>

#include "sim/commanded_receiver.h"
#include "tests/control/golden.h"
#include "tests/frames/frame_texts.h"
#include "vkcomm/control/base_sequences.h"
#include "vkcomm/control/command_carriers.h"
#include "vkcomm/control/rover_sequences.h"
#include "vkcomm/control/thales_sequences.h"

namespace vkcomm::sim {
namespace {

using namespace test;

constexpr double kRadian = std::numbers::pi / 180.0;
constexpr BLH kPosition = {30.5 * kRadian, 114.25 * kRadian, 25.5};

GPSOEMTYPE typeOf(int type) { return static_cast<GPSOEMTYPE>(type); }

std::string refusals(const CommandedReceiver& receiver) {
    std::string text;
    for (const CommandNote& note : receiver.notes())
        if (!note.isObeyed()) text += note.command + ": " + note.problem + '\n';
    return text;
}

Lines stateLines(const CommandedReceiver& receiver) {
    Lines lines;
    std::istringstream state(receiver.state());
    for (std::string line; std::getline(state, line);)
        lines.push_back(line);
    return lines;
}

// A receiver that has been sent the steps and has refused none.
std::unique_ptr<CommandedReceiver> told(const char* family, const CommandSteps& steps) {
    auto receiver = makeCommandedReceiver(family);
    for (const CommandStep& step : steps)
        EXPECT_EQ(spelled(receiver->receive(step.bytes).rest), "") << step.what;
    EXPECT_EQ(refusals(*receiver), "");
    EXPECT_EQ(receiver->held(), 0u);
    EXPECT_GT(receiver->obeyed(), 0u);
    return receiver;
}

TEST(Commands, Smoke) {
    for (int t : {1,5,6,18,19}) for (int f = 0; f < 9; ++f) for (int p : {0,1}) for (int st : {0,1,2}) for (int set : {0,1,2}) {
        CBaseConfig config; config.uVarekFormat = (unsigned char)f; config.uVarekPort=(unsigned char)p; config.nStationType=st;
        auto steps = novatelBasePosition(typeOf(t), config, kPosition);
        append(steps, novatelBaseOutput(typeOf(t), config, set));
        auto r = told(t == 5 || t == 6 ? "maker" : "oem4", steps);
        if (st == 2 && set == 2) printf("%d %d %d\n%s\n", t, f, p, r->state().c_str());
    }
    for (int f = 0; f < 15; ++f) { CBaseConfigJavad c; c.uDifFormat = (unsigned char)f; printf("%d\n%s\n", f, told("javad", javadBase(c, kPosition))->state().c_str()); }
    for (int f = 0; f < 4; ++f) { CRoverConfigJavad c; c.uDifFormat = (unsigned char)f; printf("%d\n%s\n", f, told("javad", javadRover(c))->state().c_str()); }
    printf("%s\n", told("cmc", cmcBase(kPosition))->state().c_str());
    printf("%s\n", told("thales", thalesInit('B'))->state().c_str());
    for (int t : {0,7,8,14,15,16}) { CBaseConfig c; c.nAddRTCM=1; printf("%d\n%s\n", t, told(t > 14 ? "maker" : "trimble", trimbleBase(typeOf(t), typeOf(t), c, kPosition, L"BASE"))->state().c_str());
      printf("%d\n%s\n", t, told(t > 14 ? "maker" : "trimble", trimbleRover(typeOf(t), typeOf(t), CRoverConfig()))->state().c_str());
      printf("%d\n%s\n", t, told(t > 14 ? "maker" : "trimble", trimbleSteps(typeOf(t), *gsofOutput(1, typeOf(t), 5), 0))->state().c_str());
      }
}

}  // namespace
}  // namespace vkcomm::sim
