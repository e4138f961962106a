#include <gtest/gtest.h>

#include <random>

#include "tests/decode/laws.h"

namespace vkcomm::test {
namespace {

struct Sample {
    const char* name;
    std::string frame;
    std::uint32_t mask;
};

// One frame a family, with the mask a host would set for it.
const std::vector<Sample>& samples() {
    static const std::vector<Sample> all{
        {"sentence", sentence("GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,"),
         kDecodeSentence},
        {"ascii log", asciiLog("BESTPOSA,COM1,0,83.5;SOL_COMPUTED,SINGLE,51.15"),
         kDecodeOem4Ascii | kDecodeSentence},
        {"oem4", oem4(42, std::string(72, 'q')), kDecodeOem4Ascii | kDecodeSentence | kDecodePortBanner},
        {"cmc", cmc(20, std::string(71, '\x20')), kDecodeCmc | kDecodeSentence},
        {"trimble", trimble(0x40, std::string(90, '\x40')), kDecodeTrimble | kDecodeSentence},
        {"hemisphere", hemisphere(1, std::string(52, '\x01')), kDecodeHemisphere | kDecodeSentence},
        {"maker", maker("SI", std::string(40, 'm')), kDecodeMaker | kDecodeSentence},
        {"reply", "<OK\r\n", kDecodeReply},
        {"banner", "[COM2]", kDecodePortBanner},
        {"status", "Invalid Command Name\r\n", kDecodeStatusText},
    };
    return all;
}

// Leads with a header that promises a long frame, and what makes them wait or be refused.
const std::vector<std::string>& falseHeads() {
    // clang-format off
    static const std::vector<std::string> heads{
        "", hex("aa44121c2a000020e01f"), hex("0114ebfc"), hex("020040fc"), "$$RK\x07\xFF",
        "$BIN" + hex("0100e01f"), "$GPGGA,1", "#BESTPOSA,", "$>JSHOW", "Invalid", "Com", "[COM",
        std::string(30, '\0'),
    };
    // clang-format on
    return heads;
}

TEST(DecoderLaws, AWholeFrameBehindAnyRejectedLeadIsFound) {
    for (const Sample& sample : samples())
        for (const std::string& head : falseHeads())
            for (unsigned lead = 0; lead < 256; ++lead) {
                if (lead == '<' && (sample.mask & kDecodeReply) != 0) continue;  // takes any line
                // a JSHOW text and a known line take everything up to their line end
                if (head == "$>JSHOW" && (sample.mask & kDecodeHemisphere) != 0) continue;
                if (head == "Invalid" && (sample.mask & kDecodeStatusText) != 0) continue;
                // an open sentence and the whole one behind it can happen to pass the XOR together
                if (head.starts_with("$G") && xorSum(head.substr(1) + chr(lead)) == byteOf('$')) continue;
                CNOut decoder;
                decoder.vSetDecodeMask(sample.mask);
                const std::string stream = head + chr(lead) + sample.frame;
                const std::vector<Record> records = decodeAll(decoder, stream);
                ASSERT_FALSE(records.empty()) << sample.name << " behind " << lead << " head " << head;
                ASSERT_EQ(records.back().bytes, sample.frame) << sample.name << " behind " << lead;
            }
}

// With every family on, a few leads use up bytes without a check, as the header of the decoder says.
TEST(DecoderLaws, TheLeadsThatSwallowAreKnown) {
    const std::string frame = oem4(42, std::string(150, '\0'));
    const auto isFoundBehind = [&frame](const std::string& head) {
        CNOut decoder;
        const std::vector<Record> records = decodeAll(decoder, head + frame);
        return !records.empty() && records.back().bytes == frame;
    };
    std::string swallowing;
    for (unsigned lead = 0; lead < 256; ++lead)
        if (!isFoundBehind({chr(lead)})) swallowing += chr(lead);
    EXPECT_EQ(swallowing, "@\xFF");
    EXPECT_FALSE(isFoundBehind("%G"));
    EXPECT_FALSE(isFoundBehind(summedTo255(hex("f51108000300"))));
}

// Frames, damaged frames, heads of frames and garbage in random order.
std::string randomStream(std::mt19937& random) {
    const auto pick = [&random](std::size_t count) { return random() % count; };
    const auto byte = [&] { return chr(static_cast<unsigned>(pick(256))); };
    std::string stream;
    while (stream.size() < 6000) {
        std::string piece = samples()[pick(samples().size())].frame;
        const std::size_t kind = pick(6);
        if (kind == 0) piece[pick(piece.size())] = byte();
        if (kind == 1) piece = falseHeads()[pick(falseHeads().size())];
        if (kind == 2) std::ranges::generate(piece, byte);
        stream += piece;
    }
    return stream;
}

TEST(DecoderLaws, SplittingTheInputChangesNothing) {
    std::mt19937 random(20240229);
    for (int round = 0; round < 150; ++round) {
        const std::string stream = randomStream(random);
        const Law law{kArrivalDoesNotMatter, round % 2 == 1};
        const Decoded whole = decodeUnderLaw(stream, law, [] { return std::size_t{8192}; });
        ASSERT_EQ(whole.broken.value_or(""), "") << "round " << round;
        for (const std::size_t most : {1u, 3u, 64u, 700u}) {
            const Decoded split = decodeUnderLaw(stream, law, [&] { return 1 + random() % most; });
            ASSERT_EQ(split.broken.value_or(""), "") << "round " << round << " pieces to " << most;
            ASSERT_EQ(split.records, whole.records) << "round " << round << " pieces to " << most;
        }
    }
}

}  // namespace
}  // namespace vkcomm::test
