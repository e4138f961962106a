#include "vkcomm/util/receive_buffer.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace vkcomm {
namespace {

// The bytes 0, 1, 2 and so on.
BUFFER_SET_RETURN append(CnBuffer& buffer, int size) {
    std::vector<unsigned char> bytes(static_cast<std::size_t>(size));
    std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(0));
    return buffer.Set(bytes.data(), size);
}

TEST(ReceiveBuffer, OverflowLosesABlockButKeepsASingleByte) {
    CnBuffer buffer;
    EXPECT_EQ(append(buffer, CnBuffer::kCapacity), BUFFER_SET_OK);
    EXPECT_EQ(append(buffer, 1), BUFFER_SET_OVERFLOW);
    EXPECT_EQ(buffer.iAmount(), 0);

    append(buffer, CnBuffer::kCapacity);
    EXPECT_EQ(buffer.Set(static_cast<unsigned char>(77)), BUFFER_SET_OK);
    unsigned char byte = 0;
    EXPECT_EQ(buffer.Get(&byte, 1, 1), BUFFER_GET_OK);
    EXPECT_EQ(byte, 77);
    EXPECT_EQ(buffer.iAmount(), 0);
}

TEST(ReceiveBuffer, WritingMovesTheUnreadTailToTheFront) {
    CnBuffer buffer;
    append(buffer, CnBuffer::kCapacity);
    buffer.Get(nullptr, 1001, 1);
    buffer.SetSync();
    buffer.Get(nullptr, 5, 1);
    EXPECT_EQ(buffer.Set(static_cast<unsigned char>(0)), BUFFER_SET_OK);
    EXPECT_EQ(append(buffer, 1000), BUFFER_SET_OK) << "the room before the sync mark is free again";
    EXPECT_EQ(buffer.iTaken(), 5);
    EXPECT_EQ(buffer.frame()[0], 1001 % 256);
    EXPECT_EQ(buffer.iAmount(), CnBuffer::kCapacity - 5);
    buffer.Sync();
    EXPECT_EQ(buffer.iTaken(), 0);
    buffer.ReSync(1 << 30);
    EXPECT_EQ(buffer.iAmount(), 0);
}

TEST(ReceiveBuffer, GetsUntilAByte) {
    const auto expectGet = [](int max, unsigned char until, BUFFER_GET_RETURN result, int expected) {
        CnBuffer buffer;
        append(buffer, 20);
        unsigned char out[100] = {};
        int count = -1;
        EXPECT_EQ(buffer.Get(out, max, until, &count, 1), result) << max;
        EXPECT_EQ(count, expected) << max;
        EXPECT_EQ(buffer.iAmount(), 20 - std::max(expected, 0)) << max;
    };
    expectGet(5, 4, BUFFER_GET_OK, 5);  // found at the limit
    expectGet(4, 4, BUFFER_GET_SHORT, -1);
    expectGet(100, 200, BUFFER_GET_SHORT, -1);
    expectGet(0, 4, BUFFER_GET_OK, -1);
    expectGet(-1, 4, BUFFER_GET_SHORT, -1);
    CnBuffer empty;
    EXPECT_EQ(empty.Get(nullptr, 0, 1), BUFFER_GET_OK);
    EXPECT_EQ(empty.Get(nullptr, 1, 1), BUFFER_GET_SHORT);
}

TEST(ReceiveBuffer, RefusesSenselessLengths) {
    CnBuffer buffer;
    append(buffer, 20);
    EXPECT_EQ(buffer.SetRequestBufSpace(-1), nullptr);
    EXPECT_EQ(buffer.SetRequestBufSpace(CnBuffer::kCapacity + 1), nullptr);
    EXPECT_EQ(buffer.Set(nullptr, 4), BUFFER_SET_OVERFLOW);
    EXPECT_EQ(buffer.Set(buffer.frame().data(), -4), BUFFER_SET_OVERFLOW);
    EXPECT_EQ(buffer.Get(nullptr, -1, 1), BUFFER_GET_SHORT);
    EXPECT_EQ(buffer.iAmount(), 20);

    ASSERT_NE(buffer.SetRequestBufSpace(CnBuffer::kCapacity - 20), nullptr);
    EXPECT_EQ(buffer.iAmount(), CnBuffer::kCapacity) << "it just fits";
    unsigned char* space = buffer.SetRequestBufSpace(CnBuffer::kCapacity);
    ASSERT_NE(space, nullptr);
    std::fill_n(space, CnBuffer::kCapacity, static_cast<unsigned char>(9));
    EXPECT_EQ(buffer.iAmount(), CnBuffer::kCapacity) << "what did not fit beside it was cleared";
}

TEST(ReceiveBuffer, GetThenRearrangeFreesWhatWasRead) {
    CnBuffer buffer;
    buffer.Puts("abc");
    unsigned char out[4];
    EXPECT_NE(buffer.bGetThenRearrange(out, 3), 0);
    EXPECT_EQ(buffer.iTaken(), 0);
    EXPECT_EQ(buffer.frame().size(), 1u) << "the terminating zero";
    EXPECT_EQ(buffer.bGetThenRearrange(out, 2), 0);
}

}  // namespace
}  // namespace vkcomm
