// The order of the house: what may include what, and where the operating system may be named.
#include <gtest/gtest.h>

#include <cctype>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
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

std::vector<Line> readSources() {
    std::vector<Line> lines;
    for (const char* top : {"vkcomm", "host", "sim", "apps"})
        for (const auto& entry : fs::recursive_directory_iterator(kRoot / top)) {
            const std::string extension = entry.path().extension().string();
            if (extension != ".h" && extension != ".cpp") continue;
            std::ifstream file(entry.path());
            std::string text;
            for (int number = 1; std::getline(file, text); ++number)
                lines.push_back({fs::relative(entry.path(), kRoot).generic_string(), number,
                                 text.substr(0, text.find("//"))});
        }
    return lines;
}

const std::vector<Line>& sourceLines() {
    static const std::vector<Line> lines = readSources();
    return lines;
}

// What must not be even if a room should move to another floor.
const std::set<std::pair<std::string, std::string>> kNever = {
    {"control", "formats"}, {"formats", "ports"}, {"frames", "ports"}};

TEST(Floors, IncludesPointDownwards) {
    constexpr std::string_view kInclude = "#include \"";
    int seen = 0;
    for (const Line& line : sourceLines()) {
        if (!line.text.starts_with(kInclude)) continue;
        ++seen;
        const std::string from = roomOf(line.file);
        const std::string path = line.text.substr(kInclude.size());
        const std::string to = roomOf(path.substr(0, path.find('"')));
        if (from.empty() || to.empty() || from == to) continue;
        ASSERT_GE(floorOf(from), 0) << line.file << " is in a room that is on no floor";
        ASSERT_GE(floorOf(to), 0) << line;
        EXPECT_LT(floorOf(to), floorOf(from)) << line;
        EXPECT_FALSE(kNever.contains({from, to})) << line;
        EXPECT_TRUE(from != "sim" || to == "util" || to == "platform") << line << " shares more than bytes";
    }
    EXPECT_GT(seen, 50);
}

// A word that begins with a letter does not count as the end of a longer one.
bool says(std::string_view text, std::string_view word) {
    const auto isLetter = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_'; };
    for (std::size_t at = text.find(word); at != text.npos; at = text.find(word, at + 1))
        if (at == 0 || !isLetter(word[0]) || !isLetter(text[at - 1])) return true;
    return false;
}

// No code of the place says any of the words, but for one part of it.
void expectNowhere(std::initializer_list<std::string_view> words, std::string_view place,
                   std::string_view but) {
    for (const Line& line : sourceLines()) {
        if (!line.file.starts_with(place) || line.file.starts_with(but)) continue;
        for (const std::string_view word : words)
            EXPECT_FALSE(says(line.text, word)) << line;
    }
}

TEST(Floors, OnlyPlatformKnowsAnOperatingSystem) {
    expectNowhere({"<windows", "<winsock2",   "<unistd", "<termios", "<fcntl",    "<poll",    "<netdb",
                   "<signal",  "<dirent",     "<dlfcn",  "<pthread", "<sys/",     "<arpa/",   "<netinet/",
                   "<linux/",  "<bluetooth/", "_WIN32",  "_MSC_VER", "__linux__", "__unix__", "__APPLE__"},
                  "", "vkcomm/platform/");
}

TEST(Floors, NumbersOfWireTextGoThroughOneDoor) {
    expectNowhere({"printf(",    "sprintf(",  "snprintf(",  "fprintf(",  "vprintf(",   "vsprintf(",
                   "vsnprintf(", "wprintf(",  "swprintf(",  "strtod(",   "strtof(",    "strtol(",
                   "strtoll(",   "strtoul(",  "strtoull(",  "wcstod(",   "wcstol(",    "atoi(",
                   "atof(",      "atol(",     "sscanf(",    "stoi(",     "stol(",      "stoll(",
                   "stoul(",     "stoull(",   "stof(",      "stod(",     "to_string(", "to_wstring(",
                   "<sstream>",  "<iomanip>", "<iostream>", "<ostream>", "<locale>"},
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
