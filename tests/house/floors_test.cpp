// The order of the house: what may include what, and where the operating system may be named.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const fs::path kRoot = VKCOMM_SOURCE_DIR;

// From the ground up; a room may not include another of its own floor.
const std::vector<std::vector<std::string>> kFloors = {
    {"util"},
    {"datum", "platform"},
    {"gpstime", "base"},
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
    std::string text;  // without a comment
};

std::ostream& operator<<(std::ostream& out, const Line& line) {
    return out << line.file << ":" << line.number << " " << line.text;
}

std::vector<Line> sourceLines() {
    std::vector<Line> lines;
    for (const char* top : {"vkcomm", "host", "sim", "apps"})
        for (const auto& entry : fs::recursive_directory_iterator(kRoot / top)) {
            const std::string extension = entry.path().extension().string();
            if (extension != ".h" && extension != ".cpp") continue;
            std::ifstream file(entry.path());
            std::string text;
            for (int number = 1; std::getline(file, text); ++number)
                lines.push_back(
                    {fs::relative(entry.path(), kRoot).string(), number, text.substr(0, text.find("//"))});
        }
    return lines;
}

// What must not be even if a room should move to another floor.
const std::set<std::pair<std::string, std::string>> kNever = {
    {"control", "formats"}, {"formats", "ports"}, {"frames", "ports"}};

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
        ASSERT_GE(floorOf(to), 0) << line;
        EXPECT_LT(floorOf(to), floorOf(from)) << line;
        EXPECT_FALSE(kNever.contains({from, to})) << line;
        EXPECT_TRUE(from != "sim" || to == "util" || to == "platform") << line << " shares more than bytes";
    }
    EXPECT_GT(seen, 50);
}

// No code outside of the place says what the pattern matches.
void expectNowhere(const char* pattern, const char* place, const char* but) {
    const std::regex forbidden(pattern);
    for (const Line& line : sourceLines()) {
        if (!line.file.starts_with(place) || line.file.starts_with(but)) continue;
        EXPECT_FALSE(std::regex_search(line.text, forbidden)) << line;
    }
}

TEST(Floors, OnlyPlatformKnowsAnOperatingSystem) {
    expectNowhere(
        "#include <(windows|unistd|termios|fcntl|poll|netdb|signal|dirent|dlfcn|pthread|winsock2|sys/|arpa/|"
        "netinet/|linux/|bluetooth/)",
        "", "vkcomm/platform/");
    expectNowhere("_WIN32|_MSC_VER|__linux__|__unix__|__APPLE__", "", "vkcomm/platform/");
}

TEST(Floors, NumbersOfWireTextGoThroughOneDoor) {
    expectNowhere(
        "\\b(s|sn|vs|vsn|f)?w?printf\\(|\\b(strto|wcsto)(d|f|l|ul|ll|ull)\\(|\\bato(i|f|l)\\(|\\bsscanf\\(|"
        "\\b(to_w?string|sto(i|l|ll|ul|ull|f|d|ld))\\(|#include <(sstream|iomanip|iostream|ostream|locale)>",
        "vkcomm/", "vkcomm/util/numbers");
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
