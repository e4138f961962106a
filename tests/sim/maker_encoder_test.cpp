#include "sim/maker_encoder.h"

#include <gtest/gtest.h>

#include "sim/trimble_encoder.h"
#include "tests/sim/checks.h"

namespace vkcomm::sim {
namespace {

std::vector<std::string> siFrames(std::string_view text) {
    Piece piece;
    addSiReply(text, piece);
    return framesIn(piece.bytes, makerSize);
}

TEST(MakerEncoder, FramesAReply) {
    EXPECT_EQ(hexOfFrame([](Piece& piece) { addSiReply("A B", piece); }), "242453491803412042220d0a");
}

// A frame of 55 bytes says that another follows.
TEST(MakerEncoder, CutsRepliesInPieces) {
    struct Case {
        std::size_t length;
        std::vector<std::size_t> pieces;
    };

    for (const Case& c :
         {Case{0, {0}}, Case{54, {54}}, Case{55, {55, 0}}, Case{56, {55, 1}}, Case{110, {55, 55, 0}}}) {
        SCOPED_TRACE(c.length);
        const std::string text(c.length, 'x');
        const std::vector<std::string> frames = siFrames(text);
        ASSERT_EQ(frames.size(), c.pieces.size());
        std::string joined;
        for (std::size_t i = 0; i < frames.size(); ++i) {
            EXPECT_EQ(static_cast<unsigned char>(frames[i][5]), c.pieces[i]);
            joined += frames[i].substr(6, frames[i].size() - 9);
        }
        EXPECT_EQ(joined, text);
    }
}

// Out of the RZ frames come the packets of the board, every one beginning in a frame of its own.
TEST(MakerEncoder, WrapsTheBoard) {
    Epoch epoch = sampleEpoch();
    epoch.millisecondsOfWeek = 345'660'000;
    std::string unwrapped;
    std::size_t replies = 0;
    for (const std::string& frame : framesOf(encodeMaker, epoch)) {
        EXPECT_LE(frame.size(), 55u + 9);
        EXPECT_EQ(frame.substr(frame.size() - 2), "\r\n");
        if (frame.substr(2, 2) == "SI") {
            ++replies;
            continue;
        }
        EXPECT_EQ(frame.substr(2, 2), "RZ");
        unwrapped += frame.substr(6, frame.size() - 9);
    }
    std::string packets;
    for (const std::string& packet : framesOf(encodeTrimble, epoch))
        packets += packet;
    EXPECT_EQ(unwrapped, packets);
    EXPECT_EQ(replies, 2u);
}

}  // namespace
}  // namespace vkcomm::sim
