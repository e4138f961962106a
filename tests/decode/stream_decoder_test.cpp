#include "vkcomm/decode/stream_decoder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "tests/decode/frames.h"

namespace vkcomm::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::string_literals;

const std::string kGga = sentence("GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,");
const std::string kPayload = "\x01\x02payload$\xAA\x44";

// The sentence as the record that stands at offset.
Record gga(std::uint64_t offset, int missing = 0) {
    const auto size = static_cast<int>(kGga.size());
    return {LOG_NMEA, 1, size, kGga, offset, size - missing};
}

struct FrameCase {
    const char* name;
    std::string stream;
    int type;
    unsigned id;
    int size = 0;      // 0: the whole stream; -1: the frame settles none
    int consumed = 0;  // 0: as size
};

// clang-format off
const FrameCase kFrames[] = {
    {"cmc", cmc(20, kPayload), LOG_CMC_BINARY, 20},
    {"cmc longest", cmc(33, std::string(252, '\xFF')), LOG_CMC_BINARY, 33, 258},
    {"trimble", trimble(0x40, kPayload), LOG_TRIMBLE_PACKET, 0x40},
    {"trimble longest", trimble(0x57, std::string(252, '\xFF')), LOG_TRIMBLE_PACKET, 0x57, 258},
    {"oem4 longest", oem4(43, std::string(8160, 'x')), LOG_OEM4_BINARY, 43, 8192},
    {"at block", atBlock(9, kPayload), LOG_AT_BINARY, 9, 20, 22},
    {"at block not a record", "@\x01\x02", LOG_NONE, 0, -1, 3},
    {"radio 48", summedTo255(hex("f51120aabbcc")) + std::string(41, 'r'), LOG_RADIO, 0, 48},
    {"radio 48 id 1", summedTo255(hex("f51120000320")) + std::string(41, 'r'), LOG_RADIO, 1, 48},
    {"radio 48 id 2", summedTo255(hex("f51120000400")) + std::string(41, 'r'), LOG_RADIO, 2, 48},
    {"radio 24", summedTo255(hex("f51108000300")) + std::string(17, 'r'), LOG_RADIO, 115, 24},
    {"radio 19", summedTo255(hex("f511030002d8")) + std::string(12, 'r'), LOG_RADIO, 110, 19},
    {"radio 29", summedTo255(hex("f5110d000520")) + std::string(22, 'r'), LOG_RADIO, 133, 29},
    {"radio unknown header", summedTo255(hex("f51108000301")), LOG_NONE, 0, -1, 7},
    {"short radio 27", summedTo255(hex("f2230f")) + std::string(23, 'r'), LOG_RADIO, 111, 27},
    {"short radio 13", summedTo255(hex("f22304")) + std::string(9, 'r'), LOG_RADIO, 112, 13},
    {"short radio 19", summedTo255(hex("f22301")) + std::string(15, 'r'), LOG_RADIO, 113, 19},
    {"short radio 27b", summedTo255(hex("f22300")) + std::string(23, 'r'), LOG_RADIO, 114, 27},
    {"short radio unknown", summedTo255(hex("f22302")), LOG_NONE, 0, -1, 4},
    {"radio ff long", hex("ff0000120000") + std::string(41, 'r'), LOG_RADIO, 0, 47},
    {"radio ff short", hex("ff0000110000") + std::string(22, 'r'), LOG_RADIO, 0, 28},
    {"radio settles", hex("f110fe50"), LOG_RADIO, 3},
    {"tilde", "~\x01\xFF~", LOG_MODEM_REPLY, 3},
    {"maker known", maker("RK", kPayload), LOG_VAREK_REPLY, 129},
    {"maker unknown", maker("AB", ""), LOG_VAREK_REPLY, 'A' * 256 + 'B', 9},
    {"hemisphere", hemisphere(99, kPayload), LOG_HEMISPHERE_BINARY, 99},
    {"hemisphere longest", hemisphere(1, std::string(8180, '\xFF')), LOG_HEMISPHERE_BINARY, 1},
    {"gga", kGga, LOG_NMEA, 1},
    {"lf only", sentence("GPZDA,1,2").substr(0, 13) + "\n", LOG_NMEA, 8},
    {"oem4 ascii", asciiLog("BESTPOSA,COM1;1,2"), LOG_OEM4_ASCII, 42},
    {"oem4 ascii unknown", asciiLog("NOSUCHLOGA,COM1;1"), LOG_OEM4_ASCII, 0},
    {"transparent off", "$TRANSPARENTMODE OFF\r\n", LOG_STATUS_TEXT, 0},
    {"transparent on", "$TRANSPARENTMODE ON\r\n", LOG_STATUS_TEXT, 1},
    {"jshow", "$>JSHOW,BAUD,19200\xC3\n", LOG_CSI_REPLY, 150},
    {"csi reply", "$>ok, text\r\n", LOG_CSI_REPLY, 150, -1, 1},
    {"percent", "%RE012\r\n", LOG_PERCENT, 'E', 7, 8},
    {"percent block", "%G" + std::string(154, '\xAA'), LOG_PERCENT, 'G', -1, 156},
    {"error", "<ERROR:no\r\n", LOG_REPLY_ERROR, 19},
    {"cr lf", "\r\n", LOG_STATUS_TEXT, 8},
    {"lf cr lf", "\n\r\n", LOG_STATUS_TEXT, 8},
    {"tuned", "FSU Tuned\n", LOG_STATUS_TEXT, 9},
    {"detuned", "FSU DeTuned\n", LOG_STATUS_TEXT, 10},
    {"invalid other", "Invalid?\n", LOG_STATUS_TEXT, 19},
    {"nvm", "NVM Error - Unable To Save\n", LOG_STATUS_TEXT, 20},
    {"prompt line 1", "Com1>\r\n", LOG_PORT_PROMPT, 2},
    {"prompt and more", "Com2>log\n", LOG_PORT_PROMPT, 6, 5},
};

// clang-format on

TEST(Frames, ComeOutWholeAndByteByByte) {
    for (const FrameCase& c : kFrames)
        for (const std::size_t chunk : {4096u, 64u, 1u}) {
            if (chunk == 1 && c.type == LOG_PORT_PROMPT) continue;  // taken before its line end
            CNOut decoder;
            NotedClock clock;
            decoder.vSetClock(clock);
            decoder.vSetTildeFrames(1);
            const std::vector<Record> records = decodeAll(decoder, c.stream + "\x03\x03\x03", chunk);
            ASSERT_FALSE(records.empty()) << c.name;
            Record record = records.front();
            if (c.size < 0) record.size = -1;
            const int size = c.size != 0 ? c.size : static_cast<int>(c.stream.size());
            const int consumed = c.consumed != 0 ? c.consumed : size;
            const int kept = size < 0 ? consumed : size;
            std::string bytes = c.stream.substr(0, static_cast<std::size_t>(kept));
            if (c.name == "percent"s) bytes = "%E012\r\n";
            EXPECT_EQ(record, (Record{c.type, c.id, size, bytes, 0, consumed})) << c.name << " by " << chunk;
        }
    CNOut decoder;  // text sentences masked off
    decoder.vSetDecodeMask(kDecodeMaker);
    EXPECT_THAT(decodeAll(decoder, "$GPGGA,\r\n"), ElementsAre(Record{LOG_NONE, 0, 0, "$", 0, 1}));
}

std::string damaged(std::string frame, std::size_t at) {
    frame[at] = chr(byteOf(frame[at]) ^ 0x04);
    return frame;
}

// A whole sentence stands behind the damage and must come out at once and alone.
TEST(Frames, BehindDamageAreFound) {
    const std::string otherHeader = hex("aa44121d") + std::string(24, '\0');

    struct Case {
        const char* name;
        std::string stream;
    };

    // clang-format off
    const Case cases[] = {
        {"cmc sum", damaged(cmc(20, "abc"), 8)},
        {"cmc complement", damaged(cmc(20, "abcdefgh"), 2)},
        {"cmc length 253", hex("0114ebfd")},
        {"trimble length 253", hex("020040fd")},
        {"trimble etx", damaged(trimble(0x40, "abc"), 8)},
        {"trimble sum", damaged(trimble(0x40, "abc"), 5)},
        {"oem4 crc", damaged(oem4(42, "abcd"), 30)},
        {"oem4 header length", otherHeader + little(slowCrc(otherHeader), 4)},
        {"oem4 too long by a byte", hex("aa44121c2a000020e11f").append(18, '\0')},
        {"maker xor", damaged(maker("RK", "abc"), 7)},
        {"hemisphere sum", damaged(hemisphere(1, "abc"), 9)},
        {"hemisphere line end", damaged(hemisphere(1, "abc"), 13)},
        {"hemisphere too long", "$BIN" + hex("0100ffff")},
        {"sentence xor", damaged(sentence("GPZDA,1"), 7)},
        {"sentence without star", "$GPZDA,1,2\r\n"},
        {"sentence unknown", sentence("XXYYY,1,2")},
        {"sentence with a control byte", "$GPZDA,\x07\x31\r\n"},
        {"sentence cut", "$GPGGA,1234"},
        {"ascii log crc", "#BESTPOSA,1;2*00000000\r\n"},
        {"jshow without end", "$>JSHOW" + std::string(8200, '\xC3')},
        {"fix of the wrong length", "FSU\r"},
        {"letters", "CFINO[COM4]"},
    };
    // clang-format on
    for (const Case& c : cases) {
        CNOut decoder;
        decoder.vSetDecodeMask(kDecodeAll & ~(kDecodeTsip | kDecodeRadio | kDecodePercent | kDecodeAt));
        feed(decoder, c.stream + kGga);
        std::vector<Record> records = readAll(decoder);
        std::erase_if(records, [](const Record& record) { return record.bytes == "\r\n"; });
        EXPECT_THAT(records, ElementsAre(gga(c.stream.size()))) << c.name;
    }
}

TEST(StreamDecoder, NamesThePlacesWhereArrivalMatters) {
    CNOut decoder;
    feed(decoder, "Com1>");
    EXPECT_THAT(readAll(decoder), ElementsAre(Record{LOG_PORT_PROMPT, 5, 5, "Com1>", 0, 5}));
    feed(decoder, "Co");
    EXPECT_THAT(readAll(decoder), IsEmpty());
    feed(decoder, "m2>");
    EXPECT_THAT(readAll(decoder), ElementsAre(Record{LOG_PORT_PROMPT, 6, 5, "Com2>", 5, 5}));

    feed(decoder, kGga.substr(0, kGga.size() - 1));
    EXPECT_THAT(readAll(decoder), ElementsAre(gga(10, 1)));
    feed(decoder, "\n" + kGga);
    EXPECT_EQ(readAll(decoder).size(), 1u) << "the late LF is a lead of its own";
}

TEST(StreamDecoder, OverflowLosesEverythingAndSaysSo) {
    CNOut decoder;
    const std::string half(8000, 'A');
    feed(decoder, "$" + half);
    EXPECT_EQ(decoder.Read(), CNOut::RETURN_INCOMPLETE);
    feed(decoder, half);
    EXPECT_EQ(decoder.Set(reinterpret_cast<const unsigned char*>(half.data()), 8000), BUFFER_SET_OVERFLOW);
    feed(decoder, kGga);
    EXPECT_THAT(decodeAll(decoder, ""), ElementsAre(gga(24001)));
    EXPECT_EQ(decoder.Counters().dropped, 24001u);
}

TEST(StreamDecoder, TsipBytesCarryTheLastRecordAccepted) {
    CNOut decoder;
    const std::string packet = trimble(0x40, "abc");
    const std::string bad = damaged(trimble(0x41, "abcdefgh"), 6);
    const std::vector<Record> records = decodeAll(decoder, packet + bad + "\x10\x10");
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[1], (Record{LOG_TSIP, 0, 10, "\x10", packet.size() + bad.size(), 1}));
    EXPECT_EQ(records[2].size, 11);

    CNOut fresh;
    const std::vector<Record> many = decodeAll(fresh, std::string(9000, '\x10'));
    EXPECT_EQ(many.size(), 9000u);
    EXPECT_EQ(many.back().size, 8191);
}

TEST(StreamDecoder, SleepsThroughItsClockWithoutItsLock) {
    class Feeder final : public Clock {
    public:
        explicit Feeder(CNOut& decoder) : m_decoder(decoder) {}

        std::chrono::milliseconds now() override { return {}; }

        void sleep(std::chrono::milliseconds time) override {
            slept += time;
            feed(m_decoder, kGga);  // would wait for ever if the lock were held
        }

        std::chrono::milliseconds slept{0};

    private:
        CNOut& m_decoder;
    };

    CNOut decoder;
    Feeder clock(decoder);
    decoder.vSetClock(clock);
    feed(decoder, hex("f110fe50"));
    EXPECT_EQ(decoder.Read(), CNOut::RETURN_COMPLETE);
    EXPECT_EQ(clock.slept, std::chrono::milliseconds(3000));
    EXPECT_EQ(readAll(decoder).size(), 1u);
}

TEST(StreamDecoder, CountsWhatItSaw) {
    CNOut decoder;
    decoder.vSetDecodeMask(kDecodeSentence | kDecodeCmc);
    const std::string unknown = sentence("XXYYY,1");
    const std::string stream = "garbage" + kGga + damaged(cmc(20, "abc"), 4) + unknown + kGga + "$GPG";
    decodeAll(decoder, stream);
    const DecoderCounters counters = decoder.Counters();
    EXPECT_EQ(counters.received, stream.size());
    EXPECT_EQ(counters.dropped, stream.size() - 2 * kGga.size());
    EXPECT_EQ(counters.records[LOG_NMEA], 2u);
    EXPECT_EQ(counters.rejected[LOG_CMC_BINARY], 1u);
    EXPECT_EQ(counters.unknownSentences, 1u);
}

TEST(StreamDecoder, CopiesHaveTheSameBytesAndLiveApart) {
    auto decoder = std::make_unique<CNOut>();
    feed(*decoder, kGga + kGga.substr(0, 20));
    EXPECT_EQ(readAll(*decoder).size(), 1u);
    CNOut copy(*decoder);
    CNOut assigned;
    assigned = *decoder;
    decoder.reset();
    for (CNOut* each : {&copy, &assigned}) {
        EXPECT_EQ(bytesOf(*each), kGga);
        feed(*each, kGga.substr(20));
        EXPECT_THAT(readAll(*each), ElementsAre(gga(kGga.size())));
    }
}

TEST(StreamDecoder, IsFedByOneThreadAndReadByAnother) {
    constexpr int kSentences = 20000;
    CNOut decoder;
    std::thread feeder([&decoder] {
        for (int i = 0; i < kSentences; ++i) {
            while (decoder.iBytesInRxBuf() > 8192)
                std::this_thread::yield();
            feed(decoder, kGga.substr(0, 30));
            feed(decoder, kGga.substr(30));
        }
    });
    int seen = 0;
    while (seen < kSentences)
        if (decoder.Read() == CNOut::RETURN_COMPLETE) {
            ASSERT_EQ(bytesOf(decoder), kGga);
            ++seen;
        }
    feeder.join();
    EXPECT_EQ(decoder.Counters().dropped, 0u);
}

}  // namespace
}  // namespace vkcomm::test
