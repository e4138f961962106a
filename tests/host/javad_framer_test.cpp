#include "host/javad_framer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/decode/frames.h"

namespace vkcomm::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

ByteSpan spanOf(std::string_view bytes) {
    return {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()};
}

std::string textOf(ByteSpan bytes) { return {bytes.begin(), bytes.end()}; }

// Recorded messages.
const std::string kTime = hex("7e7e303035b852860018");
const std::string kDate = hex("5244303036db07010f00b3");
const std::string kDops = hex("44503030457b44213f3fc9803f76af083f011a");
const std::string kVelocity = hex(
    "50563032452e958316183a4ec135f7effbf48c4941585f806d19374c41a073bd3f77a471bb1c4b043cda9d5bbbe1f5cf3b0188");
const std::string kIndices = hex("53493031360b022e31300a0d0420111c17180c142f298189c1474a");
const std::string kGpsTime = hex("4754303037fc42ab1fbb03b4");
const std::string kRms = hex("5347303132a8e0e53ea266433f0eebe03b95cf283c016c");
const std::string kFormat = "MF009JP010109F";
// Built ones.
const std::string kPosition = hex("504f30314500000020c46440c100000060e4e2504100000000b8db4e410000003f0443");
const std::string kStatistics = hex("5053303039040c080a07090664e2");
const std::string kReply = "RE00Ahello, you";

// All messages of a stream that arrives in pieces of a size, and what the framer counts at its end.
struct Framed {
    std::vector<std::string> messages;
    std::uint64_t dropped = 0;
    std::uint64_t separators = 0;
};

Framed frame(std::string_view stream, std::size_t piece) {
    JavadFramer framer;
    Framed framed;
    const auto take = [&](const JavadMessage& message) {
        EXPECT_EQ(textOf(message.bytes), stream.substr(message.offset, message.bytes.size()));
        EXPECT_EQ(message.id, stream.substr(message.offset, 2));
        EXPECT_EQ(message.body.size() + 5, message.bytes.size());
        framed.messages.push_back(textOf(message.bytes));
    };
    for (std::string_view rest = stream; !rest.empty(); rest.remove_prefix(std::min(piece, rest.size()))) {
        framer.feed(spanOf(rest.substr(0, piece)));
        while (const auto message = framer.next())
            take(*message);
    }
    while (const auto message = framer.nextAtEnd())
        take(*message);
    EXPECT_EQ(framer.held(), 0U);
    EXPECT_EQ(framer.messages(), framed.messages.size());
    EXPECT_EQ(framer.messageBytes() + framer.separators() + framer.dropped(), stream.size());
    framed.dropped = framer.dropped();
    framed.separators = framer.separators();
    return framed;
}

struct StreamCase {
    const char* name;
    std::string stream;
    std::vector<std::string> messages;
    std::uint64_t dropped = 0;
};

void PrintTo(const StreamCase& c, std::ostream* out) { *out << c.name; }

class Streams : public testing::TestWithParam<StreamCase> {};

TEST_P(Streams, ComeApartHoweverTheyArrive) {
    for (const std::size_t piece : {std::size_t{100000}, std::size_t{1}, std::size_t{7}}) {
        const Framed framed = frame(GetParam().stream, piece);
        EXPECT_THAT(framed.messages, ElementsAreArray(GetParam().messages)) << piece;
        EXPECT_EQ(framed.dropped, GetParam().dropped) << piece;
    }
}

std::string damaged(std::string message, std::size_t at) {
    message[at] = static_cast<char>(message[at] ^ 1);
    return message;
}

INSTANTIATE_TEST_SUITE_P(
    JavadFramer, Streams,
    testing::Values(
        StreamCase{"one after the other",
                   kTime + kDate + kDops + kVelocity + kIndices + kGpsTime + kRms,
                   {kTime, kDate, kDops, kVelocity, kIndices, kGpsTime, kRms}},
        StreamCase{"line ends between them",
                   kTime + "\r\n" + kDate + "\n\r\n" + kDops + "\r",
                   {kTime, kDate, kDops}},
        StreamCase{"texts", kFormat + kReply + "ER003bad", {kFormat, kReply, "ER003bad"}},
        StreamCase{"an empty reply", "RE000" + kTime, {"RE000", kTime}},
        StreamCase{"comment lines", "# messages {RT,UO}\n" + kTime, {kTime}, 18},
        StreamCase{"a body with a wrong checksum", damaged(kDops, 9) + kTime, {kTime}, kDops.size()},
        StreamCase{"a text with a wrong checksum", damaged(kFormat, 7) + kTime, {kTime}, kFormat.size()},
        StreamCase{
            "a text with a wrong checksum digit", damaged(kFormat, 13) + kTime, {kTime}, kFormat.size()},
        StreamCase{"a reply that is no text",
                   damaged(kReply, 8).replace(7, 1, "\x80") + kTime,
                   {kTime},
                   kReply.size()},
        StreamCase{"a lower-case length", "~~00c" + kTime, {kTime}, 5},
        StreamCase{"a length that swallows messages", "PVFFF" + kTime + kDate, {kTime, kDate}, 5},
        StreamCase{"a message without a body", "SI000" + kTime, {kTime}, 5},
        StreamCase{"a text without room for its checksum", "MF0019" + kTime, {kTime}, 6},
        StreamCase{"the end inside a message", kTime + kDate.substr(0, 8), {kTime}, 8},
        StreamCase{"a message inside the unfinished one", "PV02E" + kTime, {kTime}, 5},
        StreamCase{"garbage", std::string(300, '\xAA') + kTime, {kTime}, 300},
        StreamCase{"nothing", "", {}}));

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
    EXPECT_EQ(framer.dropped(), 0U);
}

TEST(JavadFramer, SeparatorsAreNotDropped) {
    const Framed framed = frame(kTime + "\r\n\r\n" + kDate, 100);
    EXPECT_EQ(framed.separators, 4U);
    EXPECT_EQ(framed.dropped, 0U);
}

TEST(JavadFramer, FillsTheParser) {
    JavadFramer framer;
    framer.feed(spanOf(kPosition + kStatistics + kGpsTime + kDops + kRms + kDate + kIndices + kTime));
    CJavadFormat parser;
    std::string stored;
    while (const auto message = framer.next())
        if (storeJavadMessage(parser, *message)) stored += message->id;
    EXPECT_EQ(stored, "POPSGTDPSGRD");
    EXPECT_EQ(parser.Position().position.x, -2148744.25);
    EXPECT_EQ(parser.Statistics().gpsUsed, 9);
    EXPECT_EQ(parser.Time().week, 955);
    EXPECT_NEAR(parser.Dops().hdop, 0.6299512, 1e-7);
    EXPECT_NEAR(parser.Rms().horizontal, 0.448980, 1e-6);
    EXPECT_EQ(parser.Date().year, 2011);
}

TEST(JavadFramer, ReportsMessagesThatAreTooShortForTheParser) {
    // javadChecksum of "PO001" is the whole body
    const std::string head = "PO001";
    const std::string message = head + chr(javadChecksum(spanOf(head)));
    JavadFramer framer;
    framer.feed(spanOf(message));
    const auto framed = framer.next();
    ASSERT_TRUE(framed);
    CJavadFormat parser;
    EXPECT_FALSE(storeJavadMessage(parser, *framed));
}

}  // namespace
}  // namespace vkcomm::test
