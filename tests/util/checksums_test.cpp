#include "vkcomm/util/checksums.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "tests/decode/frames.h"
#include "vkcomm/util/search_string.h"

namespace vkcomm::test {
namespace {

using Bytes = std::vector<unsigned char>;

ByteSpan span(std::string_view text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

// Turns over every bit of the first size characters, one at a time.
template <typename Container, typename Test>
void expectEveryBitErrorIsFound(Container frame, std::size_t size, const Test& passes) {
    ASSERT_TRUE(passes(frame));
    for (std::size_t bit = 0; bit < size * 8; ++bit) {
        auto& changed = frame[bit / 8];
        const auto before = changed;
        changed = static_cast<typename Container::value_type>(changed ^ (1 << (bit % 8)));
        ASSERT_FALSE(passes(frame)) << bit;
        changed = before;
    }
}

TEST(Crc32, OfOem4BinaryLogs) {
    EXPECT_EQ(crc32Of(span("123456789")), 0x2DFD2D88u);
    EXPECT_EQ(CCrc32::m_ulCrcTable[1], 0x77073096u);
    EXPECT_EQ(CCrc32::m_ulCrcTable[255], 0x2D02EF8Du);
    // the CRC, little-endian, at the end
    const Bytes log = {0xAA, '1', '2', '3', 0xA1, 0x43, 0xDF, 0x55}, otherLead(4, 0);
    const auto passes = [](const Bytes& b) {
        return CCrc32::Test(b.data(), static_cast<int>(b.size())) == 1;
    };
    expectEveryBitErrorIsFound(log, log.size(), passes);
    EXPECT_FALSE(passes(otherLead)) << "CRC is 0 but the lead byte is not 0xAA";
    EXPECT_EQ(CCrc32::Test(log.data(), 0), 0u);
    EXPECT_EQ(CCrc32::Test(static_cast<const unsigned char*>(nullptr), 5), 0u);
    EXPECT_EQ(CCrc32::CalculateCRC32(log.data(), -1), 0u);
    EXPECT_EQ(CCrc32::CalculateCRC32(span("123456789").data(), 9), 0x2DFD2D88u);
}

TEST(Checksums, EqualPlainLoopsAtEveryLengthAndAlignment) {
    std::string bytes(5000, '\xFF');  // fills every lane of the sums
    std::mt19937 random(7);
    std::generate_n(bytes.begin(), 200, [&] { return chr(static_cast<unsigned>(random())); });
    for (std::size_t start = 0; start <= 16; ++start)
        for (std::size_t length = 0; length + start <= bytes.size(); length += length < 100 ? 1 : 301) {
            const std::string_view part(&bytes[start], length), head = part.substr(0, length / 3);
            ASSERT_EQ(crc32Of(span(part.substr(length / 3)), crc32Of(span(head))), slowCrc(part)) << length;
            ASSERT_EQ(sum8(span(part)), byteSum(part) % 256) << length;
            ASSERT_EQ(sum16(span(part)), byteSum(part) % 65536) << length;
            ASSERT_EQ(xorOf(span(part)), xorSum(part)) << length;
        }
    EXPECT_EQ(CnTestXor::Checksum(nullptr, 3), 0);
}

bool passesXor(const std::string& text) { return testSentence(text) == TESTXOR_OK; }

TEST(XorTest, OfSentences) {
    const auto result = [](const char* text) { return CnTestXor::Test(span(text).data()); };
    for (const char* text : {"$GPHDT,,T*1b", "$GPHDT,,T*1B\r\n", "$A*42*6D"})
        EXPECT_EQ(result(text), TESTXOR_OK) << text;
    // not refused: digits above F, below '0' and above 0x7F, one and both of them missing
    for (const char* text : {"$\x10*0G", "$\xFF*0/", "$\xC8*0\xFF", "$\xE0*1", "$\xD0*"})
        EXPECT_EQ(result(text), TESTXOR_OK) << text;
    EXPECT_EQ(result("$GPHDT,,T"), TESTXOR_NO_STAR);
    EXPECT_EQ(result("GPHDT,,T*1B"), TESTXOR_NO_DOLLAR);
    EXPECT_EQ(result(""), TESTXOR_NO_DOLLAR);
    EXPECT_EQ(CnTestXor::Test(nullptr), TESTXOR_NO_DOLLAR);
    for (const std::string sentence :
         {"$PASHR,XMG,12,Solution valid*4A", "$GNGRS,141003.50,1,1.14,-0.48,0.26,0.20,-0.94,-0.28,-1.18*61",
          "$GPGGA,193221.00,2037.72792,N,08704.08478,W,1,04,1.7,-30.40,M,-13.9,M,,*7D"})
        expectEveryBitErrorIsFound(sentence, sentence.rfind('*'), passesXor);
}

TEST(XorTest, OfBlocks) {
    const Bytes block = {0xAA, 0x01, 0x02, 0xA9}, otherLead = {0x01, 0x01};
    expectEveryBitErrorIsFound(block, 4, [](const Bytes& b) { return CnTestXor::Test(b.data(), 4) == 0; });
    EXPECT_EQ(CnTestXor::Test(block.data(), 3), TESTXOR_MISMATCH);
    EXPECT_EQ(CnTestXor::Test(otherLead.data(), 2), TESTXOR_NO_SYNC);
    EXPECT_EQ(CnTestXor::Test(block.data(), 0), TESTXOR_NO_SYNC);
}

TEST(XorTest, ChecksumIsAppended) {
    const auto appended = [](const char* text) {
        CNCString sentence(text);
        CnTestXor::Checksum(&sentence);
        return std::string(sentence.view());
    };
    EXPECT_EQ(appended("$PASHR,ACK") + appended("$") + appended("$\n"),
              "$PASHR,ACK*3D\r\n$*00\r\n$\n*0A\r\n");
    EXPECT_EQ(appended(""), "*00\r\n");
    CnTestXor::Checksum(nullptr);
}

TEST(Crc32, OfOem4AsciiLogs) {
    for (const char* text : {"#123456789*2DFD2D88\r\n", "#123456789* \t0x2dfd2d88", "#123456789*12dfd2d88",
                             "#*0", "#*0x", "#12*3*bfc30304"})
        EXPECT_EQ(CCrc32::Test(text), 1u) << text;
    for (const char* text : {"#123456789*2dfd2d89", "#*", "#*xyz", "#123456789", "123456789*2dfd2d88", "",
                             static_cast<const char*>(nullptr)})
        EXPECT_EQ(CCrc32::Test(text), 0u) << (text != nullptr ? text : "null");
    for (const std::string log : {"#RANGEA,COM1,0,5.5,UNKNOWN,0,25.000,024c00a0,5103,32768;0*943a8919",
                                  "#VALIDMODELSA,COM1,0,50.0,FINESTEERING,2167,254543.994,02000000,342f,"
                                  "16248;1,\"FFNBYNTMNP1\",0,0,0*"
                                  "f895bb72"})
        expectEveryBitErrorIsFound(log, log.rfind('*'), testOem4Ascii);
}

}  // namespace
}  // namespace vkcomm::test
