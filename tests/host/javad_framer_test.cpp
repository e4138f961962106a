#include "host/javad_framer.h"

#include <gtest/gtest.h>

#include "tests/decode/frames.h"

namespace vkcomm::test {
namespace {

ByteSpan spanOf(std::string_view bytes) {
    return {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()};
}

// Recorded messages.
// clang-format off
const std::string kTime = hex("7e7e303035b852860018");
const std::string kDate = hex("5244303036db07010f00b3");
const std::string kDops = hex("44503030457b44213f3fc9803f76af083f011a");
const std::string kVelocity = hex(
    "50563032452e958316183a4ec135f7effbf48c4941585f806d19374c41a073bd3f77a471bb1c4b043cda9d5bbbe1f5cf3b0188");
const std::string kIndices = hex("53493031360b022e31300a0d0420111c17180c142f298189c1474a");
const std::string kGpsTime = hex("4754303037fc42ab1fbb03b4");
const std::string kRms = hex("5347303132a8e0e53ea266433f0eebe03b95cf283c016c");
// Built ones.
const std::string kPosition = hex("504f30314500000020c46440c100000060e4e2504100000000b8db4e410000003f0443");
const std::string kStatistics = hex("5053303039040c080a07090664e2");
const std::string kFormat = "MF009JP010109F";
const std::string kReply = "RE00Ahello, you";

// clang-format on

// All messages of a stream that arrives in pieces of a size; the framer's counts are those of the stream.
std::vector<std::string> framed(JavadFramer& framer, std::string_view stream, std::size_t piece) {
    std::vector<std::string> messages;
    const auto take = [&](const JavadMessage& message) {
        EXPECT_EQ(message.id, stream.substr(message.offset, 2));
        EXPECT_EQ(message.body.size() + 5, message.bytes.size());
        messages.push_back({message.bytes.begin(), message.bytes.end()});
        EXPECT_EQ(messages.back(), stream.substr(message.offset, message.bytes.size()));
    };
    for (std::string_view rest = stream; !rest.empty(); rest.remove_prefix(std::min(piece, rest.size()))) {
        framer.feed(spanOf(rest.substr(0, piece)));
        while (const auto message = framer.next())
            take(*message);
    }
    while (const auto message = framer.nextAtEnd())
        take(*message);
    EXPECT_EQ(framer.held(), 0U);
    EXPECT_EQ(framer.messages(), messages.size());
    EXPECT_EQ(framer.messageBytes() + framer.separators() + framer.dropped(), stream.size());
    return messages;
}

std::string damaged(std::string message, std::size_t at) {
    message[at] = static_cast<char>(message[at] ^ 1);
    return message;
}

TEST(JavadFramer, TakesStreamsApartHoweverTheyArrive) {
    struct {
        const char* name;
        std::string stream;  // before a time message
        std::vector<std::string> messages;
        std::uint64_t dropped = 0;
    } const cases[] = {
        {"one after the other", kDate + kDops + kVelocity + kIndices, {kDate, kDops, kVelocity, kIndices}},
        {"line ends between them", kDate + "\n\r\n" + kDops + "\r", {kDate, kDops}},
        {"texts", kFormat + kReply + "ER003bad" + "RE000", {kFormat, kReply, "ER003bad", "RE000"}},
        {"comment lines", "# messages {RT,UO}\n", {}, 18},
        {"a body with a wrong checksum", damaged(kDops, 9), {}, kDops.size()},
        {"a text with a wrong checksum", damaged(kFormat, 7), {}, kFormat.size()},
        {"a text with a wrong checksum digit", damaged(kFormat, 13), {}, kFormat.size()},
        {"a reply that is no text", damaged(kReply, 8).replace(7, 1, "\x80"), {}, kReply.size()},
        {"a lower-case length", "~~00c", {}, 5},
        {"a length that swallows messages", "PVFFF" + kDate, {kDate}, 5},
        {"a message without a body", "SI000", {}, 5},
        {"a text without room for its checksum", "MF0019", {}, 6},
        {"a message inside the unfinished one", "PV02E", {}, 5},
        {"garbage", std::string(300, '\xAA'), {}, 300},
    };

    for (const auto& c : cases)
        for (const std::size_t piece : {100000u, 1u, 7u}) {
            JavadFramer framer;
            std::vector<std::string> expected = c.messages;
            expected.push_back(kTime);
            EXPECT_EQ(framed(framer, c.stream + kTime, piece), expected) << c.name << ' ' << piece;
            EXPECT_EQ(framer.dropped(), c.dropped) << c.name << ' ' << piece;
        }
    JavadFramer framer;
    EXPECT_EQ(framed(framer, kTime + "\r\n\r\n" + kDate.substr(0, 8), 1), std::vector{kTime});
    EXPECT_EQ(framer.separators(), 4U);
    EXPECT_EQ(framer.dropped(), 8U) << "the end inside a message";
}

TEST(JavadFramer, HoldsAMessageUntilItIsWhole) {
    JavadFramer framer;
    framer.feed(spanOf(kTime.substr(0, 9)));
    EXPECT_FALSE(framer.next());
    EXPECT_FALSE(framer.next());
    EXPECT_EQ(framer.held(), 9U);
    framer.feed(spanOf(kTime.substr(9) + kDate));
    EXPECT_EQ(framer.next().value().id, "~~");
    EXPECT_EQ(framer.next().value().offset, kTime.size());
    EXPECT_FALSE(framer.next());
}

TEST(JavadFramer, FillsTheParser) {
    // the checksum of "PO001" is its whole body: too short for the parser
    const std::string shortBody = "PO001" + std::string(1, chr(javadChecksum(spanOf("PO001"))));
    JavadFramer framer;
    framer.feed(
        spanOf(shortBody + kPosition + kStatistics + kGpsTime + kDops + kRms + kDate + kIndices + kTime));
    CJavadFormat parser;
    std::string stored;
    while (const auto message = framer.next())
        stored += storeJavadMessage(parser, *message) ? message->id : "-";
    EXPECT_EQ(stored, "-POPSGTDPSGRD--");
    EXPECT_EQ(parser.Position().position.x, -2148744.25);
    EXPECT_EQ(parser.Statistics().gpsUsed, 9);
    EXPECT_EQ(parser.Time().week, 955);
    EXPECT_NEAR(parser.Dops().hdop, 0.6299512, 1e-7);
    EXPECT_NEAR(parser.Rms().horizontal, 0.448980, 1e-6);
    EXPECT_EQ(parser.Date().year, 2011);
}

}  // namespace
}  // namespace vkcomm::test
