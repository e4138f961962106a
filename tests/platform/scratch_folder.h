// A folder of a test's own, gone with everything in it at the end.
#pragma once

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace vkcomm::test {

// How the system numbers some causes of failures.
#ifdef _WIN32
inline constexpr int kIsFolder = 5, kNoFile = 2, kNoFolder = 3, kNoRoom = 112;
#else
inline constexpr int kIsFolder = EISDIR, kNoFile = ENOENT, kNoFolder = ENOENT, kNoRoom = ENOSPC;
#endif

// A path of UTF-8, which is not what every system takes narrow text for.
inline std::filesystem::path pathOf(const std::string& utf8) {
    return std::u8string(utf8.begin(), utf8.end());
}

class ScratchFolder {
public:
    ScratchFolder()
        : m_path(std::filesystem::path(testing::TempDir()) /
                 ("vkcomm_scratch_" + std::to_string(std::random_device{}()))) {
        std::filesystem::create_directories(m_path);
    }

    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    ~ScratchFolder() { std::filesystem::remove_all(m_path); }

    std::string path(const std::string& name = {}) const { return textOf(m_path / pathOf(name)); }

    void write(const std::string& name, const std::string& bytes) const {
        std::ofstream(m_path / pathOf(name), std::ios::binary) << bytes;
    }

    std::string read(const std::string& name) const {
        std::ifstream file(m_path / pathOf(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_path))
            names.push_back(textOf(entry.path().filename()));
        return names;
    }

private:
    static std::string textOf(const std::filesystem::path& path) {
        const std::u8string utf8 = path.u8string();
        return {utf8.begin(), utf8.end()};
    }

    std::filesystem::path m_path;
};

}  // namespace vkcomm::test
