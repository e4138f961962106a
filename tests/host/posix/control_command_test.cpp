// The verbs that give commands to receivers, run as processes.
#include <gmock/gmock.h>

#include <clocale>

#include "tests/host/command.h"

namespace vkcomm::test {
namespace {

using testing::HasSubstr;

using ControlCommand = Command;

// Starts a simulated receiver, gives it a command in which URL stands for its address, and keeps what it was told in
// the file "state".
std::string withReceiver(const std::string& simulation, const std::string& command) {
    return "rm -f address\n\"$VKCOMM\" simulate " + simulation +
           " --rate 20 --print-state >address 2>state &\n" +
           "receiver=$!\nwhile [ ! -s address ]; do kill -0 $receiver || exit 9; sleep 0.05; done\n" +
           "URL=$(head -1 address)\n" + command + "\nstatus=$?\n" +
           "kill $receiver 2>/dev/null; wait $receiver\n(exit $status)";
}

constexpr const char* kPlace = " --position 51.1,7.1,123.4 --antenna-height 1.6 ";

TEST_F(ControlCommand, DryRunsShowWhatWouldBeSent) {
    struct Case {
        std::string arguments;
        std::vector<const char*> lines;
    };

    const std::string base = std::string("base --dry-run") + kPlace;
    const Case cases[] = {
        {base + "--family novatel",
         {"123.400 m above the ellipsoid", "phase centre 1.600 m above the mark",
          "125.000 m above the ellipsoid",
          "  4  fix position 51.10000000 7.10000000 125.000\n     > 66 69 78 20 70",
          " 11  com com1 9600   [port com1 goes to 9600 bit/s]\n"}},
        {"base --dry-run --family novatel --position 51,350,1 --antenna-height 0",
         {"phase centre 0.000 m above the mark", "fix position 51.00000000 -10.00000000 1.000"}},
        {"base --dry-run --family novatel --position 51,7,1 --set antenna.fPhaseHeight=1.6",
         {"fix position 51.00000000 7.00000000 2.600"}},
        {"base --dry-run --family novatel --position 51,7,1 --set antenna.fPhaseHeight=1.6 --antenna-height "
         "2",
         {"fix position 51.00000000 7.00000000 3.000"}},
        {base + "--family novatel --type 5 --set uVarekFormat=8",
         {"  4  RZ,Sfix position 51.10000000 7.10000000 125.000   [in the maker's frame]\n     > 24 24 52 5A "
          "38 2D",
          "ST,B1"}},
        {base + "--family novatel --set uVarekFormat=7 --command-set 1", {"log com1 rtcm1005b ontime 10"}},
        {base + "--type 18 --set nStationType=1", {"log gprs cmrdatarefb ontime 5"}},
        {base + "--family javad --set uPort=2",
         {"%%set,ref/pos/gps/xyz,{W84,3982681.923,496069.257,4940635.493}", "%%em,/dev/ser/c,"}},
        {base + "--family cmc",
         {"message 80\n     > 01 50 AF 20 55 47 50 53 2D 42 EB 17 00 00 00 00 00 40 5F 40"}},
        {base + "--family trimble --name HILL --set strStationID=12",
         {"base station   [port 2 goes to 9600 bit/s]\n", "> 02 00 64 48 00 00 00 03 06 01 00 01 08",
          "station name            HILL\n", "0.891863247769 rad, 51.100000000 degrees\n",
          "height                  125.0000 m\n", "RTCM station            12\n"}},
        {base + "--type 15", {"RG,B0", "baud                    5, 38400\n"}},
        {"rover --dry-run --family novatel --set uVarekFormat=4",
         {"rtksource rtcm any", "interfacemode com1 rtcm novatel"}},
        {"rover --dry-run --family trimble", {"motion                  0, kinematic"}},
        {"rover --dry-run --family javad --set uDifFormat=1", {"%%set,/par/dev/ser/b/imode,rtcm3"}},
        {"configure --dry-run gsof --port 2",
         {"[the receiver loses its settings]", "factory flag            1, factory defaults first",
          "GSOF record             14\n"}},
        {"configure --dry-run baud --port 1 --rate 38400 --family trimble",
         {"> 02 00 64 0D 00 00 00 03 06 01 00 02 04 01 05 00 00"}},
        {"configure --dry-run mask --elevation 12 --pdop 5 --type 7", {"elevation mask, degrees 12\n"}},
        {"configure --dry-run unlog --port 2 --type 7", {"00 07 08 FF 02 00 00 00 00 00 00"}},
        {"configure --dry-run raw --port 2 --rate-code 0", {"00 07 08 04 02 00 00 00 00 00 00"}},
        {"configure --dry-run thales-init --port b", {"$PASHS,NME,ZDA,B,ON,1\n"}},
        {"configure --dry-run reset --family trimble", {"> 02 00 58 07 FF 03 52 45 53 45 54"}},
        {"send --dry-run --family thales '$PASHS,NME,GGA,A,ON,1'", {"2C 31 2A 30 33\n       0D 0A\n"}},
        {"send --dry-run --family maker 'RQ,B4,B1'", {"> 24 24 52 51 18 02 04 01 1C 0D 0A"}},
        {"send --dry-run --family tsip --hex '10 1f 10 03'", {"4 bytes\n     > 10 1F 10 03\n"}},
        {"ask --dry-run satellites --family trimble", {"> 02 00 54 03 00 00 00 57 03"}},
    };
    for (const Case& c : cases) {
        const Outcome outcome = run(c.arguments);
        EXPECT_EQ(outcome.status, 0) << c.arguments << '\n' << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr("nothing was sent")) << c.arguments;
        for (const char* line : c.lines)
            EXPECT_THAT(outcome.out, HasSubstr(line)) << c.arguments;
    }
    const Outcome escape =
        run(base + "--family novatel --set \"antenna.strName=$(printf 'A\\033[31mB\\177')\"");
    EXPECT_THAT(escape.out, HasSubstr("A?[31mB?: phase centre"));
    const Outcome json = run(base + "--family trimble --json");
    EXPECT_THAT(json.out, HasSubstr("\"mark_height_m\":123.4000"));
    EXPECT_THAT(json.out,
                HasSubstr("\"phase_centre_height_m\":125.0000}\n{\"command\":1,\"what\":\"base station\""));
    EXPECT_THAT(
        json.out,
        HasSubstr(R"({"offset":51,"bytes":"405f400000000000","name":"height","value":"125.0000 m"})"));
}

TEST_F(ControlCommand, SpeaksTheSameInGermany) {
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8")) GTEST_SKIP() << "without that locale";
    std::setlocale(LC_ALL, "C");
    const Outcome outcome = shell(
        "LC_ALL=de_DE.UTF-8; export LC_ALL; VKCOMM base --dry-run --family novatel" + std::string(kPlace));
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("fix position 51.10000000 7.10000000 125.000\n"));
    EXPECT_THAT(outcome.out, HasSubstr("125.000 m above the ellipsoid"));
}

TEST_F(ControlCommand, AntennasOfListsAndSettingsCountOnce) {
    write("list", "[ANTENNA]\nGOOD\n0.053\n0.020\n0.037\n[ANTENNA]\nTALL\n50.000\n0.000\n0.000\n[END]\n");
    ASSERT_EQ(
        shell("VKCOMM settings new base - | sed '/^Measure height/{n;s/0.000/1.600/;}' >settings").status, 0);

    struct Case {
        const char* options;
        int status;
        const char* text;
    };

    const Case cases[] = {
        {"--antenna-list list --antenna GOOD --antenna-height 1.5", 0, " 124.953\n"},
        {"--antenna-list list --antenna GOOD --antenna-height 1.5 --measured-to top", 0, " 124.920\n"},
        {"--antenna-list list --antenna GOOD --antenna-height 1.5 --settings settings", 0, " 124.953\n"},
        {"--settings settings", 0, " 125.000\n"},
        {"--settings settings --antenna-height 2", 0, " 125.400\n"},
        {"--antenna-list list --antenna NONE --antenna-height 1", 2, "NONE"},
        {"--antenna-list list --antenna TALL --antenna-height 1", 2, "fBottomOffset is not"},
        {"--antenna-list none --antenna GOOD --antenna-height 1", 2, "none"},
    };
    for (const Case& c : cases) {
        const Outcome outcome =
            run("base --dry-run --family novatel --position 51,7,123.4 " + std::string(c.options));
        EXPECT_EQ(outcome.status, c.status) << c.options << outcome.err;
        EXPECT_THAT(c.status == 0 ? outcome.out : outcome.err, HasSubstr(c.text)) << c.options;
    }
}

TEST_F(ControlCommand, WrongUsageIsToldBeforeAPortIsOpened) {
    struct Case {
        const char* arguments;
        const char* error;
    };

    const Case cases[] = {
        {"base sim:oem4 --family novatel --position 91,7,1", "latitude is beyond 90"},
        {"base sim:oem4 --family novatel --position 51,1,7,1,123,4", "a position is"},
        {"base sim:oem4 --family novatel --position 51,7,1 --set uElevMask=91",
         "uElevMask is not 0 to 90: 91"},
        {"base sim:oem4 --family novatel --position 51,7,1 --set uVarekPort=4", "uVarekPort is not 0 to 3"},
        {"base sim:oem4 --family novatel --position 51,7,1 --antenna-height 101", "0 to 100 metres"},
        {"base sim:trimble --family trimble --position 51,7,1 --name NINECHARS", "at most 8 characters"},
        {"base sim:oem4 --family novatel --type 7 --position 51,7,1", "no commands are known"},
        {"base sim:csi --family csi --position 51,7,1", "no known base setup"},
        {"base sim:oem4 --position 51,7,1", "--family"},
        {"base --family novatel --position 51,7,1", "say which receiver"},
        {"base --dry-run --family novatel --position 51,7,1 --set uVarekFormat=7", "--command-set"},
        {"rover sim:trimble --family trimble --ionosphere quiet", "only NovAtel"},
        {"configure sim:trimble gsof --port 2", "add --yes"},
        {"configure sim:trimble reset --family trimble", "add --yes"},
        {"configure sim:trimble gsof --port 32 --yes", "32 is no port here"},
        {"configure sim:oem4 baud --family novatel --port com2 --rate 12345", "one of 300, 600"},
        {"configure sim:oem4 gsof --family novatel --port 1", "no known command for gsof"},
        {"send sim:oem4 --family novatel freset", "add --yes"},
        {"send sim:trimble --family trimble --hex 020058005803", "add --yes"},
        {"send sim:trimble --family trimble hello", "no text commands"},
        {"send file:/tmp/x --family novatel hello", "commands need a port"},
        {"ask sim:csi --family csi satellites", "no known question"},
        {"send sim:oem4 --family novatel --hex '667265736574 0d0a'", "add --yes"},
        {"send sim:nmea --family nmea 'ecutoff 5'", "begins with $"},
        {"configure sim:oem4 mask --family novatel --pdop 6", "no PDOP mask"},
        {"base sim:oem4 --family novatel --position 51,7,1 --set uVarekPort=3", "com1 to com3"},
        {"base sim:oem4 --family novatel --position 51,7,1 --antenna-height 1 --measured-to bottom",
         "offset at its bottom is not known"},
        {"ask sim:oem4 colour", "satellites, not colour"},
        {"ask sim:oem4", "satellites"},
        {"ask sim:javad --family javad options", "known are serial, status, version"},
        {"send sim:oem4", "say what to send"},
        {"send --dry-run --family novatel ecutoff 5", "words that belong together quotes"},
        {"configure sim:csi baud --family csi --rate 300", "one of 4800, 9600"},
    };
    for (const Case& c : cases) {
        const Outcome outcome = run(c.arguments);
        EXPECT_EQ(outcome.status, 2) << c.arguments;
        EXPECT_EQ(outcome.out, "") << c.arguments;
        EXPECT_THAT(outcome.err, HasSubstr(c.error)) << c.arguments;
    }
}

TEST_F(ControlCommand, ReceiversAreSetUpOverALine) {
    struct Case {
        const char* receiver;
        std::string command;
        const char* state;  // of the receiver
    };

    const std::string place = kPlace;
    const Case cases[] = {
        {"oem4 --pty", "base 'serial:'$URL'?baud=115200' --family novatel --set uVarekFormat=7" + place,
         "set to:\n  elevation mask: 10\n  elevation mask glonass: 5.0\n  elevation mask rtk: 10\n"
         "  interface com1: takes novatel, gives rtcmv3\n  log com1 rtcm1004b: every 1 s\n"
         "  log com1 rtcm1006b: every 10 s\n  log com1 rtcm1008b: every 10 s\n  log com1 rtcm1012b: every 1 "
         "s\n"
         "  log com1 rtcm1033b: every 10 s\n  mode: base\n  port com1: 9600 baud\n"
         "  position: 51.10000000 7.10000000 125.000\n  station rtcmv3: 1\n"},
        {"trimble --tcp 0", "base $URL --family trimble --name HILL" + place, "station name: HILL\n"},
        {"javad --pty --split 9", "base 'serial:'$URL'?baud=115200' --family javad" + place,
         "/par/pos/mode/cur: sp\n"},
        {"cmc --tcp 0", "base $URL --family cmc" + place, "mode: base\n"},
        {"maker --tcp 0", "base $URL --type 6" + place,
         "set to:\n  ST: 1\n  board novatel: elevation mask: 10\n  board novatel: elevation mask glonass: "
         "5.0\n"
         "  board novatel: elevation mask rtk: 10\n  board novatel: interface com1: takes novatel, gives "
         "cmr\n"
         "  board novatel: log com1 cmrdescb: every 10 s, 5 s late\n  board novatel: log com1 cmrobsb: every "
         "1 s\n"
         "  board novatel: log com1 cmrrefb: every 10 s\n  board novatel: mode: base\n"
         "  board novatel: port com1: 9600 baud\n  board novatel: position: 51.10000000 7.10000000 125.000\n"
         "  board novatel: station cmr: 1\n"},
        {"maker --pty", "base 'serial:'$URL'?baud=115200' --type 15" + place,
         "position: 51.100000000 7.100000000 125.000\n"},
        {"oem4 --pty", "rover 'serial:'$URL'?baud=115200' --family novatel", "mode: rover\n"},
        {"oem4 --pty --baud 115200", "rover 'serial:'$URL'?baud=115200' --family novatel",
         "interface com1: takes cmr, gives novatel\n"},
        {"trimble --pty", "configure 'serial:'$URL'?baud=115200' gsof --port 1 --yes",
         "output 1 GSOF 14: 1 Hz\n"},
        {"nmea --tcp 0", "configure $URL thales-init --port A", "output A ZDA: every 1 s\n"},
        {"csi --tcp 0", "configure $URL mask --family csi --elevation 12", "elevation mask: 12\n"},
        {"oem4 --pty", "send serial:$URL 'ecutoff 7'", "elevation mask: 7\n"},
    };
    for (const Case& c : cases) {
        const Outcome outcome = shell(withReceiver(c.receiver, "VKCOMM " + c.command + " --wait 1m"));
        EXPECT_EQ(outcome.status, 0) << c.command << '\n' << outcome.out << outcome.err;
        EXPECT_THAT(bytesOf("state"), HasSubstr(c.state)) << c.command;
        EXPECT_EQ(bytesOf("state").find("refused: "), std::string::npos) << c.command;
    }
}

TEST_F(ControlCommand, AnswersComeBackAndFailuresEndInStatus1) {
    struct Case {
        const char* command;
        int status;
        const char* out;
    };

    const Case cases[] = {
        {"ask sim:oem4 version", 0, "hardware=OEMV3-SIM"},
        {"ask sim:trimble serial", 0, "receiver_type=SIM5800"},
        {"ask sim:cmc satellites", 0, "satellites_visible=12"},
        {"ask sim:javad version", 0, "< RE"},
        {"ask sim:csi status --family csi", 0, "$>JSHOW,THISPORT,PORTA"},
        {"ask sim:nmea --family thales serial", 0, "< PASHR,RID"},
        {"send sim:tsip --family tsip --hex 101f1003", 0, "< packet 45h data=01"},
        {"ask sim:maker --type 16 options --json", 0, "\"name\":\"RETOPT\""},
        {"send sim:oem4 'no such command'", 1, "< <ERROR:"},
        {"send sim:trimble --hex '02 00 64 00 64 03'", 1, "< NAK\n     refused\n"},
        {"send sim:nmea '$PASHQ,RID'", 1, ""},
        {"ask sim:oem4 version >/dev/full", 1, ""},
        {"send sim:nmea --family novatel 'ecutoff 5' --wait 300ms", 1, "     silent\n"},
        {"base sim:nmea --family novatel --position 51,7,1 --wait 300ms", 1, "     not sent\n"},
        {"send tcp://127.0.0.1:1 --family novatel 'ecutoff 5'", 1, ""},
        {"ask serial:/dev/vkcomm-none version", 1, ""},
    };
    for (const Case& c : cases) {
        const Outcome outcome = run(c.command);
        EXPECT_EQ(outcome.status, c.status) << c.command << '\n' << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr(c.out)) << c.command;
    }
}

TEST_F(ControlCommand, TheTranscriptKeepsEveryByteAlsoWhenTheLineEnds) {
    const std::string place = kPlace;
    Outcome outcome =
        shell(withReceiver("oem4 --tcp 0", "VKCOMM base $URL --family novatel --transcript proof" + place));
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const std::string proof = bytesOf("proof");
    EXPECT_THAT(proof, HasSubstr("Z # command: unlogall com1\n"));
    EXPECT_THAT(proof, HasSubstr("Z > 75 6E 6C 6F 67 61 6C 6C 20 63 6F 6D 31 0D 0A     unlogall com1..\n"));
    EXPECT_THAT(proof, HasSubstr("<OK"));
    EXPECT_THAT(proof, HasSubstr("11 commands: 11 answered\n"));

    // a receiver of another family, which understands nothing, and goes away meanwhile
    outcome = play(withReceiver("oem4 --tcp 0", "VKCOMM base $URL --family javad --wait 1h --transcript cut" +
                                                    place +
                                                    " &\nbase=$!\nawait 'grep -q \"Z >\" cut'\n"
                                                    "kill $receiver\nwait $base"));
    EXPECT_EQ(outcome.status, 1) << outcome.out << outcome.err;
    const std::string cut = bytesOf("cut");
    EXPECT_THAT(cut, HasSubstr("Z # cut off: %%set,"));
    EXPECT_THAT(cut, HasSubstr("Z # not sent: %%em,"));
    EXPECT_THAT(outcome.out, HasSubstr("cut off: all bytes had gone out"));

    outcome = run("send sim:oem4 freset --transcript proof");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(bytesOf("proof"), proof) << "an older one is kept when nothing is sent";

    outcome = run("send sim:oem4 'ecutoff 5' --transcript /no/such/folder/proof");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "") << "nothing is sent that could not be kept";
}

}  // namespace
}  // namespace vkcomm::test
