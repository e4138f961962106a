// The command as a process, in a folder of its own.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#ifndef VKCOMM_COMMAND
#define VKCOMM_COMMAND ""
#endif

namespace vkcomm::test {

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

// The folder is gone afterwards.
class Command : public testing::Test {
protected:
    void SetUp() override {
        if (std::string_view(VKCOMM_COMMAND).empty()) GTEST_SKIP() << "the command is not built";
        std::random_device random;
        m_folder = std::filesystem::path(testing::TempDir()) / ("vkcomm_command_" + std::to_string(random()));
        std::filesystem::create_directories(m_folder);
    }

    void TearDown() override {
        if (!m_folder.empty()) std::filesystem::remove_all(m_folder);
    }

    void write(const std::string& name, const std::string& bytes) {
        std::ofstream(m_folder / name, std::ios::binary) << bytes;
    }

    std::string bytesOf(const std::string& name) {
        std::ifstream file(m_folder / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    // A line for the shell, in which VKCOMM stands for the command, and "$VKCOMM" for its path.
    Outcome shell(const std::string& line) {
        write("script", "cd '" + m_folder.string() +
                            "'\nVKCOMM='" VKCOMM_COMMAND "'\nVKCOMM() { \"$VKCOMM\" \"$@\"; }\n{ " + line +
                            "\n} >out 2>err\n");
        const int status = std::system(("sh '" + (m_folder / "script").string() + "'").c_str());
        // the status a shell ends with stands in the second byte
        return {(status & 0x7F) == 0 ? status >> 8 & 0xFF : -1, bytesOf("out"), bytesOf("err")};
    }

    // A line for the shell with a wait for a condition, which gives up after a minute.
    Outcome play(const std::string& line) {
        return shell(R"sh(await() {
    tries=0
    until eval "$1"; do
        tries=$((tries + 1))
        [ $tries -lt 600 ] || { echo "waited in vain for: $1" >&2; exit 99; }
        sleep 0.1
    done
}
)sh" + line);
    }

    Outcome run(const std::string& arguments) { return shell("VKCOMM " + arguments); }

private:
    std::filesystem::path m_folder;
};

}  // namespace vkcomm::test
