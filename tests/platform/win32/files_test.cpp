// Files of Windows: wide names, replacing in one step, and who is in the way.
#include "vkcomm/platform/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/scratch_folder.h"
#include "vkcomm/platform/byte_file.h"
#include "vkcomm/platform/win32/handle.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const std::string kOld = std::string(3000, 'o') + "old\n";
const std::string kNew = std::string(200'000, 'n') + "new\n";

std::string contents(const std::string& path) {
    std::string bytes;
    SystemError error;
    EXPECT_TRUE(readFile(path, 1'000'000, bytes, error)) << error.message();
    return bytes;
}

// Holds a file open as a program does that lets nobody else touch it.
Handle holdAlone(const std::string& path) {
    return Handle(::CreateFileW(toWide(path).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
}

TEST(ReplacingAFile, TakesNamesThatNoCodePageHas) {
    const ScratchFolder folder;
    const std::string path = joinPath(folder.path(), "Höhe-測量-\U0001F6F0.txt");
    for (const std::string& bytes : {kOld, kNew, std::string()}) {
        const ReplaceResult result = replaceFile(path, bytes);
        EXPECT_TRUE(result) << result.error.message();
        EXPECT_FALSE(result.inPlace);
        EXPECT_EQ(contents(path), bytes);
    }
    EXPECT_EQ(folder.names().size(), 1u);
}

TEST(ReplacingAFile, KeepsAttributes) {
    const ScratchFolder folder;
    folder.write("file", kOld);
    const std::wstring path = toWide(folder.path("file"));
    ASSERT_NE(::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_HIDDEN), 0);
    if ((::GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_HIDDEN) == 0) GTEST_SKIP() << "not on this disk";
    EXPECT_TRUE(replaceFile(folder.path("file"), kNew));
    EXPECT_NE(::GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_HIDDEN, 0u);
    EXPECT_EQ(folder.read("file"), kNew);
}

TEST(ReplacingAFile, WhatCannotBeReplacedStaysWholeWithNothingBesideIt) {
    const ScratchFolder folder;
    folder.write("held", kOld);
    folder.write("locked", kOld);
    ASSERT_NE(::SetFileAttributesW(toWide(folder.path("locked")).c_str(), FILE_ATTRIBUTE_READONLY), 0);
    const Handle held = holdAlone(folder.path("held"));
    ASSERT_TRUE(held);

    struct Case {
        const char* name;
        std::string path;
        int code;
    };

    const Case cases[] = {
        {"a folder", folder.path(), ERROR_ACCESS_DENIED},
        {"a write-protected file", folder.path("locked"), ERROR_ACCESS_DENIED},
        {"a file that another holds", folder.path("held"), ERROR_SHARING_VIOLATION},
        {"no such folder", folder.path("none\\file"), ERROR_PATH_NOT_FOUND},
    };
    for (const Case& each : cases) {
        const ReplaceResult result = replaceFile(each.path, kNew);
        EXPECT_EQ(result.error.code, each.code) << each.name;
        EXPECT_THAT(result.error.message(), HasSubstr("cannot write " + each.path + ": ")) << each.name;
        EXPECT_FALSE(result.inPlace) << each.name;
    }
    EXPECT_THAT(folder.names(), testing::UnorderedElementsAre("held", "locked"));
    EXPECT_EQ(folder.read("locked"), kOld);
    ::SetFileAttributesW(toWide(folder.path("locked")).c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST(ReplacingAFile, IsNotHinderedByWhoReadsIt) {
    const ScratchFolder folder;
    folder.write("file", kOld);
    SystemError error;
    const FileHandle read = openFile(folder.path("file"), FileUse::kRead, error);
    const auto logged = systemByteFiles().open(toWide(folder.path("file")), kFileWrite, error);
    const ReplaceResult result = replaceFile(folder.path("file"), kNew);
    EXPECT_TRUE(result) << result.error.message();
    EXPECT_EQ(folder.read("file"), kNew);
    std::string bytes;
    EXPECT_TRUE(readFile(read.get(), "file", 1'000'000, bytes, error));
    EXPECT_EQ(bytes, kOld) << "which goes on with the old one";
}

TEST(OpenFile, SaysThatThereAreTooMany) {
    const ScratchFolder folder;
    folder.write("file", kOld);
    for (int time = 0; time < 2; ++time) {
        std::vector<FileHandle> open;
        SystemError error;
        do
            open.push_back(openFile(folder.path("file"), FileUse::kRead, error));
        while (open.back() && open.size() < 100'000);
        EXPECT_GT(open.size(), 100u) << "those of the first time are closed";
        EXPECT_EQ(error.code, ERROR_TOO_MANY_OPEN_FILES);
    }
    EXPECT_TRUE(holdAlone(folder.path("file"))) << "and so is the one that was one too many";
}

TEST(OpenFile, SaysWhatCannotBeOpened) {
    const ScratchFolder folder;
    SystemError error;
    EXPECT_EQ(openFile(folder.path(), FileUse::kRead, error), nullptr);
    EXPECT_EQ(error.message(), "cannot read " + folder.path() + ": it is a folder");
    EXPECT_EQ(openFile(folder.path("none"), FileUse::kRead, error), nullptr);
    EXPECT_EQ(error.code, ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(systemByteFiles().open(toWide(folder.path()), 0, error), nullptr);
}

TEST(ByteFiles, OpenAsTheFlagsSay) {
    const ScratchFolder folder;
    const std::wstring path = toWide(joinPath(folder.path(), "données"));
    SystemError error;
    const unsigned char bytes[] = {0x0D, 0x0A, 0x1A, 0x00};  // nothing is translated, nothing ends the file
    EXPECT_EQ(systemByteFiles().open(path, 0, error), nullptr);
    for (const unsigned int flags : {kFileCreate | kFileWrite, kFileCreate | kFileWrite | kFileNoTruncate}) {
        const auto file = systemByteFiles().open(path, flags, error);
        ASSERT_TRUE(file) << error.message();
        EXPECT_TRUE(file->seekToEnd());
        EXPECT_EQ(file->write(bytes, error), sizeof bytes);
    }
    unsigned char read[16];
    const auto file = systemByteFiles().open(path, 0, error);
    EXPECT_EQ(file->read(read, error), 2 * sizeof bytes);
    EXPECT_THAT(std::vector<int>(read, read + 8), ElementsAre(0x0D, 0x0A, 0x1A, 0, 0x0D, 0x0A, 0x1A, 0));
    EXPECT_EQ(systemByteFiles().open(path, kFileCreate | kFileWrite, error)->read(read, error), 0u);
    EXPECT_EQ(contents(toUtf8(path)), "");
}

TEST(JoinPath, PutsOneSeparatorBetween) {
    EXPECT_EQ(joinPath("", "name"), "name");
    EXPECT_EQ(joinPath("C:\\a", "name"), "C:\\a\\name");
    EXPECT_EQ(joinPath("C:\\", "name"), "C:\\name");
    EXPECT_EQ(joinPath("a/b/", "name"), "a/b/name");
    EXPECT_EQ(joinPath("C:", "name"), "C:name");
}

}  // namespace
}  // namespace vkcomm::test
