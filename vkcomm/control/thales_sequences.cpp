#include "vkcomm/control/thales_sequences.h"

#include "vkcomm/control/command_carriers.h"
#include "vkcomm/control/line_tables.h"
#include "vkcomm/frames/baud_rates.h"

namespace vkcomm {

namespace {

using namespace detail;

struct ThalesRow {
    const char* text;
    int delay;
};

constexpr ThalesRow kInitLines[] = {
    {"$PASHS,ANR,OFF", 10},
    {"$PASHS,NME,ALL,A,OFF", 10},
    {"$PASHS,NME,ALL,B,OFF", 10},
    {"$PASHS,NME,ALL,C,OFF", 10},
    {"$PASHS,NME,ALL,D,OFF", 10},
    {"$PASHS,NME,TAG,V30", 10},
    {"$PASHS,HGT,ELG", 10},
    {"$PASHS,SEM,OFF", 10},
    {"$PASHS,NME,GGA,<port>,ON,1", 50},
    {"$PASHS,NME,GSA,<port>,ON,2", 50},
    {"$PASHS,NME,GST,<port>,ON,2", 50},
    {"$PASHS,NME,SAT,<port>,ON,2", 50},
    {"$PASHS,NME,ZDA,<port>,ON,1", 50},
};

}  // namespace

CommandSteps thalesInit(char port) {
    const LineValues values = {{"port", std::string(1, port)}};
    CommandSteps steps;
    for (const ThalesRow& row : kInitLines)
        append(steps, starText(fillLine(row.text, values), row.delay));
    return steps;
}

CommandSteps thalesBaud(char port, int baudIndex) {
    CommandSteps steps = starText(fillLine("$PASHS,SPD,<port>,<code>", {{"port", std::string(1, port)},
                                                                        {"code", integerText(baudIndex)}}),
                                  0);
    const int baud = baudOfIndex(baudIndex, 0);
    if (baud != 0 && port >= 'A' && port <= 'Z') markRate(steps, {port - 'A' + 1, baud});
    return steps;
}

}  // namespace vkcomm
