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
const std::string kCmc = cmc(20, "abc");
const std::string kPayload = "\x01\x02payload$\xAA\x44";

// The sentence as the record that stands at offset.
Record gga(std::uint64_t offset, int missing = 0) {
    const auto size = static_cast<int>(kGga.size());
    return {LOG_NMEA, 1, size, kGga, offset, size - missing};
}

std::string radio(std::string_view head, std::size_t count) {
    return summedTo255(hex(head)) + std::string(count, 'r');
}

struct Frame {
    std::string stream;
    unsigned id;
    int size = 0;      // 0: the whole stream; -1: the frame settles none
    int consumed = 0;  // 0: as size
};

struct Family {
    std::uint32_t bits;  // any one of them enables these frames
    int type;
    std::vector<Frame> frames;
};

// clang-format off
const Family kFamilies[] = {
    {0x1000, LOG_CMC_BINARY, {{cmc(20, kPayload), 20}, {cmc(33, std::string(252, '\xFF')), 33}}},
    {0x800, LOG_TRIMBLE_PACKET,
     {{trimble(0x40, kPayload), 0x40}, {trimble(0x57, std::string(252, '\xFF')), 0x57}}},
    {0x80000, LOG_TSIP, {{"\x10", 0}}},
    {0xFFFFFFFF, LOG_OEM4_BINARY, {{oem4(43, std::string(8160, 'x')), 43}}},
    {0x2000, LOG_AT_BINARY,
     {{atBlock(9, kPayload), 9, 20, 22}, {atBlock(9, std::string(1000, 'a')), 9, 1008, 1010},
      {hex("4009f6 01000000 61 9f 0d0a"), 9, 9, 11}}},  // XOR 40h is right too
    {0x2000, LOG_NONE, {{"@\x01\x02", 0, -1, 3}}},
    {0x4000, LOG_RADIO,
     {{radio("f51120aabbcc", 41), 0}, {radio("f51120000320", 41), 1}, {radio("f51120000400", 41), 2},
      {radio("f51108000300", 17), 115}, {radio("f511030002d8", 12), 110}, {radio("f5110d000520", 22), 133},
      {radio("f2230f", 23), 111}, {radio("f22304", 9), 112}, {radio("f22301", 15), 113},
      {radio("f22300", 23), 114}, {hex("ff0000120000") + std::string(41, 'r'), 0},
      {hex("ff0000110000") + std::string(22, 'r'), 0}, {hex("f110fe50"), 3}}},
    {0x4000, LOG_NONE, {{radio("f51108000301", 0), 0, -1, 7}, {radio("f22302", 0), 0, -1, 4}}},
    {0x8000, LOG_VAREK_REPLY, {{maker("RK", kPayload), 129}, {maker("AB", ""), 'A' * 256 + 'B'}}},
    {0x400000, LOG_HEMISPHERE_BINARY,
     {{hemisphere(99, kPayload), 99}, {hemisphere(1, std::string(8180, '\xFF')), 1}}},
    {0x400000, LOG_CSI_REPLY,
     {{"$>JSHOW,BAUD,19200\xC3\n", 150}, {"$>JSHOW" + std::string(8183, '\xC0') + "\n", 150},
      {"$>ok, text\r\n", 150, -1, 1}, {"$>AJBCDE\n", 150, -1, 1}}},
    {0x20, LOG_NMEA, {{kGga, 1}, {sentence("GPZDA,1,2").substr(0, 13) + "\n", 8}}},
    {0x20, LOG_STATUS_TEXT, {{"$TRANSPARENTMODE OFF\r\n", 0}, {"$TRANSPARENTMODE ON\r\n", 1}}},
    {0x1, LOG_OEM4_ASCII, {{asciiLog("BESTPOSA,COM1;1,2"), 42}, {asciiLog("NOSUCHLOGA,COM1;1"), 0}}},
    {0x100000, LOG_PERCENT, {{"%G" + std::string(154, '\xAA'), 'G', -1, 156}}},
    {0x310, LOG_REPLY_ERROR, {{"<ERROR:no\r\n", 19}}},
    {0x310, LOG_REPLY_OK, {{"<OK\r\n", 21}}},
    {0x310, LOG_REPLY_TEXT,
     {{"<" + std::string(8189, 'A') + "\n", 0}, {"<\x1F" + std::string(8187, '~') + "\r\n", 0}}},
    {0x80, LOG_STATUS_TEXT,
     {{"\r\n", 8}, {"\n\r\n", 8}, {"FSU Tuned\n", 9}, {"FSU DeTuned\n", 10}, {"Invalid Command Name\r\n", 11},
      {"Invalid Number of Arguments\r\n", 12}, {"Invalid Logger Datatype\r\n", 13},
      {"Invalid Command Option\r\n", 14}, {"Invalid Channel Number\r\n", 15},
      {"Invalid Satellite Number\r\n", 16}, {"Invalid Doppler\r\n", 17}, {"Invalid Doppler Window\r\n", 17},
      {"Invalid?\n", 19}, {"NVM Error - Unable To Save\n", 20}}},
    {0x400, LOG_PORT_PROMPT, {{"[COM1]log", 2, 6}, {"[COM2]log", 3, 6}, {"[COM3]log", 4, 6}}},
    {0x40400, LOG_PORT_PROMPT,
     {{"Com1>\r\n", 2}, {"Com1>\n", 5}, {"Com1>log version\r\n", 5, 5}, {"Com2>\r\n", 3}, {"Com2>\n", 6},
      {"Com2>log\n", 6, 5}, {"Console>\n", 7}, {"Console>\r\n", 7}}},
    {0x40400, LOG_MODEM_REPLY, {{"CONNECT 9600\r\n", 2}}},
    {0x40000, LOG_MODEM_REPLY,
     {{"OK\r\n", 1}, {"~\x01\xFF~", 3}, {"~" + std::string(8190, 'a') + "~", 3}}},
};

// clang-format on

Record expected(int type, const Frame& frame) {
    const int size = frame.size != 0 ? frame.size : static_cast<int>(frame.stream.size());
    const int consumed = frame.consumed != 0 ? frame.consumed : size;
    const auto kept = static_cast<std::size_t>(size < 0 ? consumed : size);
    return {type, frame.id, size, frame.stream.substr(0, kept), 0, consumed};
}

// The first record of the frame, behind which other bytes stand.
Record firstOf(const Frame& frame, std::uint32_t mask, std::size_t chunk) {
    CNOut decoder;
    NotedClock clock;
    decoder.vSetClock(clock);
    decoder.vSetTildeFrames(1);
    decoder.vSetDecodeMask(mask);
    const std::vector<Record> records = decodeAll(decoder, frame.stream + "\x03\x03\x03", chunk);
    Record first = records.empty() ? Record{} : records.front();
    if (frame.size < 0) first.size = -1;
    return first;
}

TEST(Frames, ComeOutWholeHoweverTheyArriveUnderTheirBitsAlone) {
    for (const auto& [bits, type, frames] : kFamilies)
        for (const Frame& frame : frames) {
            SCOPED_TRACE(frame.stream.substr(0, 30));
            for (const std::size_t chunk : {4096u, 64u, 1u}) {
                if (chunk == 1 && frame.stream.starts_with("Co")) continue;  // taken before its line end
                EXPECT_EQ(firstOf(frame, kDecodeAll, chunk), expected(type, frame)) << "by " << chunk;
            }
            for (std::uint32_t mask = 1; mask != 0; mask <<= 1)
                EXPECT_EQ(firstOf(frame, mask, 4096) == expected(type, frame), (bits & mask) != 0) << mask;
        }
}

// What a record keeps is not always what stands in the stream.
TEST(Frames, ThatAreKeptInAnotherForm) {
    CNOut percent, line, masked;
    EXPECT_THAT(decodeAll(percent, "%RE012\r\n"),
                ElementsAre(Record{LOG_PERCENT, 'E', 7, "%E012\r\n", 0, 8}));
    EXPECT_THAT(decodeAll(line, "<" + std::string(8188, 'A') + "\rB"),
                ElementsAre(Record{LOG_REPLY_TEXT, 0, 8191, "<" + std::string(8188, 'A') + "\r\n", 0, 8190}));
    masked.vSetDecodeMask(kDecodeMaker);
    EXPECT_THAT(decodeAll(masked, "$GPGGA,\r\n"), ElementsAre(Record{LOG_NONE, 0, 0, "$", 0, 1}));
}

TEST(Frames, OfTextEndInAZero) {
    for (const auto& [bits, type, frames] : kFamilies) {
        if (type != LOG_STATUS_TEXT && type != LOG_PORT_PROMPT && type != LOG_MODEM_REPLY) continue;
        for (const Frame& frame : frames) {
            if (frame.stream.size() == CNOut::kRecordSize) continue;  // leaves no room for one
            CNOut decoder;
            decoder.vSetTildeFrames(1);
            feed(decoder, "<what a longer line leaves in the record would be seen\r\n" + frame.stream);
            ASSERT_EQ(decoder.Read() + decoder.Read(), 2 * CNOut::RETURN_COMPLETE);
            EXPECT_EQ(reinterpret_cast<const char*>(decoder.Get()), expected(type, frame).bytes);
        }
    }
}

std::string damaged(std::string frame, std::size_t at) {
    frame[at] = chr(byteOf(frame[at]) ^ 0x04);
    return frame;
}

// A whole sentence stands behind the damage and must come out at once and alone.
TEST(Frames, BehindDamageAreFound) {
    const std::string otherHeader = hex("aa44121d") + std::string(24, '\0');

    // clang-format off
    const std::pair<const char*, std::string> cases[] = {
        {"cmc sum", damaged(cmc(20, "abc"), 8)}, {"cmc complement", hex("01141400 2900")},
        {"cmc length 253", hex("0114ebfd")}, {"trimble length 253", hex("020040fd")},
        {"trimble etx", damaged(trimble(0x40, "abc"), 8)}, {"trimble sum", damaged(trimble(0x40, "abc"), 5)},
        {"oem4 crc", damaged(oem4(42, "abcd"), 30)},
        {"oem4 header length", otherHeader + little(slowCrc(otherHeader), 4)},
        {"oem4 too long by a byte", hex("aa44121c2a000020e11f").append(18, '\0')},
        {"maker xor", damaged(maker("RK", "abc"), 7)}, {"hemisphere sum", damaged(hemisphere(1, "abc"), 9)},
        {"hemisphere line end", damaged(hemisphere(1, "abc"), 13)},
        {"hemisphere too long", "$BIN" + hex("0100ffff")}, {"sentence xor", damaged(sentence("GPZDA,1"), 7)},
        {"sentence without star", "$GPZDA,1,2\r\n"}, {"sentence unknown", sentence("XXYYY,1,2")},
        {"sentence with a control byte", "$GPZDA,\x07\x31\r\n"}, {"sentence cut", "$GPGGA,1234"},
        {"ascii log crc", "#BESTPOSA,1;2*00000000\r\n"},
        {"jshow without end", "$>JSHOW" + std::string(8200, '\xC3')}, {"fix of the wrong length", "FSU\r"},
        {"letters", "CFINO[COM4]"},
    };
    // clang-format on
    for (const auto& [name, stream] : cases) {
        CNOut decoder;
        decoder.vSetDecodeMask(kDecodeAll & ~(kDecodeTsip | kDecodeRadio | kDecodePercent | kDecodeAt));
        feed(decoder, stream + kGga);
        std::vector<Record> records = readAll(decoder);
        std::erase_if(records, [](const Record& record) { return record.bytes == "\r\n"; });
        EXPECT_THAT(records, ElementsAre(gga(stream.size()))) << name;
    }
}

TEST(Frames, BeyondTheirBordersAreRefused) {
    // clang-format off
    const std::string cases[] = {
        "<" + std::string(8190, 'A') + "\n", "<" + std::string(8189, 'A') + "\r\n",
        "<" + std::string(8189, 'A') + "\rA", "<\x1E\n", "<\x7F\n", "$>AIBCDE\n", "$>JT,SX1g\n",
        "$>JSHOW" + std::string(8184, '\xC0') + "\n", "~" + std::string(8191, 'a') + "~",
        atBlock(9, std::string(1001, 'a')), hemisphere(1, std::string(8181, 'a')), hex("f110fe51"),
    };
    // clang-format on
    for (const std::string& stream : cases) {
        CNOut decoder;
        decoder.vSetTildeFrames(1);
        const std::vector<Record> records = decodeAll(decoder, stream);
        EXPECT_TRUE(records.empty() || records[0].offset != 0) << stream.substr(0, 8);
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
    const std::string bad = damaged(trimble(0x41, "abcdefgh"), 6);
    const std::vector<Record> records = decodeAll(decoder, kCmc + bad + "\x10\x10");
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[1], (Record{LOG_TSIP, 20, 10, "\x10", kCmc.size() + bad.size(), 1}));
    EXPECT_EQ(records[2].size, 11);

    CNOut fresh;
    const std::vector<Record> many = decodeAll(fresh, std::string(9000, '\x10'));
    EXPECT_EQ(many.size(), 9000u);
    EXPECT_EQ(many.back().size, 8191);
}

TEST(StreamDecoder, SleepsThroughItsClockWithoutItsLock) {
    struct Feeder final : Clock {
        CNOut decoder;
        std::chrono::milliseconds slept{0};

        std::chrono::milliseconds now() override { return {}; }

        void sleep(std::chrono::milliseconds time) override {
            slept += time;
            feed(decoder, kGga);  // would wait for ever if the lock were held
        }
    };

    Feeder clock;
    CNOut& decoder = clock.decoder;
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

// Each of these wakes a decoder that waits for the rest of a frame.
TEST(StreamDecoder, NoticesWhatChangesTheFrame) {
    const std::pair<const char*, void (*)(CNOut&)> changes[] = {
        {"mask", [](CNOut& decoder) { decoder.vSetDecodeMask(kDecodeCmc); }},
        {"skip", [](CNOut& decoder) { EXPECT_EQ(decoder.bSkipLead(), 1); }},
        {"read",
         [](CNOut& decoder) {
             unsigned char head[4];
             EXPECT_EQ(decoder.eRead(head, 4, 1), CNOut::RETURN_COMPLETE);
             EXPECT_EQ(head[3], 0xFC);
             EXPECT_EQ(decoder.eRead(head, 100, 1), CNOut::RETURN_INCOMPLETE);
         }},
    };
    for (const auto& [name, change] : changes) {
        CNOut decoder;
        feed(decoder, hex("020041fc") + kCmc);
        EXPECT_EQ(decoder.Read(), CNOut::RETURN_INCOMPLETE);
        change(decoder);
        EXPECT_THAT(readAll(decoder), ElementsAre(Record{LOG_CMC_BINARY, 20, 9, kCmc, 4, 9})) << name;
        EXPECT_EQ(decoder.Counters().dropped, 4u) << name;
        EXPECT_EQ(decoder.bSkipLead(), 0) << "nothing is left";
    }
    CNOut tilde;
    tilde.vSetTildeFrames(1);
    feed(tilde, "~");
    unsigned char* space = tilde.SetRequestBufSpace(static_cast<int>(kCmc.size()));
    std::copy(kCmc.begin(), kCmc.end(), space);
    EXPECT_THAT(readAll(tilde), IsEmpty());
    tilde.vSetTildeFrames(0);
    EXPECT_EQ(readAll(tilde).size(), 1u);
    EXPECT_EQ(tilde.Counters().received, 1 + kCmc.size());
}

TEST(StreamDecoder, ClearForgetsEverything) {
    CNOut decoder;
    feed(decoder, trimble(0x40, "abc") + "\x01");
    EXPECT_EQ(readAll(decoder).size(), 1u);
    decoder.Clear();
    EXPECT_EQ(decoder.Size(), 0);
    EXPECT_EQ(decoder.Type(), LOG_NONE);
    feed(decoder, "\x10");
    const std::vector<Record> records = readAll(decoder);
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].id, 0u);
    EXPECT_EQ(records[0].size, 1);
    EXPECT_EQ(decoder.Counters().dropped, 1u);
}

TEST(StreamDecoder, RoomThatLooksFreeIsFree) {
    CNOut decoder;
    const std::string longest = oem4(43, std::string(8160, 'x'));
    feed(decoder, longest + longest);
    EXPECT_EQ(decoder.Read(), CNOut::RETURN_COMPLETE);
    EXPECT_EQ(decoder.iBytesInRxBuf(), 8192);
    feed(decoder, longest);
    EXPECT_EQ(readAll(decoder).size(), 2u);
    EXPECT_EQ(decoder.Counters().dropped, 0u);
}

TEST(StreamDecoder, ByteSums) {
    const std::string frame = hemisphere(1, "abc");
    const auto* bytes = reinterpret_cast<const unsigned char*>(frame.data());
    EXPECT_EQ(CNOut::uCheckSum(bytes + 8, 3), ('a' + 'b' + 'c') % 256u);
    EXPECT_EQ(CNOut::uCheckSum(nullptr, 3), 0u);
    EXPECT_EQ(CNOut::bCheckSumForHemisphere(bytes, static_cast<int>(frame.size())), 1);
    EXPECT_EQ(CNOut::bCheckSumForHemisphere(bytes, static_cast<int>(frame.size()) - 1), 0);
    EXPECT_EQ(CNOut::bCheckSumForHemisphere(bytes, -1), 0);
    EXPECT_EQ(CNOut::bCheckSumForHemisphere(nullptr, 64), 0);
}

}  // namespace
}  // namespace vkcomm::test
