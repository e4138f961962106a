// Text files: encodings, line ends, numbers, and files that do not let themselves be written.
#include "vkcomm/base/text_file.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tests/platform/scratch_folder.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm::base {
namespace {

using test::ScratchFolder;
using namespace std::string_literals;
using Lines = std::vector<std::wstring>;

Lines linesOf(const std::string& bytes) {
    CStdioFileCe file;
    file.OpenBytes(bytes);
    Lines lines;
    for (std::wstring line; file.ReadString(line) != 0;)
        lines.push_back(line);
    return lines;
}

TEST(TextFile, ReadsEveryEncodingAndLineEnd) {
    struct Case {
        const char* name;
        std::string bytes;
        Lines lines;
    };

    const Case cases[] = {
        {"nothing", "", {}},
        {"one empty line", "\n", {L""}},
        {"no end behind the last line", "a\nb", {L"a", L"b"}},
        {"LF", "a\n\nb\n", {L"a", L"", L"b"}},
        {"CR LF", "a\r\n\r\nb\r\n", {L"a", L"", L"b"}},
        {"a CR that ends no line", "a\rb\nc\r", {L"a\rb", L"c\r"}},
        {"UTF-8", "\xE5\x9F\xBA\n", {L"基"}},
        {"UTF-8 with a mark", "\xEF\xBB\xBF\xE5\x9F\xBA\n", {L"基"}},
        {"UTF-8 with another mark inside",
         "a\n\xEF\xBB\xBF"
         "b\n",
         {L"a", L"\uFEFFb"}},
        {"ill-formed UTF-8", "a\xE5\n\x80\n", {L"a\uFFFD", L"\uFFFD"}},
        {"UTF-16 LE with a mark",
         "\xFF\xFE\xFA\x57\r\0\n\0"
         "4\0\n\0"s,
         {L"基", L"4"}},
        {"UTF-16 BE with a mark", "\xFE\xFF\x57\xFA\0\r\0\n\0004\0\n"s, {L"基", L"4"}},
        {"UTF-16 LE",
         "\xFA\x57\n\0"
         "4\0"s,
         {L"基", L"4"}},
        {"UTF-16 BE", "\x57\xFA\0\n\0004"s, {L"基", L"4"}},
        {"UTF-16 LE, a character like a line end first", "\x0A\x57\x41\0\n\0"s, {L"圊A"}},
        {"UTF-16 BE, a character like a line end first", "\x57\x0A\0\x41\0\n"s, {L"圊A"}},
        {"UTF-16 with half a unit",
         "\xFF\xFE"
         "4\0\n\0x"s,
         {L"4", L"\uFFFD"}},
        {"UTF-8 with a zero", "a\0b\nc\n"s, {L"a\0b"s, L"c"}},
        {"a mark alone", "\xFF\xFE"s, {}},
    };
    for (const Case& each : cases)
        EXPECT_EQ(linesOf(each.bytes), each.lines) << each.name;
}

TEST(TextFile, CutsALineOfAMegabyteAndReadsTheNext) {
    const std::size_t longest = CStdioFileCe::m_nLongestLine;
    const std::string letters(1'000'000, 'x');
    EXPECT_EQ(linesOf(letters + "\nnext\n"), (Lines{std::wstring(longest, L'x'), L"next"}));
    const std::string front(longest - 1, 'x');
    EXPECT_EQ(linesOf(front + "\xE5\x9F\xBA\nnext\n"), (Lines{std::wstring(longest - 1, L'x'), L"next"}));
    EXPECT_EQ(linesOf(front + "x\r\n"), (Lines{std::wstring(longest, L'x')}));
}

TEST(TextFile, ReadsNumbers) {
    CStdioFileCe file;
    file.OpenBytes("-7\n 4294967295\n-99999999999999999999\ntext\n1.5\r\n1e300\n-1e300\n2,5\n12"s);
    EXPECT_EQ(file.ReadInt(), -7);
    EXPECT_EQ(file.ReadInt(), 2147483647);
    EXPECT_EQ(file.ReadInt(), -2147483647 - 1);
    EXPECT_EQ(file.ReadInt(), 0);
    EXPECT_EQ(file.ReadDouble(), 1.5);
    EXPECT_EQ(file.ReadFloat(), 3.40282347e38f);
    EXPECT_EQ(file.ReadDouble(), -1e300);
    EXPECT_EQ(file.ReadDouble(), 2.0);
    EXPECT_EQ(file.bEndOfFile(), 0);
    EXPECT_EQ(file.ReadInt(), 12);
    EXPECT_EQ(file.bEndOfFile(), 0);
    EXPECT_EQ(file.ReadInt(), 0);
    EXPECT_EQ(file.bEndOfFile(), 1);
}

TEST(TextFile, WritesUtf8ToAFileAndReadsItBack) {
    const ScratchFolder folder;
    const std::wstring path = toWide(folder.path()) + L"/基.txt";
    CStdioFileCe file;
    ASSERT_EQ(file.Open(path, CStdioFileCe::modeWrite), 1);
    EXPECT_EQ(file.WriteString(L"基准站\n4\n"), 1);
    EXPECT_EQ(file.WriteString(L"a\0b\n"s), 1);
    EXPECT_EQ(file.Close(), 1);
    EXPECT_EQ(folder.read("\xE5\x9F\xBA.txt"), "\xE5\x9F\xBA\xE5\x87\x86\xE7\xAB\x99\n4\nab\n");

    std::wstring line;
    ASSERT_EQ(file.Open(path, CStdioFileCe::modeRead), 1);
    EXPECT_EQ(file.WriteString(L"no"), 0);
    EXPECT_EQ(file.ReadString(line), 1);
    EXPECT_EQ(line, L"基准站");
    EXPECT_EQ(file.ReadInt(), 4);
}

TEST(TextFile, MemoryTakesWhatAFileWould) {
    CStdioFileCe file;
    file.OpenMemory();
    EXPECT_EQ(file.WriteString(L"基\n"), 1);
    EXPECT_EQ(file.WriteString(L"4\n"), 1);
    EXPECT_EQ(file.Close(), 1);
    EXPECT_EQ(file.Bytes(), "\xE5\x9F\xBA\n4\n");
    EXPECT_EQ(file.WriteString(L"closed"), 0);
}

TEST(TextFile, SaysWhyAFileIsNotToBeHad) {
    const ScratchFolder folder;

    struct Case {
        const char* name;
        std::string path;
        CStdioFileCe::OpenMode mode;
        int code;
        std::string what;
    };

    const Case cases[] = {
        {"no such file", folder.path("none"), CStdioFileCe::modeRead, test::kNoFile, "cannot read "},
        {"a folder to read", folder.path(), CStdioFileCe::modeRead, test::kIsFolder, "cannot read "},
        {"a folder to write", folder.path(), CStdioFileCe::modeWrite, test::kIsFolder, "cannot write "},
        {"no such folder", folder.path("none/x"), CStdioFileCe::modeWrite, test::kNoFolder, "cannot write "},
        {"a file without end", "/dev/zero", CStdioFileCe::modeRead, EFBIG, "cannot read "},
    };
    for (const Case& each : cases) {
        CStdioFileCe file;
        EXPECT_EQ(file.Open(each.path, each.mode), 0) << each.name;
        EXPECT_EQ(file.Error().code, each.code) << each.name;
        EXPECT_EQ(file.Error().what, each.what + each.path) << each.name;
        EXPECT_EQ(file.WriteString(L"x"), 0) << each.name;
        EXPECT_EQ(file.ReadInt(), 0) << each.name;
    }
}

TEST(TextFile, AFullDiskShowsAtTheLatestWhenClosing) {
    CStdioFileCe file;
    ASSERT_EQ(file.Open("/dev/full"s, CStdioFileCe::modeWrite), 1);
    file.WriteString(L"few\n");
    EXPECT_EQ(file.Close(), 0);
    EXPECT_EQ(file.Error().code, ENOSPC);

    ASSERT_EQ(file.Open("/dev/full"s, CStdioFileCe::modeWrite), 1);
    EXPECT_EQ(file.WriteString(std::wstring(1'000'000, L'x')), 0);
    EXPECT_EQ(file.WriteString(L"more\n"), 0);
    EXPECT_EQ(file.Close(), 0);
    EXPECT_EQ(file.Error().what, "cannot write /dev/full");
    EXPECT_EQ(file.Error().code, ENOSPC);
}

TEST(TextFile, OneLineHasNoBreaksAndFitsIntoALine) {
    EXPECT_EQ(oneLine(L"a\r\nb\nc\0d"s), L"abcd");
    const std::wstring cut = oneLine(std::wstring(CStdioFileCe::m_nLongestLine, L'基'));
    EXPECT_EQ(cut.size(), CStdioFileCe::m_nLongestLine / 3);
    EXPECT_EQ(oneLine(cut), cut);
}

}  // namespace
}  // namespace vkcomm::base
