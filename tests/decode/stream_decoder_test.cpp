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

const std::string kGga = sentence("GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,");

struct FrameCase {
    const char* name;
    std::string stream;
    int type;
    unsigned id;
    int size;          // -1: the frame settles none
    int consumed = 0;  // 0: as size
    std::uint32_t mask = kDecodeAll;
};

void PrintTo(const FrameCase& c, std::ostream* out) { *out << c.name; }

class Frames : public testing::TestWithParam<FrameCase> {
protected:
    Record expected() const {
        const FrameCase& c = GetParam();
        const int consumed = c.consumed != 0 ? c.consumed : c.size;
        return {c.type, c.id, c.size, "", 0, consumed};
    }

    // The first record; bytes left out unless the frame settles no size.
    Record first(std::string_view stream, std::size_t chunk) const {
        CNOut decoder;
        NotedClock clock;
        decoder.vSetClock(clock);
        decoder.vSetDecodeMask(GetParam().mask);
        decoder.vSetTildeFrames(1);
        std::vector<Record> records = decodeAll(decoder, stream, chunk);
        if (records.empty()) return {-1, 0, 0, "", 0, 0};
        Record record = records.front();
        const int kept = GetParam().size < 0 ? record.consumed : record.size;
        EXPECT_EQ(record.bytes.size(), static_cast<std::size_t>(kept));
        record.bytes.clear();
        if (GetParam().size < 0) record.size = -1;
        return record;
    }
};

TEST_P(Frames, ComeOutWholeAndByteByByte) {
    const std::string stream = GetParam().stream + "\x03\x03\x03";
    EXPECT_EQ(first(stream, 4096), expected());
    EXPECT_EQ(first(stream, 64), expected());
    if (GetParam().type != LOG_PORT_PROMPT) {
        EXPECT_EQ(first(stream, 1), expected());
    }
}

TEST_P(Frames, AreNothingWithoutTheirBit) {
    if (GetParam().type == LOG_OEM4_BINARY || GetParam().mask != kDecodeAll) GTEST_SKIP() << "always on";
    CNOut decoder;
    decoder.vSetDecodeMask(0);
    EXPECT_THAT(decodeAll(decoder, GetParam().stream), IsEmpty());
    EXPECT_EQ(decoder.Counters().dropped, GetParam().stream.size());
}

const std::string kPayload = "\x01\x02payload$\xAA\x44";

INSTANTIATE_TEST_SUITE_P(
    Binary, Frames,
    testing::Values(
        FrameCase{"cmc", cmc(20, kPayload), LOG_CMC_BINARY, 20, static_cast<int>(kPayload.size()) + 6},
        FrameCase{"cmc longest", cmc(33, std::string(252, '\xFF')), LOG_CMC_BINARY, 33, 258},
        FrameCase{"cmc empty", cmc(7, ""), LOG_CMC_BINARY, 7, 6},
        FrameCase{"trimble", trimble(0x40, kPayload), LOG_TRIMBLE_PACKET, 0x40,
                  static_cast<int>(kPayload.size()) + 6},
        FrameCase{"trimble longest", trimble(0x57, std::string(252, '\xFF')), LOG_TRIMBLE_PACKET, 0x57, 258},
        FrameCase{"oem4", oem4(42, std::string(72, 'x')), LOG_OEM4_BINARY, 42, 104},
        FrameCase{"oem4 without mask", oem4(42, "x"), LOG_OEM4_BINARY, 42, 33, 0, 0},
        FrameCase{"oem4 longest", oem4(43, std::string(8160, 'x')), LOG_OEM4_BINARY, 43, 8192},
        FrameCase{"at block", atBlock(9, kPayload), LOG_AT_BINARY, 9, static_cast<int>(kPayload.size()) + 8,
                  static_cast<int>(kPayload.size()) + 10},
        FrameCase{"at block not a record", "@\x01\x02", LOG_NONE, 0, -1, 3},
        FrameCase{"radio 48", summedTo255(hex("f51120aabbcc")) + std::string(41, 'r'), LOG_RADIO, 0, 48},
        FrameCase{"radio 48 id 1", summedTo255(hex("f51120000320")) + std::string(41, 'r'), LOG_RADIO, 1, 48},
        FrameCase{"radio 48 id 2", summedTo255(hex("f51120000400")) + std::string(41, 'r'), LOG_RADIO, 2, 48},
        FrameCase{"radio 24", summedTo255(hex("f51108000300")) + std::string(17, 'r'), LOG_RADIO, 115, 24},
        FrameCase{"radio 19", summedTo255(hex("f511030002d8")) + std::string(12, 'r'), LOG_RADIO, 110, 19},
        FrameCase{"radio 29", summedTo255(hex("f5110d000520")) + std::string(22, 'r'), LOG_RADIO, 133, 29},
        FrameCase{"radio unknown header", summedTo255(hex("f51108000301")), LOG_NONE, 0, -1, 7},
        FrameCase{"short radio 27", summedTo255(hex("f2230f")) + std::string(23, 'r'), LOG_RADIO, 111, 27},
        FrameCase{"short radio 13", summedTo255(hex("f22304")) + std::string(9, 'r'), LOG_RADIO, 112, 13},
        FrameCase{"short radio 19", summedTo255(hex("f22301")) + std::string(15, 'r'), LOG_RADIO, 113, 19},
        FrameCase{"short radio 27b", summedTo255(hex("f22300")) + std::string(23, 'r'), LOG_RADIO, 114, 27},
        FrameCase{"short radio unknown", summedTo255(hex("f22302")), LOG_NONE, 0, -1, 4},
        FrameCase{"radio ff long", hex("ff0000120000") + std::string(41, 'r'), LOG_RADIO, 0, 47},
        FrameCase{"radio ff short", hex("ff0000110000") + std::string(22, 'r'), LOG_RADIO, 0, 28},
        FrameCase{"radio settles", hex("f110fe50"), LOG_RADIO, 3, 4},
        FrameCase{"tilde", "~\x01\xFF~", LOG_MODEM_REPLY, 3, 4},
        FrameCase{"maker known", maker("RK", kPayload), LOG_VAREK_REPLY, 129,
                  static_cast<int>(kPayload.size()) + 9},
        FrameCase{"maker unknown", maker("AB", ""), LOG_VAREK_REPLY, 'A' * 256 + 'B', 9},
        FrameCase{"hemisphere", hemisphere(99, kPayload), LOG_HEMISPHERE_BINARY, 99,
                  static_cast<int>(kPayload.size()) + 12},
        FrameCase{"hemisphere longest", hemisphere(1, std::string(8180, '\xFF')), LOG_HEMISPHERE_BINARY, 1,
                  8192}));

INSTANTIATE_TEST_SUITE_P(
    Text, Frames,
    testing::Values(FrameCase{"gga", kGga, LOG_NMEA, 1, static_cast<int>(kGga.size())},
                    FrameCase{"lf only", sentence("GPZDA,1,2").substr(0, 13) + "\n", LOG_NMEA, 8, 14},
                    FrameCase{"oem4 ascii", asciiLog("BESTPOSA,COM1;1,2"), LOG_OEM4_ASCII, 42, 29},
                    FrameCase{"oem4 ascii unknown", asciiLog("NOSUCHLOGA,COM1;1"), LOG_OEM4_ASCII, 0, 29},
                    FrameCase{"transparent off", "$TRANSPARENTMODE OFF\r\n", LOG_STATUS_TEXT, 0, 22},
                    FrameCase{"transparent on", "$TRANSPARENTMODE ON\r\n", LOG_STATUS_TEXT, 1, 21},
                    FrameCase{"jshow", "$>JSHOW,BAUD,19200\xC3\n", LOG_CSI_REPLY, 150, 20},
                    FrameCase{"csi reply", "$>ok, text\r\n", LOG_CSI_REPLY, 150, -1, 1},
                    FrameCase{"lone dollar", "$GPGGA,\r\n", LOG_NONE, 0, -1, 1, kDecodeMaker},
                    FrameCase{"percent", "%RE012\r\n", LOG_PERCENT, 'E', 7, 8},
                    FrameCase{"percent block", "%G" + std::string(154, '\xAA'), LOG_PERCENT, 'G', -1, 156},
                    FrameCase{"error", "<ERROR:no\r\n", LOG_REPLY_ERROR, 19, 11},
                    FrameCase{"ok", "<OK\r\n", LOG_REPLY_OK, 21, 5},
                    FrameCase{"reply", "<VERSION COM1\r\n", LOG_REPLY_TEXT, 0, 15},
                    FrameCase{"cr lf", "\r\n", LOG_STATUS_TEXT, 8, 2},
                    FrameCase{"lf cr lf", "\n\r\n", LOG_STATUS_TEXT, 8, 3},
                    FrameCase{"tuned", "FSU Tuned\n", LOG_STATUS_TEXT, 9, 10},
                    FrameCase{"detuned", "FSU DeTuned\n", LOG_STATUS_TEXT, 10, 12},
                    FrameCase{"invalid name", "Invalid Command Name\n", LOG_STATUS_TEXT, 11, 21},
                    FrameCase{"invalid doppler", "Invalid Doppler Window\n", LOG_STATUS_TEXT, 17, 23},
                    FrameCase{"invalid other", "Invalid?\n", LOG_STATUS_TEXT, 19, 9},
                    FrameCase{"nvm", "NVM Error - Unable To Save\n", LOG_STATUS_TEXT, 20, 27},
                    FrameCase{"modem ok", "OK\r\n", LOG_MODEM_REPLY, 1, 4},
                    FrameCase{"connect", "CONNECT 9600\n", LOG_MODEM_REPLY, 2, 13},
                    FrameCase{"banner 1", "[COM1]", LOG_PORT_PROMPT, 2, 6},
                    FrameCase{"banner 3", "[COM3]", LOG_PORT_PROMPT, 4, 6},
                    FrameCase{"prompt line 1", "Com1>\r\n", LOG_PORT_PROMPT, 2, 7},
                    FrameCase{"prompt lf 2", "Com2>\n", LOG_PORT_PROMPT, 6, 6},
                    FrameCase{"prompt and more", "Com2>log\n", LOG_PORT_PROMPT, 6, 5},
                    FrameCase{"console", "Console>\n", LOG_PORT_PROMPT, 7, 9}));

struct RejectCase {
    const char* name;
    std::string stream;
};

void PrintTo(const RejectCase& c, std::ostream* out) { *out << c.name; }

class Rejects : public testing::TestWithParam<RejectCase> {};

std::string damaged(std::string frame, std::size_t at) {
    frame[at] = chr(byteOf(frame[at]) ^ 0x04);
    return frame;
}

// A whole sentence stands behind the damage and must not be lost.
TEST_P(Rejects, FindWhatStandsBehind) {
    CNOut decoder;
    decoder.vSetDecodeMask(kDecodeAll & ~(kDecodeTsip | kDecodeRadio | kDecodePercent | kDecodeAt));
    const std::string stream = GetParam().stream + kGga;
    const std::vector<Record> records = decodeAll(decoder, stream);
    ASSERT_FALSE(records.empty());
    EXPECT_EQ(records.back().bytes, kGga);
    EXPECT_EQ(records.back().offset, GetParam().stream.size());
}

INSTANTIATE_TEST_SUITE_P(
    Damage, Rejects,
    testing::Values(RejectCase{"cmc sum", damaged(cmc(20, "abc"), 8)},
                    RejectCase{"cmc complement", damaged(cmc(20, "abc"), 2)},
                    RejectCase{"cmc length 253", hex("0114ebfd")},
                    RejectCase{"trimble length 255", hex("020040ff")},
                    RejectCase{"trimble etx", damaged(trimble(0x40, "abc"), 8)},
                    RejectCase{"trimble sum", damaged(trimble(0x40, "abc"), 5)},
                    RejectCase{"oem4 crc", damaged(oem4(42, "abcd"), 30)},
                    RejectCase{"oem4 header length", damaged(oem4(42, "abcd"), 3)},
                    RejectCase{"oem4 too long by a byte", hex("aa44121c2a000020e11f").append(18, '\0')},
                    RejectCase{"oem4 short header", hex("aa4413")},
                    RejectCase{"maker xor", damaged(maker("RK", "abc"), 7)},
                    RejectCase{"hemisphere sum", damaged(hemisphere(1, "abc"), 9)},
                    RejectCase{"hemisphere line end", damaged(hemisphere(1, "abc"), 13)},
                    RejectCase{"hemisphere too long", "$BIN" + hex("0100ffff")},
                    RejectCase{"sentence xor", damaged(sentence("GPZDA,1"), 7)},
                    RejectCase{"sentence without star", "$GPZDA,1,2\r\n"},
                    RejectCase{"sentence unknown", sentence("XXYYY,1,2")},
                    RejectCase{"sentence with a control byte", "$GPZDA,\x07\x31\r\n"},
                    RejectCase{"sentence cut", "$GPGGA,1234"},
                    RejectCase{"ascii log crc", "#BESTPOSA,1;2*00000000\r\n"},
                    RejectCase{"jshow without end", "$>JSHOW" + std::string(8200, '\xC3')},
                    RejectCase{"line too long", "$" + std::string(8191, 'A')},
                    RejectCase{"fix of the wrong length", "FSU\r"}, RejectCase{"letters", "CFINO[COM4]"}));

TEST(StreamDecoder, NamesThePlacesWhereArrivalMatters) {
    CNOut decoder;
    feed(decoder, "Com1>");
    EXPECT_THAT(readAll(decoder), ElementsAre(Record{LOG_PORT_PROMPT, 5, 5, "Com1>", 0, 5}));
    feed(decoder, "Co");
    EXPECT_THAT(readAll(decoder), IsEmpty());
    feed(decoder, "m2>");
    EXPECT_THAT(readAll(decoder), ElementsAre(Record{LOG_PORT_PROMPT, 6, 5, "Com2>", 5, 5}));

    feed(decoder, kGga.substr(0, kGga.size() - 1));
    EXPECT_THAT(readAll(decoder), ElementsAre(Record{LOG_NMEA, 1, static_cast<int>(kGga.size()), kGga, 10,
                                                     static_cast<int>(kGga.size()) - 1}));
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
    EXPECT_THAT(decodeAll(decoder, ""), ElementsAre(Record{LOG_NMEA, 1, static_cast<int>(kGga.size()), kGga,
                                                           24001, static_cast<int>(kGga.size())}));
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
        feed(*each, kGga.substr(20));
        EXPECT_THAT(readAll(*each), ElementsAre(Record{LOG_NMEA, 1, static_cast<int>(kGga.size()), kGga,
                                                       kGga.size(), static_cast<int>(kGga.size())}));
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
