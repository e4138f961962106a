// The order of the house: what may include what, and where the operating system may be named.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const fs::path kRoot = VKCOMM_SOURCE_DIR;

// From the ground up; a room may include its own floor's rooms only where it is the same room.
const std::vector<std::vector<std::string>> kFloors = {
    {"util", "base"},
    {"datum", "platform"},
    {"gpstime"},
    {"decode", "frames"},
    {"formats", "ports", "net", "settings"},
    {"control"},
    {"host", "sim"},
    {"apps"},
};

int floorOf(const std::string& room) {
    for (std::size_t floor = 0; floor < kFloors.size(); ++floor)
        for (const std::string& each : kFloors[floor])
            if (each == room) return static_cast<int>(floor);
    return -1;
}

// "vkcomm/util/x.h" is in util, "host/x.h" in host; "vkcomm/x.h" is the front door.
std::string roomOf(const std::string& path) {
    std::istringstream parts(path);
    std::string first;
    std::string second;
    std::getline(parts, first, '/');
    std::getline(parts, second, '/');
    if (first != "vkcomm") return first;
    return second.ends_with(".h") ? "" : second;
}

struct Line {
    std::string file;
    int number;
    std::string text;
};

std::vector<Line> sourceLines() {
    std::vector<Line> lines;
    for (const char* top : {"vkcomm", "host", "sim", "apps"})
        for (const auto& entry : fs::recursive_directory_iterator(kRoot / top)) {
            const std::string extension = entry.path().extension().string();
            if (extension != ".h" && extension != ".cpp") continue;
            std::ifstream file(entry.path());
            std::string text;
            for (int number = 1; std::getline(file, text); ++number)
                lines.push_back({fs::relative(entry.path(), kRoot).string(), number, text});
        }
    return lines;
}

TEST(Floors, IncludesPointDownwards) {
    const std::regex include("^#include \"([^\"]+)\"");
    int seen = 0;
    for (const Line& line : sourceLines()) {
        std::smatch match;
        if (!std::regex_search(line.text, match, include)) continue;
        ++seen;
        const std::string from = roomOf(line.file);
        const std::string to = roomOf(match[1]);
        if (from.empty() || to.empty() || from == to) continue;
        ASSERT_GE(floorOf(from), 0) << line.file << " is in a room that is on no floor";
        ASSERT_GE(floorOf(to), 0) << line.file << ":" << line.number << " includes " << match[1];
        EXPECT_LT(floorOf(to), floorOf(from)) << line.file << ":" << line.number << " includes " << match[1];
        EXPECT_TRUE(from != "sim" || to == "util")
            << line.file << ":" << line.number << " shares more than bytes";
    }
    EXPECT_GT(seen, 50);
}

TEST(Floors, OnlyPlatformKnowsAnOperatingSystem) {
    const std::regex system(
        "#include "
        "<(windows|unistd|termios|fcntl|poll|netdb|signal|winsock2|sys/|arpa/|netinet/|linux/|bluetooth/)");
    const std::regex conditional("(_WIN32|__linux__|__unix__|__APPLE__)");
    for (const Line& line : sourceLines()) {
        if (line.file.starts_with("vkcomm/platform/")) continue;
        EXPECT_FALSE(std::regex_search(line.text, system))
            << line.file << ":" << line.number << " " << line.text;
        EXPECT_FALSE(std::regex_search(line.text, conditional))
            << line.file << ":" << line.number << " " << line.text;
    }
}

TEST(Floors, NumbersOfWireTextGoThroughOneDoor) {
    const std::regex family(
        "\\b(s|sn|vs|vsn|f)?printf\\(|\\bstrto(d|l|ul|ll)\\(|\\bato(i|f|l)\\(|\\bsscanf\\(");
    for (const Line& line : sourceLines()) {
        if (!line.file.starts_with("vkcomm/") || line.text.find("//") != std::string::npos) continue;
        EXPECT_FALSE(std::regex_search(line.text, family))
            << line.file << ":" << line.number << " " << line.text;
    }
}

std::string contents(const fs::path& path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

TEST(Readme, ShowsTheExampleThatIsBuilt) {
    EXPECT_NE(contents(kRoot / "README.md").find(contents(kRoot / "examples/positions.cpp")),
              std::string::npos);
}

}  // namespace
