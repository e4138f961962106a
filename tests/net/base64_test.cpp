#include "vkcomm/net/base64.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace vkcomm {
namespace {

ByteSpan bytesOf(std::string_view text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

std::string decoded(std::string_view text) {
    std::vector<unsigned char> out(text.size() + 1, 0xEE);
    CBase64 codec;
    const int count = codec.Decode(text, out);
    return {out.begin(), out.begin() + count};
}

TEST(Base64, EncodesWithPadding) {
    struct Case {
        std::string_view bytes;
        const char* text;
    };

    for (const Case& c : {Case{"", ""}, Case{"f", "Zg=="}, Case{"fo", "Zm8="}, Case{"foo", "Zm9v"},
                          Case{"foobar", "Zm9vYmFy"}, Case{"user:pass", "dXNlcjpwYXNz"},
                          Case{"\xFB\xFF\xBF", "+/+/"}, Case{std::string_view("\0\0", 2), "AAA="}}) {
        EXPECT_EQ(CBase64().Encode(bytesOf(c.bytes)), c.text);
        EXPECT_EQ(decoded(c.text), c.bytes);
    }
    EXPECT_EQ(CBase64().Encode(nullptr, 3), "");
}

TEST(Base64, DecodesWhatIsNotQuiteBase64) {
    struct Case {
        const char* name;
        std::string_view text;
        std::string_view bytes;
    };

    for (const Case& c : {
             Case{"padding in front", "=Zm9v", "foo"},
             Case{"padding in the middle", "Z=m9=vYmF==y", "foobar"},
             Case{"no padding", "Zm8", "fo"},
             Case{"bits that fill no byte", "Zm9vY", "foo"},
             Case{"bit 7 set", "\xDAm9v\xBD", "foo"},
             Case{"padding alone", "====", ""},
             Case{"blank", "Zm9v YmFy", ""},
             Case{"line break at the end", "Zm9v\n", ""},
             Case{"wrong character in the last group", "Zm9vYm-y", ""},
         })
        EXPECT_EQ(decoded(c.text), c.bytes) << c.name;
}

TEST(Base64, EveryLengthComesBack) {
    std::string bytes(300, '\0');
    std::iota(bytes.begin(), bytes.end(), '\0');
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
        const std::string_view some = std::string_view(bytes).substr(bytes.size() - length);
        ASSERT_EQ(decoded(CBase64().Encode(bytesOf(some))), some);
    }
}

TEST(Base64, WritesOnlyWhereItMay) {
    unsigned char out[5] = {1, 1, 1, 1, 1};
    EXPECT_EQ(CBase64().Decode("Zm8=", out), 2);
    EXPECT_EQ(std::vector<unsigned char>(out, out + 5), (std::vector<unsigned char>{'f', 'o', 0, 0, 0}));
    EXPECT_EQ(CBase64().Decode("Zm9v", std::span<unsigned char>(out, 2)), 0);
    EXPECT_EQ(CBase64().Decode(nullptr, out), 0);
    EXPECT_EQ(CBase64().Decode("Zm9v", nullptr), 0);
}

}  // namespace
}  // namespace vkcomm
