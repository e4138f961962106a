// Replacing files while disks are full, folders are locked and processes die: the old file stays whole.
#include "vkcomm/platform/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <functional>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/platform/scratch_folder.h"

namespace vkcomm::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr uid_t kPlainUser = 65534;

const std::string kOld = std::string(3000, 'o') + "old\n";
const std::string kNew = std::string(200'000, 'n') + "new\n";

mode_t modeOf(const std::string& path) {
    struct stat status {};

    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

// Ends the process at the first byte beyond size, or lets the write fail when the signal is ignored.
void limitFileSize(std::size_t size, bool deadly) {
    std::signal(SIGXFSZ, deadly ? SIG_DFL : SIG_IGN);
    const rlimit none{0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
    const rlimit limit{size, size};
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

// What became of a child process.
struct Child {
    int status;

    bool killedBy(int signal) const { return WIFSIGNALED(status) && WTERMSIG(status) == signal; }

    int exitCode() const { return WIFEXITED(status) ? WEXITSTATUS(status) : -1; }
};

// Runs work in a child process, whose exit code it gives.
Child inChild(const std::function<int()>& work) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(work());
    Child result{};
    EXPECT_EQ(::waitpid(child, &result.status, 0), child);
    return result;
}

// The same as a user whom the rights of files bind; the tests may be run by root.
Child asPlainUser(const std::function<int()>& work) {
    return inChild([&] {
        if (::geteuid() == 0 && (::setgid(kPlainUser) != 0 || ::setuid(kPlainUser) != 0)) return -1;
        return work();
    });
}

// Only root can; another's files are its own already.
void giveTo(const std::string& path, uid_t user, gid_t group) {
    if (::geteuid() != 0) return;
    EXPECT_EQ(::chown(path.c_str(), user, group), 0) << path;
}

void giveToPlainUser(const std::string& path) { giveTo(path, kPlainUser, kPlainUser); }

// 0 replaced, 1 written in place, otherwise the system's number.
int outcome(const ReplaceResult& result) { return result ? (result.inPlace ? 1 : 0) : result.error.code; }

TEST(ReplaceFile, MakesANewFileWithTheRightsTheProcessGives) {
    const ScratchFolder folder;
    const mode_t masked = ::umask(027);
    const ReplaceResult result = replaceFile(folder.path("new"), kNew);
    ::umask(masked);
    EXPECT_EQ(outcome(result), 0) << result.error.message();
    EXPECT_EQ(folder.read("new"), kNew);
    EXPECT_EQ(modeOf(folder.path("new")), 0640u);
    EXPECT_THAT(folder.names(), ElementsAre("new"));
}

TEST(ReplaceFile, KeepsModeAndOwner) {
    const ScratchFolder folder;
    for (const mode_t mode : {0600u, 0644u, 0664u, 02755u}) {
        folder.write("file", kOld);
        giveTo(folder.path("file"), 1234, 4321);
        ASSERT_EQ(::chmod(folder.path("file").c_str(), mode), 0);

        struct stat before {};

        struct stat after {};

        ::stat(folder.path("file").c_str(), &before);
        EXPECT_EQ(outcome(replaceFile(folder.path("file"), kNew)), 0);
        ::stat(folder.path("file").c_str(), &after);
        EXPECT_EQ(folder.read("file"), kNew);
        EXPECT_EQ(after.st_mode, before.st_mode);
        EXPECT_EQ(after.st_uid, before.st_uid);
        EXPECT_EQ(after.st_gid, before.st_gid);
        EXPECT_NE(after.st_ino, before.st_ino) << "not replaced in one step";
    }
}

TEST(ReplaceFile, AGroupThatCannotBeKeptGetsNoMoreThanEverybody) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can give a file to another group";
    const ScratchFolder folder;
    giveToPlainUser(folder.path());
    folder.write("file", kOld);
    giveTo(folder.path("file"), kPlainUser, 4321);
    ASSERT_EQ(::chmod(folder.path("file").c_str(), 0664), 0);
    EXPECT_EQ(asPlainUser([&] { return outcome(replaceFile(folder.path("file"), kNew)); }).exitCode(), 0);
    EXPECT_EQ(folder.read("file"), kNew);
    EXPECT_EQ(modeOf(folder.path("file")), 0644u);
}

TEST(ReplaceFile, FollowsLinks) {
    const ScratchFolder folder;
    std::filesystem::create_directories(folder.path("kept"));
    folder.write("kept/file", kOld);
    std::filesystem::create_symlink("kept/second", folder.path("first"));
    std::filesystem::create_symlink(folder.path("kept/file"), folder.path("kept/second"));
    std::filesystem::create_symlink("kept/none", folder.path("dangling"));
    std::filesystem::create_symlink("loop", folder.path("loop"));

    EXPECT_EQ(outcome(replaceFile(folder.path("first"), kNew)), 0);
    EXPECT_EQ(folder.read("kept/file"), kNew);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("first")));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("kept/second")));
    EXPECT_EQ(outcome(replaceFile(folder.path("dangling"), "made")), 0);
    EXPECT_EQ(folder.read("kept/none"), "made");
    EXPECT_EQ(outcome(replaceFile(folder.path("loop"), kNew)), ELOOP);
}

TEST(ReplaceFile, TakesTheLongestNames) {
    const ScratchFolder folder;
    const std::string name(255, 'x');
    folder.write(name, kOld);
    EXPECT_EQ(outcome(replaceFile(folder.path(name), kNew)), 0);
    EXPECT_EQ(folder.read(name), kNew);
}

TEST(ReplaceFile, SaysWhatCannotBeWritten) {
    const ScratchFolder folder;
    folder.write("file", kOld);

    struct Case {
        const char* name;
        std::string path;
        int outcome;
        const char* text;
    };

    const Case cases[] = {
        {"a folder", folder.path(), EISDIR, "Is a directory"},
        {"no such folder", folder.path("none/file"), ENOENT, "No such file or directory"},
        {"a file for a folder", folder.path("file/file"), ENOTDIR, "Not a directory"},
        {"no name", "", ENOENT, "No such file or directory"},
        {"a full device", "/dev/full", ENOSPC, "No space left on device"},
    };
    for (const Case& each : cases) {
        const ReplaceResult result = replaceFile(each.path, kNew);
        EXPECT_EQ(outcome(result), each.outcome) << each.name;
        EXPECT_EQ(result.error.message(), "cannot write " + each.path + ": " + each.text) << each.name;
    }
    EXPECT_EQ(outcome(replaceFile("/dev/null", kNew)), 1);
    EXPECT_THAT(folder.names(), ElementsAre("file"));
    EXPECT_EQ(folder.read("file"), kOld);
}

TEST(ReplaceFile, AWriterThatFailsAfterSomeBytesLeavesTheOldFile) {
    const ScratchFolder folder;
    folder.write("file", kOld);
    for (const std::size_t bytes : {std::size_t{0}, std::size_t{1}, std::size_t{4096}, kNew.size() - 1}) {
        const Child child = inChild([&] {
            limitFileSize(bytes, false);
            return outcome(replaceFile(folder.path("file"), kNew));
        });
        EXPECT_EQ(child.exitCode(), EFBIG) << bytes;
        EXPECT_EQ(folder.read("file"), kOld) << bytes;
        EXPECT_THAT(folder.names(), ElementsAre("file")) << bytes;
    }
}

TEST(ReplaceFile, AProcessThatDiesAfterSomeBytesLeavesTheOldFile) {
    const ScratchFolder folder;
    folder.write("file", kOld);
    for (const std::size_t bytes : {std::size_t{0}, std::size_t{4096}, kNew.size() - 1}) {
        const Child child = inChild([&] {
            limitFileSize(bytes, true);
            return outcome(replaceFile(folder.path("file"), kNew));
        });
        EXPECT_TRUE(child.killedBy(SIGXFSZ)) << bytes;
        EXPECT_EQ(folder.read("file"), kOld) << bytes;
    }
    EXPECT_EQ(outcome(replaceFile(folder.path("file"), kNew)), 0) << "what the dead left is in the way";
    EXPECT_EQ(folder.read("file"), kNew);
}

TEST(ReplaceFile, AKilledProcessLeavesOneOfTheTwoWhole) {
    const ScratchFolder folder;
    folder.write("file", kOld);
    for (int microseconds = 0; microseconds < 20'000; microseconds += 1'000) {
        const pid_t child = ::fork();
        if (child == 0)
            for (;;) {
                replaceFile(folder.path("file"), kNew);
                replaceFile(folder.path("file"), kOld);
            }
        ::usleep(static_cast<useconds_t>(microseconds));
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        const std::string found = folder.read("file");
        ASSERT_TRUE(found == kOld || found == kNew) << found.size() << " bytes";
    }
}

TEST(ReplaceFile, InALockedFolderWritesInPlaceAndSaysSo) {
    const ScratchFolder folder;
    folder.write("file", kNew);
    giveToPlainUser(folder.path("file"));
    giveToPlainUser(folder.path());
    ASSERT_EQ(::chmod(folder.path().c_str(), 0555), 0);
    const int existing =
        asPlainUser([&] { return outcome(replaceFile(folder.path("file"), kOld)); }).exitCode();
    const int missing =
        asPlainUser([&] { return outcome(replaceFile(folder.path("none"), kOld)); }).exitCode();
    ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
    EXPECT_EQ(existing, 1);
    EXPECT_EQ(missing, EACCES);
    EXPECT_EQ(folder.read("file"), kOld);
    EXPECT_THAT(folder.names(), ElementsAre("file"));
}

TEST(ReplaceFile, AWriteProtectedFileStaysEvenWhereItsFolderIsOpen) {
    const ScratchFolder folder;
    folder.write("file", kOld);
    giveToPlainUser(folder.path("file"));
    giveToPlainUser(folder.path());
    ASSERT_EQ(::chmod(folder.path("file").c_str(), 0444), 0);
    EXPECT_EQ(asPlainUser([&] { return outcome(replaceFile(folder.path("file"), kNew)); }).exitCode(),
              EACCES);
    EXPECT_EQ(folder.read("file"), kOld);
}

TEST(ReadFile, StopsAtTheBound) {
    const ScratchFolder folder;
    folder.write("file", kNew);
    std::string bytes;
    SystemError error;
    EXPECT_TRUE(readFile(folder.path("file"), kNew.size(), bytes, error));
    EXPECT_EQ(bytes, kNew);
    EXPECT_FALSE(readFile(folder.path("file"), kNew.size() - 1, bytes, error));
    EXPECT_EQ(error.code, EFBIG);
    EXPECT_THAT(bytes, IsEmpty());
}

TEST(JoinPath, PutsOneSeparatorBetween) {
    EXPECT_EQ(joinPath("", "name"), "name");
    EXPECT_EQ(joinPath("a/b", "name"), "a/b/name");
    EXPECT_EQ(joinPath("a/b/", "name"), "a/b/name");
    EXPECT_EQ(joinPath("/", "name"), "/name");
}

}  // namespace
}  // namespace vkcomm::test
