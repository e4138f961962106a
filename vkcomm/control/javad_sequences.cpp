#include <cmath>

#include "vkcomm/control/base_sequences.h"
#include "vkcomm/control/command_carriers.h"
#include "vkcomm/control/line_tables.h"
#include "vkcomm/control/rover_sequences.h"
#include "vkcomm/datum/convert.h"

namespace vkcomm {

namespace {

using namespace detail;

struct JavadRow {
    const char* text;
    FormatSet formats = kAnyFormat;
    int delay = 0;
    bool setsRate = false;
};

constexpr FormatSet kRtcm = formats({0, 1, 2, 3, 4, 5});
constexpr FormatSet kRtcm3 = formats({6, 7, 8, 9});

// RTCM 3 sets send the CMR parameters too, station line included; deliberate, as the receivers are driven so.
constexpr FormatSet kCmr = formats({6, 7, 8, 9, 10, 11});

constexpr JavadRow kBaseLines[] = {
    {"%%set,rover/mode/,off"},
    {"%%set,base/mode/,off"},
    {"%%set,pos/mode/cur,sp"},
    {"%CTRLSETUPMASK1%set,/par/pos/elm,<mask>", kAnyFormat, 10},
    {"%CTRLSETUPMASK2%set,/par/out/elm/cur/term,<mask>", kAnyFormat, 10},
    {"%%set,ref/pos/gps/xyz,<position>"},
    {"%%set,ref/pos/glo/xyz,<position>"},

    {"%%set,/par/rtcm/base/stid,<id>", kRtcm},
    {"%%set,/par/rtcm/base/svm,0", kRtcm},
    {"%%set,/par/rtcm/base/health,good", kRtcm},
    {"%%set,/par/rtcm/base/meas/ca,on", kRtcm},
    {"%%set,/par/rtcm/base/meas/p1,off", kRtcm},
    {"%%set,/par/rtcm/base/meas/p2,on", kRtcm},
    {"%%set,/par/rtcm/base/sys,{on,on}", kRtcm},
    {"%%set,/par/rtcm/base/smooth,off", kRtcm},
    {"%%set,/par/rtcm3/base/stid,<id>", kRtcm3},
    {"%%set,/par/cmr/base/stid,<id>", kCmr},
    {"%%set,/par/cmr/base/motion,static", kCmr},
    {"%%set,/par/cmr/base/pcode,off", kCmr},
    {"%%set,/par/cmr/base/meas/p2,on", kCmr},
    {"%%set,/par/cmr/base/glo/type,3", kCmr},
    {"%%set,/par/cmr/base/desc,{\"\",\"\",\"\"}", kCmr},

    {"%%dm,/dev/ser/<port>"},
    {"%%set,/par/dev/ser/<port>/imode,cmd"},
    {"%%set,/par/dev/ser/<port>/rtscts,off"},
    {"%%set,/par/dev/ser/<port>/rate,<baud>", kAnyFormat, 0, true},

    {"%%em,/dev/ser/<port>,/msg/rtcm{/1:1.00,/31:1.00,/3:10}", formats({0})},
    {"%%em,/dev/ser/<port>,/msg/rtcm{/9:1.00,/34:1.00,/3:10}", formats({1})},
    {"%%em,/dev/ser/<port>,/msg/rtcm{/18:1.00,/19:1.00,/22:10,/3:10}", formats({2})},
    {"%%em,/dev/ser/<port>,/msg/rtcm{/20:1.00,/21:1.00,/22:10,/3:10}", formats({3})},
    {"%%em,/dev/ser/<port>,/msg/rtcm{/18:1.00,/19:1.00,/23:10,/24:10}", formats({4})},
    {"%%em,/dev/ser/<port>,/msg/rtcm{/20:1.00,/21:1.00,/23:10,/24:10}", formats({5})},
    {"%%em,/dev/ser/<port>,/msg/rtcm3{/1003:1.00,/1006:10,/1008:10}", formats({6})},
    {"%%em,/dev/ser/<port>,/msg/rtcm3{/1004:1.00,/1006:10,/1008:10}", formats({7})},
    {"%%em,/dev/ser/<port>,/msg/rtcm3{/1003:1.00,/1011:1.0,/1006:10,/1008:10}", formats({8})},
    {"%%em,/dev/ser/<port>,/msg/rtcm3{/1004:1.00,/1012:1.0,/1006:10,/1008:10}", formats({9})},
    {"%%em,/dev/ser/<port>,/msg/cmr{/10:1.00,/0:1.00,/1:10}", formats({10})},
    {"%%em,/dev/ser/<port>,/msg/cmr{/10:1.00,/0:1.00,/9:1}", formats({11})},
    {"%%em,/dev/ser/<port>,/msg/rtk/jps/min:1.00", formats({12})},
    {"%%em,/dev/ser/<port>,/msg/rtk/jps/max:1.00", formats({13})},
};

// In GREIS, the receivers' command language. Behind each line is where it was seen: in the set-up of a base, or in
// recorded set-ups of rovers of this family.
constexpr JavadRow kRoverLines[] = {
    {"%%set,base/mode/,off"},                                              // as for a base
    {"%CTRLSETUPMASK1%set,/par/pos/elm,<mask>", kAnyFormat, 10},           // as for a base
    {"%CTRLSETUPMASK2%set,/par/out/elm/cur/term,<mask>", kAnyFormat, 10},  // as for a base
    {"%%set,/par/pos/pdop,<pdop>"},                                        // recorded
    {"%%set,/par/pos/pd/vrs,<vrs>"},                                       // recorded: off, y
    {"%%set,/par/pos/pd/fkp,<fkp>"},                                       // recorded: off
    {"%%set,/par/pos/pd/port,/dev/ser/<port>"},                            // recorded
    {"%%set,/par/pos/mode/cur,pd"},                                        // recorded
    {"%%dm,/dev/ser/<port>"},                                              // as for a base
    {"%%set,/par/dev/ser/<port>/rtscts,off"},                              // as for a base
    {"%%set,/par/dev/ser/<port>/rate,<baud>", kAnyFormat, 0, true},        // as for a base
    {"%%set,/par/dev/ser/<port>/imode,rtcm", formats({0})},                // recorded
    {"%%set,/par/dev/ser/<port>/imode,rtcm3", formats({1})},               // recorded
    {"%%set,/par/dev/ser/<port>/imode,cmr", formats({2})},                 // recorded
    {"%%set,/par/dev/ser/<port>/imode,jps", formats({3})},                 // recorded
};

// Ports by their place in the alphabet; port a for an index that has none.
int basePort(unsigned char index) { return index <= 3 ? index + 1 : 1; }

int roverPort(unsigned char index) { return index <= 'z' - 'a' ? index + 1 : 1; }

int baudOf(int index) {
    constexpr int kRates[] = {4800, 9600, 19200, 38400, 57600};
    return index >= 0 && index < 5 ? kRates[index] : 115200;
}

std::string cartesianText(const BLH& position) {
    const XYZ xyz = CConvert::BLHtoXYZ(position);
    return "{W84," + fixedPointText(xyz.x, 3) + ',' + fixedPointText(xyz.y, 3) + ',' +
           fixedPointText(xyz.z, 3) + '}';
}

std::string onOff(bool on) { return on ? "on" : "off"; }

CommandSteps stepsOf(std::span<const JavadRow> rows, int format, const PortRate& rate, LineValues values) {
    values.push_back({"port", std::string(1, static_cast<char>('a' + rate.port - 1))});
    values.push_back({"baud", integerText(rate.baud)});
    CommandSteps steps;
    for (const JavadRow& row : rows) {
        if (!serves(row.formats, format)) continue;
        append(steps, javadText(fillLine(row.text, values), row.delay));
        if (row.setsRate) markRate(steps, rate);
    }
    return steps;
}

}  // namespace

CommandSteps javadBase(const CBaseConfigJavad& config, const BLH& position) {
    if (!basePositionProblem(position).empty()) return {};
    return stepsOf(kBaseLines, config.uDifFormat, {basePort(config.uPort), baudOf(config.nBaud)},
                   {{"mask", integerText(config.uElevMask)},
                    {"position", cartesianText(position)},
                    {"id", recordText(config.strStationID)}});
}

CommandSteps javadRover(const CRoverConfigJavad& config) {
    if (!roverMaskProblem(config.fElevMask, config.fPDOPMask).empty()) return {};
    return stepsOf(kRoverLines, config.uDifFormat, {roverPort(config.uPort), baudOf(config.nBaud)},
                   {{"mask", integerText(std::lround(config.fElevMask))},
                    {"pdop", fixedPointText(config.fPDOPMask, 1)},
                    {"vrs", onOff(config.nNetwork == 1)},
                    {"fkp", onOff(config.nNetwork == 2)}});
}

}  // namespace vkcomm
