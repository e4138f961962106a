#include <gtest/gtest.h>

#include <map>

#include "tests/frames/frame_texts.h"
#include "vkcomm/frames/board_frames.h"
#include "vkcomm/frames/maker_frame.h"
#include "vkcomm/frames/receiver_type.h"
#include "vkcomm/frames/send_hex.h"
#include "vkcomm/frames/text_compiler.h"
#include "vkcomm/frames/text_lines.h"

namespace vkcomm::test {
namespace {

TEST(ReceiverTypes, AreAddressedAsTheyListen) {
    const std::map<int, int> selectors = {{0, 0x19}, {1, 0x48},  {3, 0x49},  {4, 0x39},  {5, 0x38},
                                          {9, 0x1B}, {10, 0x3B}, {12, 0x38}, {15, 0x38}, {19, 0x38}};
    const std::string families = "TNC  NNTT     TTT NN";  // of types 0 to 19
    const std::string boards = "     NN    CC  TT   ";    // inside the maker's receivers
    for (const int type :
         {-2, -1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 1 << 30}) {
        const auto receiver = static_cast<GPSOEMTYPE>(type);
        const int selector = selectors.contains(type) ? selectors.at(type) : 0x18;
        EXPECT_EQ(makerSelector(receiver), selector) << type;
        EXPECT_EQ(correctionSelector(receiver), type == 9 || type == 19 ? 0x18 : selector) << type;
        const char family = type >= 0 && type <= 19 ? families[static_cast<std::size_t>(type)] : ' ';
        EXPECT_EQ(" TNC"[static_cast<int>(setupFamily(receiver))], family) << type;
        EXPECT_EQ(isOlderTrimble(receiver), type == 0 || (type >= 14 && type <= 16)) << type;
        const char inside = type >= 0 && type <= 19 ? boards[static_cast<std::size_t>(type)] : ' ';
        EXPECT_EQ(" TNC"[static_cast<int>(boardInside(receiver))], inside) << type;
        EXPECT_EQ(hasDataModem(receiver), type == 18 || type == 19) << type;
    }
}

TEST(TextCompiler, CompilesFields) {
    struct {
        const char* name;
        std::string text;
        int type;
        const char* frame;
    } const cases[] = {
        {"two numbers", "RQ,B4,B1", -1, "24 24 52 51 18 02 04 01 1C 0D 0A"},
        {"the selector of the dialect", "RQ,B4,B1", 1, "24 24 52 51 48 02 04 01 4C 0D 0A"},
        {"a blank announces as well", "RQ B4 B1", -1, "24 24 52 51 18 02 04 01 1C 0D 0A"},
        {"a number above a byte keeps its low one", "RL,B300", 6, "24 24 52 4C 18 01 2C 2B 0D 0A"},
        {"all widths, low byte first, either case", "XY,b-1,w4660,L-1640531534,S", 6,
         "24 24 58 59 18 07 FF 34 12 B2 79 37 9E A5 0D 0A"},
        {"a letter that nothing announces is ignored", "RMB5", -1, "24 24 52 4D 18 00 07 0D 0A"},
        {"a field uses the announcement up", "RM,B5B6", -1, "24 24 52 4D 18 01 05 03 0D 0A"},
        {"a number that is not there gives nothing", "RM,B,Bx,B99999999999999999999,B5", -1,
         "24 24 52 4D 18 01 05 03 0D 0A"},
        {"one that is not there uses the announcement up", "RM,BB5", -1, "24 24 52 4D 18 00 07 0D 0A"},
        {"blanks and a sign before a number", "RM,B +5", -1, "24 24 52 4D 18 01 05 03 0D 0A"},
        {"two signs are no number", "RM,B+-5", -1, "24 24 52 4D 18 00 07 0D 0A"},
        {"what is skipped leaves the announcement", "RM,?7B5", -1, "24 24 52 4D 18 01 05 03 0D 0A"},
        {"text is the rest as it stands",
         "1a2b,S"
         "Hello, B5",
         -1, "24 24 61 62 18 09 48 65 6C 6C 6F 2C 20 42 35 2B 0D 0A"},
        {"a zero inside is a character", std::string("VL,Sa\0b", 7), -1,
         "24 24 56 4C 18 03 61 00 62 02 0D 0A"},
        {"no letter", "", -1, "24 24 00 0D 0A"},
        {"one letter", "12,R,4", -1, "24 24 52 52 0D 0A"},
    };

    for (const auto& c : cases)
        EXPECT_EQ(spelled(compileMakerText(c.text, static_cast<GPSOEMTYPE>(c.type))), c.frame) << c.name;
}

TEST(TextCompiler, StaysWithinItsBounds) {
    struct {
        const char* name;
        std::string text;
        std::size_t frame;
    } const cases[] = {
        {"text above a split payload", std::string("VL,S").append(56, 'x'), 65},
        {"the longest text that fits", std::string("VL,S").append(247, 'x'), 256},
        {"a longer one", std::string("VL,S").append(4096, 'x'), 256},
        {"numbers without end", std::string("VS").append(4096, ','), 9},
        {"numbers past the end",
         [] {
             std::string text = "VS";
             for (int i = 0; i < 300; ++i)
                 text += ",L1";
             return text;
         }(),
         256},
        {"a letter behind 1023 characters", std::string("V").append(1022, '1') + "S", 6},
        {"a letter just before that", std::string("V").append(1021, '1') + "S,B5", 9},
    };

    for (const auto& c : cases)
        EXPECT_EQ(compileMakerText(c.text, OEM_NONE).size(), c.frame) << c.name;
    std::string text = "VS";
    for (int i = 0; i < 123; ++i)
        text += ",W1";
    const Bytes halfInside = compileMakerText(text + ",L2", OEM_NONE);  // 246 bytes, then four
    ASSERT_EQ(halfInside.size(), 256u);
    EXPECT_EQ(spelled(ByteSpan(halfInside).subspan(250, 3)), "01 00 02");
}

TEST(MakerFrames, SplitAndJoin) {
    struct {
        std::size_t size;
        std::vector<std::size_t> frames, corrections;
    } const cases[] = {
        {0, {9}, {}},
        {54, {63}, {63}},
        {55, {64}, {64}},
        {56, {64, 10}, {64, 10}},
        {110, {64, 64, 9}, {64, 64}},
        {255, {64, 64, 64, 64, 44}, {64, 64, 64, 64, 44}},
    };

    for (const auto& c : cases) {
        const Bytes bytes = counted(c.size);
        for (const bool correction : {false, true}) {
            Bytes joined;
            std::vector<std::size_t> sizes;
            for (const Bytes& frame :
                 correction ? correctionFrames(OEM_TYPE_12, bytes) : makerFrames("RZ", OEM_TYPE_12, bytes)) {
                EXPECT_TRUE(isOneRecord(frame, LOG_VAREK_REPLY)) << spelled(frame);
                EXPECT_EQ(text(frame).substr(0, 5), "$$RZ8");
                joined.insert(joined.end(), frame.begin() + 6, frame.end() - 3);
                sizes.push_back(frame.size());
            }
            EXPECT_EQ(joined, bytes);
            EXPECT_EQ(sizes, correction ? c.corrections : c.frames) << c.size;
        }
    }
    EXPECT_EQ(makerFrames("RZ", OEM_NONE, counted(4096)).size(), 75u);
}

TEST(MakerFrames, CarryWhatIsAsked) {
    EXPECT_EQ(spelled(correctionFrames(OEM_TYPE_9, Bytes{7})[0]), "24 24 56 44 18 01 07 0C 0D 0A");
    EXPECT_EQ(spelled(correctionFrames(OEM_TYPE_11, Bytes{7})[0]), "24 24 52 5A 18 01 07 16 0D 0A");
    EXPECT_EQ(spelled(makerFrame("SI", 0x1B, {})), "24 24 53 49 1B 00 01 0D 0A");
    EXPECT_TRUE(makerFrame("S", 0x18, {}).empty());
    EXPECT_EQ(makerFrame("SIX", 0x18, counted(247)).size(), 256u);
    EXPECT_TRUE(makerFrame("SI", 0x18, counted(248)).empty());
}

TEST(BoardFrames, AreRightToTheLastByte) {
    struct {
        const char* name;
        Bytes frame;
        const char* bytes;
    } const cases[] = {
        {"serial query", trimblePacket(0x06, {}), "02 00 06 00 06 03"},
        {"satellite query", trimblePacket(0x54, Bytes{1, 5, 0}), "02 00 54 03 01 05 00 5D 03"},
        {"version query", cmcMessage(45, false, {}), "01 2D D2 00 00 01"},
        {"the same of an id with bit 7", cmcMessage(0xAD, false, {}), "01 2D D2 00 00 01"},
        {"position, repeated", cmcMessage(20, true, {}), "01 94 6B 00 00 01"},
        {"a data byte 10h", tsipFrame({0x82, {0x10}}), "10 82 10 10 10 03"},
        {"no data", tsipFrame({0x24, {}}), "10 24 10 03"},
        {"the masks of a maker's receiver", ownFrame(0x98, 1, Bytes{0x0A, 0x05}),
         "40 98 67 04 00 01 00 0A 05 B5 CA 0D 0A"},
        {"the same, asked for", ownFrame(0x98, 0x1234, {}), "40 98 67 02 00 34 12 9B 5C 0D 0A"},
    };

    for (const auto& c : cases)
        EXPECT_EQ(spelled(c.frame), c.bytes) << c.name;
    const Bytes longer = ownFrame(1, 0x1234, Bytes(300));
    EXPECT_EQ(spelled(ByteSpan(longer).first(7)), "40 01 FE 2E 01 34 12");
    EXPECT_EQ(spelled(ByteSpan(longer).last(4)), "B6 05 0D 0A");
}

TEST(BoardFrames, AreReadByTheDecoder) {
    for (std::size_t size = 0; size <= 252; ++size) {
        const Bytes packet = trimblePacket(0x64, counted(size));
        EXPECT_TRUE(isOneRecord(packet, LOG_TRIMBLE_PACKET)) << size;
        EXPECT_TRUE(trimblePacketChecks(packet)) << size;
        EXPECT_TRUE(isOneRecord(cmcMessage(80, size % 2 == 0, counted(size)), LOG_CMC_BINARY)) << size;
    }
}

TEST(BoardFrames, RefuseWhatTheirLengthCannotHold) {
    EXPECT_EQ(trimblePacket(1, counted(255)).size(), 261u);
    EXPECT_TRUE(trimblePacket(1, counted(256)).empty());
    EXPECT_EQ(cmcMessage(1, false, counted(255)).size(), 261u);
    EXPECT_TRUE(cmcMessage(1, false, counted(4096)).empty());
    EXPECT_EQ(ownFrame(1, 1, counted(65533)).size(), 65544u);
    EXPECT_TRUE(ownFrame(1, 1, counted(65534)).empty());
    for (const Bytes& bytes :
         {Bytes{}, Bytes{0x02}, Bytes{0x02, 0x03}, Bytes{0x02, 0x00, 0x06, 0x00, 0x07, 0x03}})
        EXPECT_FALSE(trimblePacketChecks(bytes)) << spelled(bytes);
}

TEST(TextLines, CarryTheirChecksums) {
    const std::pair<std::string, std::string> cases[] = {
        {starLine("$PASHR,ACK"), "$PASHR,ACK*3D\r\n"},
        {starLine("?PASHR,NAK"), "?PASHR,NAK*30\r\n"},
        {starLine("$GPHDT,,T"), "$GPHDT,,T*1B\r\n"},
        {starLine("$"), "$*00\r\n"},
        {starLine(""), "*00\r\n"},
        {javadLine("%%set,rover/mode/,off"), "%%set,rover/mode/,off@32\r\n"},
        {javadLine(" \t print,/par/rcv/id\r\n"), "print,/par/rcv/id@3B\r\n"},
        {javadLine("  "), "@40\r\n"},
        {sendHexLine(2, vkcomm::bytesOf(std::string_view("\x01\xAB\0", 3))), "SENDHEX COM2 3 01AB00\r\n"},
        {sendHexLine(-1, {}), "SENDHEX COM-1 0 \r\n"},
        {passThroughLine(Bytes{0x24, 0xFF}), "SENDHEX COM2 16 AA44120A000000000200"
                                             "24FF00000000\r\n"},
        {lowBytes(L"A\x0142\x2603"), "AB\x03"},
    };
    for (const auto& [line, expected] : cases)
        EXPECT_EQ(line, expected);
    EXPECT_EQ(passThroughLine(counted(255)).substr(0, 42), "SENDHEX COM2 269 AA44120A00000000FF0000010");
    EXPECT_EQ(passThroughLine(counted(256)), "");
}

}  // namespace
}  // namespace vkcomm::test
