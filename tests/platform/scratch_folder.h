// A folder of a test's own, gone with everything in it at the end.
#pragma once

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace vkcomm::test {

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

    std::string path(const std::string& name = {}) const { return (m_path / name).string(); }

    void write(const std::string& name, const std::string& bytes) const {
        std::ofstream(m_path / name, std::ios::binary) << bytes;
    }

    std::string read(const std::string& name) const {
        std::ifstream file(m_path / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_path))
            names.push_back(entry.path().filename().string());
        return names;
    }

private:
    std::filesystem::path m_path;
};

}  // namespace vkcomm::test
