// What the library tells receivers, told to simulated ones that share nothing with it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numbers>
#include <optional>

#include "sim/commanded_receiver.h"
#include "tests/control/golden.h"
#include "tests/frames/frame_texts.h"
#include "vkcomm/control/base_sequences.h"
#include "vkcomm/control/command_carriers.h"
#include "vkcomm/control/rover_sequences.h"
#include "vkcomm/control/thales_sequences.h"
#include "vkcomm/frames/board_frames.h"
#include "vkcomm/frames/maker_frame.h"
#include "vkcomm/frames/send_hex.h"
#include "vkcomm/frames/text_compiler.h"
#include "vkcomm/frames/text_lines.h"

namespace vkcomm::sim {
namespace {

using namespace test;

constexpr double kRadian = std::numbers::pi / 180.0;
constexpr BLH kPosition = {30.5 * kRadian, 114.25 * kRadian, 25.5};

GPSOEMTYPE typeOf(int type) { return static_cast<GPSOEMTYPE>(type); }

std::unique_ptr<CommandedReceiver> fresh(const std::string& family) {
    auto receiver = makeCommandedReceiver(family);
    EXPECT_NE(receiver, nullptr) << family;
    return receiver;
}

Lines linesOf(const std::string& text) {
    Lines lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

// "command: problem" for each that was refused.
Lines refusals(const CommandedReceiver& receiver) {
    Lines lines;
    for (const CommandNote& note : receiver.notes())
        if (!note.isObeyed()) lines.push_back(note.command + ": " + note.problem);
    return lines;
}

Reaction send(CommandedReceiver& receiver, std::string_view bytes) {
    return receiver.receive(vkcomm::bytesOf(bytes));
}

// A fresh receiver obeys all steps and is then set to this; the prefix stands before the lines, "#" is the port.
void expectState(const char* family, const CommandSteps& steps, Lines expected,
                 const std::string& prefix = {}, int port = 0) {
    const auto receiver = fresh(family);
    for (const CommandStep& step : steps) {
        const Reaction reaction = receiver->receive(step.bytes);
        // a port that has just become an input takes the line's LF for corrections
        EXPECT_EQ(text(reaction.rest).find_first_not_of('\n'), std::string::npos) << step.what;
    }
    for (std::string& line : expected) {
        if (const std::size_t mark = line.find('#'); mark != line.npos)
            line.replace(mark, 1, std::to_string(port));
        if (line.find("ST: ") != 0 && line.find("RG: ") != 0 && line.find("modem: ") != 0)
            line.insert(0, prefix);
    }
    EXPECT_EQ(refusals(*receiver), Lines());
    EXPECT_EQ(receiver->held(), 0u);
    EXPECT_THAT(linesOf(receiver->state()), testing::UnorderedElementsAreArray(expected)) << family;
}

class States : public testing::Test {
protected:
    Lines lines(std::initializer_list<const char*> names, const GoldenKeys& keys) const {
        return m_golden.lines(names, keys);
    }

private:
    const Golden m_golden{"../../sim/golden/states.txt"};
};

TEST_F(States, OfNovatelBases) {
    CBaseConfig config;
    config.strStationID = L"12";
    config.uInterval = 3;
    config.nBaud = 8;
    forAll({{"type", {1, 5, 6, 18, 19}},
            {"format", {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}},
            {"port", {0, 1, 2}},
            {"station", {0, 1, 2, 3}},
            {"set", {0, 1, 2}}},
           [&](const GoldenKeys& keys) {
               const int type = keys.at("type");
               config.uVarekFormat = static_cast<unsigned char>(keys.at("format"));
               config.uVarekPort = static_cast<unsigned char>(keys.at("port"));
               config.nStationType = keys.at("station");
               CommandSteps steps = novatelBasePosition(typeOf(type), config, kPosition);
               append(steps, novatelBaseOutput(typeOf(type), config, keys.at("set")));
               Lines expected = lines({"novatel", "novatel_position", "novatel_logs"}, keys);
               const bool isInside = type == 5 || type == 6;
               if (isInside && config.uVarekPort == 0) expected.emplace_back("ST: 1");
               if (type >= 18) expected.emplace_back("modem: IM: 1");
               expectState(isInside ? "maker" : "oem4", steps, expected, isInside ? "board novatel: " : "",
                           config.uVarekPort + 1);
           });
}

TEST_F(States, OfNovatelRovers) {
    CRoverConfig config;
    config.fElevMask = 12.5f;
    config.strStationIndex = L"12";
    config.nBaud = 8;
    forAll({{"format", {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}},
            {"limit", {0, 1}},
            {"com", {0, 3}},
            {"set", {0, 1, 2}},
            {"iono", {-1, 0, 1, 2, 3}}},
           [&](const GoldenKeys& keys) {
               config.uVarekFormat = static_cast<unsigned char>(keys.at("format"));
               config.nLimitBase = keys.at("limit");
               config.uCom = static_cast<unsigned char>(keys.at("com"));
               expectState("oem4", novatelRover(OEM_NOVATEL, config, keys.at("set"), keys.at("iono")),
                           lines({"novatel_rover", "novatel_rover_ionosphere", "novatel_rover_source",
                                  "novatel_rover_port"},
                                 keys));
           });
}

// The same lines about another port.
Lines ofPort(Lines lines, char from, int port) {
    const std::string name = "/dev/ser/";
    for (std::string& line : lines)
        for (std::size_t at = line.find(name + from); at != line.npos; at = line.find(name + from, at + 1))
            line[at + name.size()] = static_cast<char>('a' + port);
    return lines;
}

TEST_F(States, OfJavads) {
    CBaseConfigJavad base;
    base.strStationID = L"12";
    forAll({{"format", {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14}}, {"port", {0, 1, 2, 3}}},
           [&](const GoldenKeys& keys) {
               base.uDifFormat = static_cast<unsigned char>(keys.at("format"));
               base.uPort = static_cast<unsigned char>(keys.at("port"));
               const Lines ofB = lines({"javad", "javad_parameters", "javad_messages"}, keys);
               expectState("javad", javadBase(base, kPosition), ofPort(ofB, 'b', base.uPort));
           });
    CRoverConfigJavad rover;
    rover.fElevMask = 12.6f;
    rover.fPDOPMask = 7.25f;
    rover.nBaud = 2;
    forAll({{"format", {0, 1, 2, 3, 4}}, {"network", {0, 1, 2}}, {"port", {0, 1, 2, 3}}},
           [&](const GoldenKeys& keys) {
               rover.uDifFormat = static_cast<unsigned char>(keys.at("format"));
               rover.nNetwork = keys.at("network");
               rover.uPort = static_cast<unsigned char>(keys.at("port"));
               const Lines ofC = lines({"javad_rover", "javad_rover_network", "javad_rover_input"}, keys);
               expectState("javad", javadRover(rover), ofPort(ofC, 'c', rover.uPort));
           });
}

TEST_F(States, OfTrimbles) {
    CBaseConfig config;
    config.strStationID = L"12";
    config.nBaud = 9;
    config.uInterval = 2;
    config.nParity = 2;
    config.nCTS = 1;
    forAll({{"type", {0, 7, 8, 14, 15, 16}}, {"format", {0, 1, 2, 3, 4, 5}}, {"add", {0, 1}}},
           [&](const GoldenKeys& keys) {
               const GPSOEMTYPE type = typeOf(keys.at("type"));
               const bool isInside = type >= OEM_VAREK_TRIMBLE_15;
               config.uTrimbleFormat = static_cast<unsigned char>(keys.at("format"));
               config.nAddRTCM = keys.at("add");
               Lines expected = lines({"trimble", "trimble_port", "trimble_output", "trimble_added"}, keys);
               if (isInside) expected.emplace_back("RG: 0");
               const char* family = isInside ? "maker" : "trimble";
               const char* prefix = isInside ? "board trimble: " : "";
               expectState(family, trimbleBase(type, type, config, kPosition, L"BASE"), expected, prefix,
                           isInside ? 1 : 2);
               expectState(family, trimbleRover(type, type, CRoverConfig()),
                           lines({"trimble_rover", "trimble_rover_port"}, keys), prefix);
           });
}

TEST_F(States, OfOtherSequences) {
    for (const int type : {0, 7, 15}) {
        expectState("trimble", trimbleSteps(OEM_NONE, *gsofOutput(2, typeOf(type), 2), 0),
                    lines({"gsof"}, {{"type", type}}));
        CommandSteps steps;
        for (const TrimbleCommand& command :
             {rawOutput(typeOf(type), 2, 3), portSilence(2, typeOf(type)), rawOutput(typeOf(type), 3, 3),
              portBaud(1, 38400, typeOf(type)), positionMasks(13, 7, typeOf(type))})
            append(steps, trimbleSteps(OEM_NONE, command, 0));
        expectState("trimble", steps, lines({"trimble_settings"}, {}));
        append(steps, trimbleSteps(OEM_NONE, receiverReset(), 0));
        expectState("trimble", steps, {});
    }
    expectState("cmc", cmcBase(kPosition), lines({"cmc"}, {}));
    CommandSteps thales = thalesInit('B');
    append(thales, thalesBaud('B', 9));
    expectState("nmea", thales, lines({"thales"}, {}));
}

// The bytes of a transcript's line: a delay, then hexadecimal digits or a text.
std::string bytesOfLine(const std::string& line) {
    std::string bytes = line.substr(line.find(' ') + 1);
    if (bytes.find_first_not_of("0123456789ABCDEF ") == bytes.npos) return hex(bytes);
    if (bytes.ends_with("\\r\\n")) bytes.replace(bytes.size() - 4, 4, "\r\n");
    return bytes;
}

// What one operation of the port sends.
TEST(Commands, OfOperationsAreObeyed) {
    struct {
        const char* family;
        const char* operation;
        const char* state;
    } const cases[] = {
        {"maker", "Text", "RM: 5\n"},
        {"oem4", "TextThroughNovatel", "modem: RM: 5\n"},
        {"oem4", "HexString", ""},
        {"maker", "Masks", "block 152, masks 1: 10 5\n"},
        {"maker", "MasksAskedFor", ""},
        {"maker", "RMWithoutSettings", "RM: 5\n"},
        {"maker", "RMWithSettings", "RM: 5\nRQ: 4 1\n"},
        {"maker", "RKWithoutSettings", "RK: 44\n"},
        {"maker", "RLWithSettings", "RL: 44\nRQ: 4 0\n"},
        {"cmc", "Cmc", "output message 20: repeated\n"},
        {"trimble", "SerialQuery", ""},
        {"trimble", "StatusQuery", ""},
        {"trimble", "OptionQuery", ""},
        {"trimble", "BreakQuery", ""},
        {"trimble", "FileList", ""},
        {"trimble", "File", ""},
        {"trimble", "Reset", ""},
        {"trimble", "PortBaud", "port 1: 38400 baud, parity none, flow control none\n"},
        {"trimble", "Unlogall", ""},
        {"trimble", "Mask", "elevation mask: 13\npdop mask: 6\n"},
        {"trimble", "Raw", ""},
        {"trimble", "RawPort", ""},
        {"maker", "CommandWrapped15", ""},
        {"oem4", "NovatelLine", ""},
    };

    const Golden golden("operations.txt");
    for (const auto& c : cases) {
        const auto receiver = fresh(c.family);
        std::size_t answered = 0;
        for (const std::string& line : golden.lines(c.operation))
            answered += send(*receiver, bytesOfLine(line)).answer.size();
        EXPECT_EQ(refusals(*receiver), Lines()) << c.operation;
        EXPECT_EQ(receiver->state(), c.state) << c.operation;
        EXPECT_GT(answered + (c.operation == std::string("TextThroughNovatel") ? 1 : 0), 0u) << c.operation;
    }
    const auto modem = fresh("maker");
    for (const char* text : {"%n one\r\n", "VVAabcdefg", "VVBo", "VVAhijklmn"})
        send(*modem, text);
    EXPECT_EQ(modem->state(), "%n: one\nVVA: hijklmn\nVVB: o\n");
}

std::string packet(unsigned char type, const std::string& data) {
    return text(trimblePacket(type, vkcomm::bytesOf(data)));
}

std::string message(unsigned char id, const std::string& data) {
    return text(cmcMessage(id, false, vkcomm::bytesOf(data)));
}

std::string frame(const char* letters, std::string_view payload) {
    return text(makerFrame(letters, 0x18, vkcomm::bytesOf(payload)));
}

std::string fileOf(const char* records) { return packet(0x64, hex("00000003080100") + hex(records)); }

std::string spoiled(std::string bytes, std::size_t fromEnd) {
    bytes[bytes.size() - fromEnd] ^= 1;
    return bytes;
}

// The decoder reads the answer as records of these types and Ids (no Id: any).
TEST(Commands, AreAnswered) {
    struct Answer {
        LOG_TYPE type;
        std::optional<unsigned> id = std::nullopt;
    };

    struct {
        const char* family;
        std::string sent;
        std::vector<Answer> answers;
    } const cases[] = {
        {"trimble", packet(0x06, ""), {{LOG_TRIMBLE_PACKET, 0x07}}},
        {"trimble", packet(0x08, ""), {{LOG_TRIMBLE_PACKET, 0x09}}},
        {"trimble", packet(0x4A, ""), {{LOG_TRIMBLE_PACKET, 0x4B}}},
        {"trimble", packet(0x49, hex("020205000100")), {{LOG_TRIMBLE_PACKET, 0x6E}}},
        {"trimble", packet(0x54, hex("000000")), {{LOG_TRIMBLE_PACKET, 0x55}}},
        {"trimble", packet(0x56, hex("010000")), {{LOG_TRIMBLE_PACKET, 0x57}}},
        {"trimble", packet(0x65, hex("0000")), {{LOG_TRIMBLE_PACKET, 0x64}}},
        {"trimble", packet(0x66, ""), {{LOG_TRIMBLE_PACKET, 0x67}}},
        {"oem4", "log versionb\r\n", {{LOG_REPLY_OK, 21}, {LOG_PORT_PROMPT}, {LOG_OEM4_BINARY, 37}}},
        {"oem4", "LOG COM1 SATVISB ONCE\r\n", {{LOG_REPLY_OK, 21}, {LOG_PORT_PROMPT}, {LOG_OEM4_BINARY, 48}}},
        {"oem4", "LOG COM2 SATVISB ONCE\r\n", {{LOG_REPLY_OK, 21}, {LOG_PORT_PROMPT}}},
        {"oem4", "interfacemode com1 cmr novatel\r\necutoff 5\r\n", {{LOG_REPLY_OK, 21}, {LOG_PORT_PROMPT}}},
        {"oem4", "log nothing\r\n", {{LOG_REPLY_ERROR, 19}, {LOG_PORT_PROMPT}}},
        {"cmc", message(45, ""), {{LOG_CMC_BINARY, 45}}},
        {"cmc", message(91, hex("0101")), {{LOG_CMC_BINARY, 126}}},
        {"nmea", "$PASHQ,RID*28\r\n", {{LOG_NMEA}}},
        {"nmea", "$PASHQ,POS\r\n", {{LOG_NMEA}}},
        {"nmea", "$PASHS,SEM,OFF\r\n", {{LOG_NMEA}}},
        {"maker", frame("SI", ""), {{LOG_VAREK_REPLY}, {LOG_VAREK_REPLY}}},
        {"maker", frame("RG", "\x01"), {{LOG_VAREK_REPLY}}},
        {"maker", frame("RZ", packet(0x06, "")), {{LOG_VAREK_REPLY}, {LOG_VAREK_REPLY}}},
    };

    for (const auto& c : cases) {
        const auto receiver = fresh(c.family);
        CNOut decoder;
        std::vector<Record> records = decodeAll(decoder, text(send(*receiver, c.sent).answer));
        std::erase_if(records, [](const Record& record) { return record.type == LOG_STATUS_TEXT; });
        ASSERT_EQ(records.size(), c.answers.size()) << c.family << ' ' << spelled(c.sent);
        for (std::size_t i = 0; i < records.size(); ++i) {
            EXPECT_EQ(records[i].type, c.answers[i].type) << spelled(c.sent);
            if (c.answers[i].id) {
                EXPECT_EQ(records[i].id, *c.answers[i].id) << spelled(c.sent);
            }
        }
    }
    EXPECT_EQ(text(send(*fresh("nmea"), "$PASHS,SPD,B,9\r\n$PASHS,SPD,B,10\r\n").answer),
              "$PASHR,ACK*3D\r\n$PASHR,NAK*30\r\n");
    EXPECT_EQ(text(send(*fresh("javad"), "%x%print,rcv/id\r\nset,pos/elm,91\r\nset,pos/elm,9\r\n").answer),
              "RE010%x%\"SIM00000001\"\r\nER011{4,\"wrong value\"}\r\n");
    EXPECT_EQ(text(send(*fresh("csi"), "$JT\r\n$JMASK,5\r\n$JMASK,x\r\n").answer), "$>JT,SIM\r\n$>\r\n");
    EXPECT_EQ(spelled(send(*fresh("tsip"), text(tsipFrame({0x26, {}}))).answer),
              "10 46 00 00 10 03 10 4B 01 00 00 10 03");
    const std::string pages =
        packet(0x64, hex("0000010308")) + packet(0x64, hex("00010101000106 0D01 06000000"));
    EXPECT_EQ(spelled(send(*fresh("trimble"), pages).answer), "06 06") << "for each page";
    const auto masked = fresh("trimble");
    EXPECT_EQ(spelled(send(*masked, "\x05" + fileOf("01 06 0D 01 06 00 00 00")).answer), "06 06");
    EXPECT_EQ(text(send(*masked, packet(0x4A, "")).answer).substr(4, 2), "\x0D\x06");
}

// Refused, noted so, and without effect.
TEST(Commands, AreRefusedStrictly) {
    const std::string rm = frame("RM", "\x05"), mask = text(ownFrame(152, 1, vkcomm::bytesOf("ab")));

    struct {
        const char* family;
        std::string sent;
        const char* problem;
    } const cases[] = {
        {"oem4", "freboot\r\n", "Invalid Message ID"},
        {"oem4", "ecutoff\r\n", "Message missing field"},
        {"oem4", "ecutoff 91\r\n", "Parameter 1 is out of range"},
        {"oem4", "ecutoff 1e1\r\n", "Parameter 1 is out of range"},
        {"oem4", "ecutoff 10 10\r\n", "Invalid Message. Field = 2"},
        {"oem4", "fix position 90.5 0 0\r\n", "Parameter 2 is out of range"},
        {"oem4", "fix position 51,1 0 0\r\n", "Parameter 2 is out of range"},
        {"oem4", "log com9 bestposb ontime 1\r\n", "Invalid Message. Field = 1"},
        {"oem4", "log com1 bestposc ontime 1\r\n", "Invalid Message. Field = 2"},
        {"oem4", "log com1 bestposb ontime 0\r\n", "Parameter 4 is out of range"},
        {"oem4", "dgpstxid cmr 32\r\n", "Parameter 2 is out of range"},
        {"oem4", "dgpstxid rtca \"12345\"\r\n", "Parameter 2 is out of range"},
        {"oem4", "com com1 9601\r\n", "Parameter 2 is out of range"},
        {"oem4", "SENDHEX COM2 3 AABB\r\n", "Parameter 3 is out of range"},
        {"oem4", "SENDHEX COM2 2 AAGB\r\n", "Parameter 3 is out of range"},
        {"oem4", "unlogall\x07", "the line breaks off"},
        {"javad", javadLine("%%set,pos/elm,10").replace(15, 1, "1"), "wrong checksum"},
        {"javad", "%%set,pos/elm,1.5\r\n", "wrong value"},
        {"javad", "%%set,pos/elv,10\r\n", "unknown parameter"},
        {"javad", "%%set,/par/dev/ser/e/imode,cmd\r\n", "unknown parameter"},
        {"javad", "%%set,ref/pos/gps/xyz,{W84,1,2}\r\n", "wrong value"},
        {"javad", "%%em,/dev/ser/a,/msg/cmr{/10:1.00,/8:1.00}\r\n", "wrong message"},
        {"javad", "%%em,/dev/ser/a,/msg/cmr{/10:0}\r\n", "wrong message"},
        {"javad", "%%dm,/dev/ser/e\r\n", "unknown port"},
        {"javad", "%%reboot\r\n", "unknown command"},
        {"trimble", spoiled(packet(0x58, "\xFF\x03RESET"), 2), "wrong checksum"},
        {"trimble", spoiled(packet(0x06, ""), 1), "it does not end where its length says"},
        {"trimble", packet(0x05, ""), "unknown type"},
        {"trimble", packet(0x58, "\xFF\x03REBOT"), "not a reset"},
        {"trimble", packet(0x06, "x"), "wrong length"},
        {"trimble", packet(0x54, hex("090000")), "there are no such data"},
        {"trimble", packet(0x64, hex("000000 02 08 01 00")), "the version is not 3"},
        {"trimble", packet(0x64, hex("000000 03 07 01 00")), "the file is for another device"},
        {"trimble", packet(0x64, hex("000101 03 08 01 00")), "a page is missing"},
        {"trimble", fileOf("01 06 5B 01 06 00 00 00"), "record 1: the elevation mask is above 90 degrees"},
        {"trimble", fileOf("01 06 0D 01 06 00 00 00 01 08 0D 01 06 00 00 00 00 00"),
         "record 1: of a wrong length"},
        {"trimble", fileOf("01 06 0D 01 06 00 00 00 02 06 01 0D 00 00 00 00"),
         "record 2: the baud code is not known"},
        {"trimble", fileOf("01 06 0D 01 06 00 00 00 09 00"), "record 9: not known"},
        {"trimble", fileOf("01 06 0D 01 06 00 00"), "a record is cut off"},
        {"trimble", fileOf("07 08 0A 01 0E 00 01 00 00 00"), "record 7: the frequency is not known"},
        {"trimble",
         fileOf("03 25 00 00 4142434445464748 7FF8000000000000 0000000000000000 0000000000000000 0000 00"),
         "record 3: the latitude is beyond 90 degrees"},
        {"cmc", spoiled(message(91, hex("0000")), 1), "wrong checksum"},
        {"cmc", message(92, hex("0000")), "unknown message"},
        {"cmc", message(83, hex("0000")), "wrong length"},
        {"cmc", message(80, "UGPS-A" + std::string(26, '\0')), "wrong password"},
        {"nmea", "$PASHS,SEM,OFF*4E\r\n", "wrong checksum"},
        {"nmea", "$PASHS,SPD,A,-12*5D\r\n", "an argument is out of range"},
        {"nmea", "$PASHS,NME,GGA,E,ON,1\r\n", "an argument is not known"},
        {"nmea", "$PASHS,NME,GGA,A,ON,1,2\r\n", "there are too many arguments"},
        {"nmea", "$PASHS,FUN\r\n", "unknown command"},
        {"nmea", "$GPHDT,,T*1B\r\n", "not a command of this receiver"},
        {"maker", spoiled(rm, 3), "wrong checksum"},
        {"maker", spoiled(rm, 1), "the frame does not end where its length says"},
        {"maker", text(makerFrame("RM", 0x17, vkcomm::bytesOf("\x05"))), "unknown selector"},
        {"maker", frame("XX", "\x05"), "unknown command"},
        {"maker", frame("RQ", "\x05"), "wrong number of values"},
        {"maker", frame("RZ", "freboot\r\n"), "Invalid Message ID"},
        {"maker", spoiled(mask, 3), "wrong checksum"},
        {"maker", text(ownFrame(151, 1, {})), "unknown block"},
        {"tsip", text(tsipFrame({0x82, {0x10}})), "unknown packet"},
        {"csi", "$JFLASH\r\n", "unknown command"},
    };

    for (const auto& c : cases) {
        const auto receiver = fresh(c.family);
        send(*receiver, c.sent);
        ASSERT_EQ(receiver->refused(), 1u) << c.family << ' ' << spelled(c.sent);
        EXPECT_EQ(receiver->notes().back().problem, c.problem) << spelled(c.sent);
        EXPECT_EQ(receiver->obeyed(), 0u) << spelled(c.sent);
        EXPECT_EQ(receiver->state(), "") << spelled(c.sent);
    }
    const auto board = fresh("oem4");
    send(*board, passThroughLine(vkcomm::bytesOf(spoiled(rm, 3))));
    EXPECT_EQ(refusals(*board), Lines{"$$RM: wrong checksum"});
}

struct Effect {
    std::string answer, rest, state;
    Lines refused;
    std::uint64_t obeyed = 0;

    friend bool operator==(const Effect&, const Effect&) = default;
};

Effect effectOf(const char* family, std::string_view bytes, std::size_t piece) {
    const auto receiver = fresh(family);
    Effect effect;
    for (; !bytes.empty(); bytes.remove_prefix(std::min(piece, bytes.size()))) {
        const Reaction reaction = send(*receiver, bytes.substr(0, piece));
        effect.answer += text(reaction.answer);
        effect.rest += text(reaction.rest);
        EXPECT_LE(receiver->held(), CommandedReceiver::kMostHeld);
    }
    effect.state = receiver->state();
    effect.refused = refusals(*receiver);
    effect.obeyed = receiver->obeyed();
    return effect;
}

// Corrections between the commands are neither obeyed nor refused, whatever of a command's they look like.
TEST(Commands, StandApartFromCorrections) {
    const std::string rtcm3 =
        hex("D3 00 13 3E D7 D3 02 02 98 0E DE EF 34 B4 BD 62 AC 09 41 98 6F 33 36 0B 98");
    const std::string cmr = packet(0x94, "\r\nunlogall\r\n");
    const std::pair<const char*, std::string> cases[] = {
        {"oem4", "ecutoff 10\r\n"},
        {"javad", "%%set,pos/elm,10\r\n"},
        {"trimble", fileOf("01 06 0D 01 06 00 00 00")},
        {"cmc", message(91, hex("0101"))},
        {"nmea", "$PASHS,SEM,OFF\r\n"},
        {"maker", frame("RM", "\x05")},
    };
    for (const auto& [family, command] : cases) {
        std::string all, corrections;
        for (int times = 0; times < 2; ++times) {
            all.append(rtcm3).append(command).append(cmr);
            corrections.append(rtcm3).append(cmr);
        }
        const Effect whole = effectOf(family, all, all.size());
        const bool hearsThem = std::string_view(family) != "maker";
        EXPECT_EQ(whole.rest, hearsThem ? corrections : "") << family;
        EXPECT_EQ(whole.refused, Lines()) << family;
        EXPECT_EQ(whole.obeyed, 2u) << family;
        for (const std::size_t piece : {1u, 2u, 3u, 7u})
            EXPECT_EQ(effectOf(family, all, piece), whole) << family << ' ' << piece;
    }
    const Effect framed =
        effectOf("maker", frame("VD", rtcm3.substr(0, 9)) + frame("VD", rtcm3.substr(9)), 4);
    EXPECT_EQ(framed.rest, rtcm3);
    EXPECT_EQ(framed.answer, "");
}

TEST(Commands, NeverKeepMoreThanTheirBound) {
    const std::string junk[] = {std::string(5000, 'x'), std::string(5000, '$'),
                                "@\x01\xFE\xFF\xFF" + std::string(5000, 'x'),
                                "\x10\x1F" + std::string(5000, 'x'), "\xD3\x03\xFF" + std::string(5000, 'x')};
    for (const char* family : {"oem4", "trimble", "javad", "cmc", "csi", "maker", "nmea", "tsip"})
        for (const std::string& each : junk)
            EXPECT_EQ(effectOf(family, each, 1), effectOf(family, each, each.size()))
                << family << ' ' << spelled(each.substr(0, 5));
    const auto receiver = fresh("oem4");
    for (int i = 0; i < 1500; ++i)
        send(*receiver, "nothing\r\n");
    EXPECT_EQ(receiver->notes().size(), CommandedReceiver::kMostNotes);
    EXPECT_EQ(receiver->refused(), 1500u);
    EXPECT_EQ(makeCommandedReceiver("none"), nullptr);
}

}  // namespace
}  // namespace vkcomm::sim
