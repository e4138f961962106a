#include "vkcomm/util/checksums.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "vkcomm/util/search_string.h"

namespace vkcomm {
namespace {

using Bytes = std::vector<unsigned char>;

// NovAtel BESTPOSB frame of a receiver, CRC at its end.
constexpr std::string_view kBestPosB = "aa44121c2a0002be4800000000b41a0620a2b51e20084c004561c71200000000"
                                       "120000002acc0046beef4140f707cf1b784c6140006054821e258e4044001d42"
                                       "3d00000022e2c03f0d486b3f3ff6074031323900000040400000000010090000"
                                       "0006000389d7f39e";

constexpr std::string_view kOem4Logs[] = {
    "#BESTPOSA,COM1,0,83.5,FINESTEERING,2163,329760.000,02400000,b1f6,65535;SOL_COMPUTED,SINGLE,51."
    "15043874397,"
    "-114.03066788586,1097.6822,-17.0000,WGS84,1.3648,1.1806,3.1112,\"\",0.000,0.000,18,18,18,0,00,02,11,01*"
    "c3194e35",
    "#RAWGPSSUBFRAMEA,COM1,0,54.0,SATTIME,2167,254754.000,02000000,0457,16248;4,32,5,"
    "8b01dc52ee35516daa63199cfd4c00a10cb7227993c059e0b9c4d63e0054,4*80b22f2e",
    "#VALIDMODELSA,COM1,0,50.0,FINESTEERING,2167,254543.994,02000000,342f,16248;1,\"FFNBYNTMNP1\",0,0,0*"
    "f895bb72",
    "#TIMEA,COM1,0,6.0,UNKNOWN,0,25.000,024c0020,9924,32768;INVALID,0.000000000,0.000333564,0.00000000000,0,"
    "0,0,0,0,"
    "0,INVALID*6fe3e59a",
    "#RANGEA,COM1,0,5.5,UNKNOWN,0,25.000,024c00a0,5103,32768;0*943a8919",
    "#BESTPOSA,COM1,0,78.5,FINESTEERING,1419,336208.000,00000040,6145,2724;SOL_COMPUTED,NARROW_INT,51."
    "11635910984,"
    "-114.03833105168,1063.8416,-16.2712,WGS84,0.0135,0.0084,0.0172,\"AAAA\",1.000,0.000,8,8,8,8,0,01,0,03*"
    "3d9fbd48",
};

constexpr std::string_view kSentences[] = {
    "$PASHR,ACK*3D",
    "$PASHR,NAK*30",
    "$PASHR,POS,0,03,183530.00,2037.76012,N,08704.07373,W,058.48,,359.4,000.0,+000.0,2.2,2.2,0.0,1.0,BQ00*20",
    "$PASHR,SAT,03,28,139,38,46,U,10,193,17,50,U,02,274,55,50,U*53",
    "$PASHR,XMG,12,Solution valid*4A",
    "$GNGRS,141003.50,1,1.14,-0.48,0.26,0.20,-0.94,-0.28,-1.18*61",
    "$GPGGA,193221.00,2037.72792,N,08704.08478,W,1,04,1.7,-30.40,M,-13.9,M,,*7D",
    "$GPGSA,A,3,10,28,09,13,,,,,,,,,03.4,01.7,03.0*00",
    "$GPGGA,,,,,,0,,,,M,,M,,*66",
    "$GPHDT,,T*1B",
    "$ALMA,1,3.55577E-003,32768,745,-7.8860E-009,-6.0052951E-002,-1.1824254E+000,1.67892137E+000,-1.8119E-"
    "005,"
    "-3.6379E-012,1.45854965E-004,2.65602281E+007,9.55576E-001,1,0,0*20",
};

Bytes fromHex(std::string_view hex) {
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes.push_back(static_cast<unsigned char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16)));
    return bytes;
}

ByteSpan span(std::string_view text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

std::uint32_t crcBitByBit(ByteSpan bytes, std::uint32_t crc) {
    for (const unsigned char byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320u : 0u);
    }
    return crc;
}

Bytes randomBytes(std::size_t count) {
    std::mt19937 random(7);
    Bytes bytes(count);
    for (unsigned char& byte : bytes)
        byte = static_cast<unsigned char>(random());
    return bytes;
}

TEST(Crc32, KnownValues) {
    EXPECT_EQ(crc32Of(span("123456789")), 0x2DFD2D88u);
    EXPECT_EQ(crc32Of(span("\x01")), 0x77073096u);
    EXPECT_EQ(crc32Of({}), 0u);
    EXPECT_EQ(CCrc32::m_ulCrcTable[0], 0u);
    EXPECT_EQ(CCrc32::m_ulCrcTable[1], 0x77073096u);
    EXPECT_EQ(CCrc32::m_ulCrcTable[255], 0x2D02EF8Du);
    const Bytes frame = fromHex(kBestPosB);
    EXPECT_EQ(CCrc32::CalculateCRC32(frame.data(), 100), 0x9EF3D789u);
    EXPECT_EQ(CCrc32::Test(frame.data(), 104), 1u);
    EXPECT_EQ(CCrc32::Test(frame.data(), 103), 0u);
    EXPECT_EQ(CCrc32::Test(frame.data() + 1, 0), 0u);
    EXPECT_EQ(CCrc32::Test(static_cast<const unsigned char*>(nullptr), 5), 0u);
    EXPECT_EQ(CCrc32::CalculateCRC32(frame.data(), -1), 0u);
    const Bytes otherLead(4, 0);
    EXPECT_EQ(CCrc32::Test(otherLead.data(), 4), 0u) << "CRC is 0 but the lead byte is not 0xAA";
}

TEST(Crc32, EqualsBitByBitAtEveryLengthAndAlignment) {
    const Bytes bytes = randomBytes(128);
    for (std::size_t start = 0; start <= 16; ++start)
        for (std::size_t length = 0; length <= 100; ++length) {
            const ByteSpan part = ByteSpan(bytes).subspan(start, length);
            ASSERT_EQ(crc32Of(part, 0x12345678), crcBitByBit(part, 0x12345678)) << start << " " << length;
            ASSERT_EQ(crc32Of(part.subspan(length / 3), crc32Of(part.first(length / 3))),
                      crcBitByBit(part, 0));
        }
}

TEST(Crc32, EverySingleBitErrorIsFound) {
    Bytes frame = fromHex(kBestPosB);
    for (std::size_t bit = 0; bit < frame.size() * 8; ++bit) {
        const auto mask = static_cast<unsigned char>(1u << (bit % 8));
        frame[bit / 8] ^= mask;
        ASSERT_EQ(CCrc32::Test(frame.data(), static_cast<int>(frame.size())), 0u) << bit;
        frame[bit / 8] ^= mask;
    }
}

TEST(XorAndSums, EqualPlainLoops) {
    Bytes bytes = randomBytes(5000);
    std::fill(bytes.begin() + 200, bytes.end(), static_cast<unsigned char>(0xFF));  // fills every lane
    for (std::size_t start = 0; start <= 8; ++start)
        for (std::size_t length = 0; length + start <= bytes.size(); length += length < 70 ? 1 : 301) {
            const ByteSpan part = ByteSpan(bytes).subspan(start, length);
            const unsigned sum = std::accumulate(part.begin(), part.end(), 0u);
            const unsigned xored = std::accumulate(part.begin(), part.end(), 0u, std::bit_xor<unsigned>());
            ASSERT_EQ(sum8(part), sum % 256) << length;
            ASSERT_EQ(sum16(part), sum % 65536) << length;
            ASSERT_EQ(xorOf(part), xored) << length;
        }
    EXPECT_EQ(CnTestXor::Checksum(bytes.data(), 3), bytes[0] ^ bytes[1] ^ bytes[2]);
    EXPECT_EQ(CnTestXor::Checksum(nullptr, 3), 0);
}

TEST(Sentence, RecordedSentencesPassAndEveryBitErrorIsFound) {
    for (const std::string_view sentence : kSentences) {
        EXPECT_EQ(testSentence(sentence), TESTXOR_OK) << sentence;
        std::string text(sentence);
        for (std::size_t bit = 8; bit < (text.rfind('*')) * 8; ++bit) {
            const auto mask = static_cast<char>(1 << (bit % 8));
            text[bit / 8] = static_cast<char>(text[bit / 8] ^ mask);
            ASSERT_NE(testSentence(text), TESTXOR_OK) << bit << " " << text;
            text[bit / 8] = static_cast<char>(text[bit / 8] ^ mask);
        }
    }
}

TEST(Sentence, Table) {
    struct Case {
        const char* name;
        std::string text;
        TESTXOR_RETURN result;
    };

    const Case cases[] = {
        {"lower-case digits", "$GPHDT,,T*1b", TESTXOR_OK},
        {"line end behind", "$GPHDT,,T*1B\r\n", TESTXOR_OK},
        {"empty", "", TESTXOR_NO_DOLLAR},
        {"no dollar", "GPHDT,,T*1B", TESTXOR_NO_DOLLAR},
        {"no star", "$GPHDT,,T", TESTXOR_NO_STAR},
        {"only a dollar", "$", TESTXOR_NO_STAR},
        {"the last star counts", "$A*41*6E", TESTXOR_OK},
        {"digits above F are taken", "$\x10*0G", TESTXOR_OK},
        {"characters below '0' are taken", "$\xFF*0/", TESTXOR_OK},
        {"a missing digit is a zero byte", "$\xE0*1", TESTXOR_OK},
        {"both digits missing", "$\xD0*", TESTXOR_OK},
        {"high bytes are letters", std::string("$\xC8*0\xFF"), TESTXOR_OK},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(testSentence(c.text), c.result) << c.name;
        EXPECT_EQ(CnTestXor::Test(reinterpret_cast<const unsigned char*>(c.text.c_str())), c.result)
            << c.name;
    }
    EXPECT_EQ(CnTestXor::Test(nullptr), TESTXOR_NO_DOLLAR);
}

TEST(Sentence, ChecksumIsAppended) {
    struct Case {
        const char *text, *whole;
    };

    const Case cases[] = {
        {"$PASHR,ACK", "$PASHR,ACK*3D\r\n"}, {"$", "$*00\r\n"}, {"$\n", "$\n*0A\r\n"}, {"", "*00\r\n"}};
    for (const Case& c : cases) {
        CNCString sentence(c.text);
        CnTestXor::Checksum(&sentence);
        EXPECT_EQ(sentence.view(), c.whole);
    }
    CnTestXor::Checksum(nullptr);
}

TEST(Block, XorTest) {
    const Bytes good = {0xAA, 0x01, 0x02, 0xA9}, bad = {0xAA, 0x01, 0x02, 0xA8}, otherLead = {0x01, 0x01};
    EXPECT_EQ(CnTestXor::Test(good.data(), 4), TESTXOR_OK);
    EXPECT_EQ(CnTestXor::Test(bad.data(), 4), TESTXOR_MISMATCH);
    EXPECT_EQ(CnTestXor::Test(otherLead.data(), 2), TESTXOR_NO_SYNC);
    EXPECT_EQ(CnTestXor::Test(good.data(), 0), TESTXOR_NO_SYNC);
    EXPECT_EQ(CnTestXor::Test(nullptr, 4), TESTXOR_NO_SYNC);
}

TEST(Oem4Ascii, PublishedLogsPassAndEveryBitErrorIsFound) {
    for (const std::string_view log : kOem4Logs) {
        EXPECT_TRUE(testOem4Ascii(log)) << log;
        std::string text(log);
        for (std::size_t bit = 8; bit < text.rfind('*') * 8; ++bit) {
            const auto mask = static_cast<char>(1 << (bit % 8));
            text[bit / 8] = static_cast<char>(text[bit / 8] ^ mask);
            ASSERT_FALSE(testOem4Ascii(text)) << bit << " " << text;
            text[bit / 8] = static_cast<char>(text[bit / 8] ^ mask);
        }
    }
}

TEST(Oem4Ascii, Table) {
    struct Case {
        const char *name, *text;
        unsigned int result;
    };

    const Case cases[] = {
        {"plain", "#123456789*2dfd2d88", 1},
        {"upper case, line end", "#123456789*2DFD2D88\r\n", 1},
        {"blanks and prefix", "#123456789* \t0x2dfd2d88", 1},
        {"longer value", "#123456789*12dfd2d88", 1},
        {"leading zero only", "#*0", 1},
        {"prefix without digits is a zero", "#*0x", 1},
        {"wrong value", "#123456789*2dfd2d89", 0},
        {"no value", "#*", 0},
        {"text for value", "#*xyz", 0},
        {"no star", "#123456789", 0},
        {"no lead", "123456789*2dfd2d88", 0},
        {"empty", "", 0},
        {"the last star counts", "#12*3*bfc30304", 1},
    };
    for (const Case& c : cases)
        EXPECT_EQ(CCrc32::Test(c.text), c.result) << c.name;
    EXPECT_EQ(CCrc32::Test(static_cast<const char*>(nullptr)), 0u);
}

}  // namespace
}  // namespace vkcomm
