// The bytes of requests, and which requests the writer passes over.
#include <gtest/gtest.h>

#include "vkcomm/base/archive.h"
#include "vkcomm/frames/text_compiler.h"
#include "vkcomm/ports/serial_write.h"
#include "vkcomm/ports/write_queue.h"

namespace vkcomm {
namespace {

Bytes copy(const CSerialWrite& request) { return {request.Data().begin(), request.Data().end()}; }

struct FramedCase {
    const char* name;
    unsigned char type;
    int withCheck;
    Bytes data;
    Bytes framed;
};

TEST(SerialWrite, FramesABlock) {
    const FramedCase cases[] = {
        {"empty with check", 0x31, 1, {}, {0x40, 0x31, 0xCE, 0x00, 0x00, 0xBF}},
        {"empty without", 0x31, 0, {}, {0x40, 0x31, 0xCE, 0x00, 0x00}},
        {"data with check", 0x98, 1, {0x01, 0x80}, {0x40, 0x98, 0x67, 0x02, 0x00, 0x01, 0x80, 0x3C}},
    };
    for (const FramedCase& each : cases) {
        const CSerialWrite request(each.type, each.withCheck, static_cast<unsigned int>(each.data.size()),
                                   each.data.data());
        EXPECT_EQ(copy(request), each.framed) << each.name;
    }
    const Bytes longData(0x1234, 0xAA);
    const CSerialWrite longRequest(1, 1, 0x1234, longData.data());
    EXPECT_EQ(longRequest.Data()[3], 0x34);
    EXPECT_EQ(longRequest.Data()[4], 0x12);
    EXPECT_EQ(longRequest.uLength(), 0x1234u + 6);
    EXPECT_EQ(CSerialWrite(1, 1, 0x10000, longData.data()).uLength(), 0u);
    EXPECT_EQ(CSerialWrite(1, 1, 3, nullptr).uLength(), 0u);
}

TEST(SerialWrite, TakesTheLowBitsOfText) {
    CSerialWrite request;
    EXPECT_EQ(request.bSetData(L"A\u0142\u00FF", 7, kFirstGroup), 1);
    EXPECT_EQ(copy(request), (Bytes{0x41, 0x42, 0xFF}));
    EXPECT_EQ(request.nDelay(), 7);
    EXPECT_EQ(request.ulGroup(), kFirstGroup);
}

TEST(SerialWrite, WrapsForTheRadioLink) {
    CSerialWrite request;
    request.bSetData(L"\x01\xC8", 30, 0x10005);
    EXPECT_EQ(request.bAdjust2Link320(0, OEM_NOVATEL), 0);
    EXPECT_EQ(copy(request), (Bytes{0x01, 0xC8}));
    CSerialWrite forRadio;
    forRadio.bSetData(L"\x01\xC8", 30, 0x10005);
    EXPECT_EQ(request.bAdjust2Link320(1, OEM_NOVATEL), 1);
    EXPECT_EQ(forRadio.bAdjust2Link320VF(1, OEM_NOVATEL), 1);
    EXPECT_EQ(copy(request), compileMakerText("VS,B1 B200 ", OEM_NOVATEL));
    EXPECT_EQ(copy(forRadio), compileMakerText("VF,B1 B200 ", OEM_NOVATEL));
    EXPECT_EQ(request.nDelay(), 30);
    EXPECT_EQ(request.ulGroup(), 0x10005u);
}

TEST(SerialWrite, PassesThroughAnArchiveOrStaysAsItWas) {
    CSerialWrite request;
    request.bSetData(L"abc", -1, 0x12345678);
    Bytes stored;
    auto storing = base::CArchive::StoreTo(stored);
    request.Serialize(storing);
    const Bytes expected = {3, 0, 0, 0, 'a', 'b', 'c', 0xFF, 0xFF, 0xFF, 0xFF, 0x78, 0x56, 0x34, 0x12};
    EXPECT_EQ(stored, expected);
    for (std::size_t length = 0; length <= stored.size(); ++length) {
        CSerialWrite loaded;
        loaded.bSetData(L"old", 1, 2);
        auto loading = base::CArchive::LoadFrom(ByteSpan(stored).first(length));
        loaded.Serialize(loading);
        const bool isWhole = length == stored.size();
        EXPECT_EQ(copy(loaded), (isWhole ? Bytes{'a', 'b', 'c'} : Bytes{'o', 'l', 'd'})) << length;
        EXPECT_EQ(loaded.ulGroup(), isWhole ? 0x12345678u : 2u) << length;
    }
}

struct JudgeCase {
    const char* name;
    unsigned long group;
    std::size_t depth;
    GroupMemory memory;
    WriteVerdict verdict;
};

TEST(WriteQueue, JudgesByGroupAndDepth) {
    using enum WriteVerdict;
    const JudgeCase cases[] = {
        {"single, deep", 0, 100, {}, kWrite},
        {"the largest single id, deep", 0xFFFF, 21, {}, kWrite},
        {"new group at twenty", 0x10000, 20, {}, kWrite},
        {"new group above twenty", 0x10000, 21, {}, kSkipNewGroup},
        {"group being written, deep", 0x10001, 100, {0x10001, 0}, kWrite},
        {"piece of a skipped group, shallow by now", 0x10002, 1, {0x10001, 0x10002}, kSkip},
        {"another new group while one is skipped", 0x10003, 21, {0x10001, 0x10002}, kSkipNewGroup},
        {"written again after it was skipped", 0x10002, 21, {0x10002, 0x10002}, kWrite},
    };
    for (const JudgeCase& each : cases)
        EXPECT_EQ(judgeRequest(each.group, each.depth, each.memory), each.verdict) << each.name;
}

}  // namespace
}  // namespace vkcomm
