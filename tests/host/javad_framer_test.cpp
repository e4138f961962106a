#include "host/javad_framer.h"

#include <gtest/gtest.h>

#include "host/byte_text.h"
#include "tests/host/literal_frames.h"

namespace vkcomm::test {
namespace {

const std::string kIndices = hex("53493031360b022e31300a0d0420111c17180c142f298189c1474a");
const std::string kFormat = "MF009JP010109F";
const std::string kReply = "RE00Ahello, you";

// All messages of a stream that arrives in pieces of a size; the framer's counts are those of the stream.
std::vector<std::string> framed(JavadFramer& framer, std::string_view stream, std::size_t piece) {
    std::vector<std::string> messages;
    const auto take = [&](const JavadMessage& message) {
        const auto offset = static_cast<std::size_t>(message.offset);
        EXPECT_EQ(message.id, stream.substr(offset, 2));
        EXPECT_EQ(message.body.size() + 5, message.bytes.size());
        messages.emplace_back(textOf(message.bytes));
        EXPECT_EQ(messages.back(), stream.substr(offset, message.bytes.size()));
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
        {"one after the other",
         kJavadDate + kJavadDops + kJavadPosition + kIndices,
         {kJavadDate, kJavadDops, kJavadPosition, kIndices}},
        {"line ends between them", kJavadDate + "\n\r\n" + kJavadDops + "\r", {kJavadDate, kJavadDops}},
        {"texts", kFormat + kReply + "ER003bad" + "RE000", {kFormat, kReply, "ER003bad", "RE000"}},
        {"comment lines", "# messages {RT,UO}\n", {}, 18},
        {"a body with a wrong checksum", damaged(kJavadDops, 9), {}, kJavadDops.size()},
        {"a text with a wrong checksum", damaged(kFormat, 7), {}, kFormat.size()},
        {"a text with a wrong checksum digit", damaged(kFormat, 13), {}, kFormat.size()},
        {"a reply that is no text", damaged(kReply, 8).replace(7, 1, "\x80"), {}, kReply.size()},
        {"a lower-case length", "~~00c", {}, 5},
        {"a length that swallows messages", "PVFFF" + kJavadDate, {kJavadDate}, 5},
        {"a message without a body", "SI000", {}, 5},
        {"a text without room for its checksum", "MF0019", {}, 6},
        {"a message inside the unfinished one", "PV02E", {}, 5},
        {"garbage", std::string(300, '\xAA'), {}, 300},
    };

    for (const auto& c : cases)
        for (const std::size_t piece : {100000u, 1u, 7u}) {
            JavadFramer framer;
            std::vector<std::string> expected = c.messages;
            expected.push_back(kJavadTime);
            EXPECT_EQ(framed(framer, c.stream + kJavadTime, piece), expected) << c.name << ' ' << piece;
            EXPECT_EQ(framer.dropped(), c.dropped) << c.name << ' ' << piece;
        }
    JavadFramer framer;
    EXPECT_EQ(framed(framer, kJavadTime + "\r\n\r\n" + kJavadDate.substr(0, 8), 1), std::vector{kJavadTime});
    EXPECT_EQ(framer.separators(), 4U);
    EXPECT_EQ(framer.dropped(), 8U) << "the end inside a message";
}

}  // namespace
}  // namespace vkcomm::test
