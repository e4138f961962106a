// The command as a process: what it prints, what it complains of, how it ends.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "host/receiver_family.h"
#include "tests/decode/frames.h"

#ifndef VKCOMM_COMMAND
#define VKCOMM_COMMAND ""
#endif

namespace vkcomm::test {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

const std::string kGga = sentence("GPGGA,123519.50,4807.038,N,01131.000,E,4,08,0.9,545.4,M,46.9,M,1.0,0031");
const std::string kGll = sentence("GNGLL,4807.038,N,01131.000,E,123519.50,A,D");
const std::string kBestpos = oem4(42, std::string(72, 'q'));

std::string bytesIn(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::string lowerHex(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        text += "0123456789abcdef"[byteOf(byte) / 16];
        text += "0123456789abcdef"[byteOf(byte) % 16];
    }
    return text;
}

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

// Runs the command in a folder of its own, which is gone afterwards. VKCOMM stands for the command.
class Command : public testing::Test {
protected:
    void SetUp() override {
        if (std::string_view(VKCOMM_COMMAND).empty()) GTEST_SKIP() << "the command is not built";
        std::random_device random;
        m_folder = std::filesystem::path(testing::TempDir()) / ("vkcomm_command_" + std::to_string(random()));
        std::filesystem::create_directories(m_folder);
        write("gga.nmea", kGga);
        write("gll.nmea", kGll);
        write("log.bin", kBestpos);
        write("mixed.bin", kGga + kBestpos + kGll + trimble(0x40, "abc"));
        write("empty.bin", "");
    }

    void TearDown() override {
        if (!m_folder.empty()) std::filesystem::remove_all(m_folder);
    }

    void write(const std::string& name, const std::string& bytes) {
        std::ofstream(m_folder / name, std::ios::binary) << bytes;
    }

    std::string fileBytes(const std::string& name) { return bytesIn(m_folder / name); }

    // A line for the shell.
    Outcome shell(const std::string& line) {
        const std::string script = "cd '" + m_folder.string() +
                                   "'\nVKCOMM() { '" VKCOMM_COMMAND "' \"$@\"; }\n{ " + line +
                                   "\n} >out 2>err\n";
        write("script", script);
        const int status = std::system(("sh '" + (m_folder / "script").string() + "'").c_str());
        return {exitStatus(status), fileBytes("out"), fileBytes("err")};
    }

    Outcome run(const std::string& arguments) { return shell("VKCOMM " + arguments); }

    // Standard output of a run that must succeed and say nothing else.
    std::string output(const std::string& arguments) {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 0) << arguments;
        EXPECT_EQ(outcome.err, "") << arguments;
        return outcome.out;
    }

private:
    // The status a shell ends with stands in the second byte.
    static int exitStatus(int status) { return (status & 0x7F) == 0 ? status >> 8 & 0xFF : -1; }

    std::filesystem::path m_folder;
};

TEST_F(Command, EndsAsItShould) {
    struct Case {
        const char* arguments;
        int status;
        const char* out;
        const char* err;
    };

    const Case cases[] = {
        {"--help", 0, "decode", ""},
        {"--version", 0, ".", ""},
        {"decode --help", 0, "vkcomm simulate oem4 -o demo.bin", ""},
        {"simulate --help", 0, "vkcomm simulate nmea -o demo.nmea", ""},
        {"", 2, "", "subcommand is required"},
        {"dance", 2, "", "dance is no verb"},
        {"decode", 2, "", "FILE is required"},
        {"decode --loud gga.nmea", 2, "", "--loud"},
        {"decode --family nobody gga.nmea", 2, "", "nobody"},
        {"decode --mask 0xXY gga.nmea", 2, "", "0xXY is no 32-bit hexadecimal number"},
        {"decode --mask 123456789 gga.nmea", 2, "", "123456789 is no 32-bit hexadecimal number"},
        {"decode --mask 0x20 --family nmea gga.nmea", 2, "", "excludes"},
        {"decode --json --records gga.nmea", 2, "", "excludes"},
        {"decode --summary --records gga.nmea", 2, "", "excludes"},
        {"decode --chunk 0 gga.nmea", 2, "", "--chunk"},
        {"decode --chunk 8193 gga.nmea", 2, "", "--chunk"},
        {"decode missing.bin", 1, "", "missing.bin: cannot be opened: No such file"},
        {"decode .", 1, "", ".: is a folder"},
        {"decode empty.bin", 1, "", "empty.bin: is empty"},
        {"decode - </dev/null", 1, "", "-: is empty"},
        {"decode --family nmea gga.nmea", 0, "GPGGA", ""},
        {"decode --family nmea - <gga.nmea", 0, "GPGGA", ""},
        {"decode missing.bin gga.nmea", 1, "GPGGA", "missing.bin"},
        {"decode --json mixed.bin >/dev/full", 1, "", "standard output takes no more: No space left"},
        {"simulate nobody -o x.bin", 2, "", "nobody"},
        {"simulate nmea", 2, "", "--output is required"},
        {"simulate nmea -o x.bin --seconds 0", 2, "", "seconds must be"},
        {"simulate nmea -o missing/x.bin", 1, "", "missing/x.bin: cannot be written: No such file"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arguments);
        const Outcome outcome = run(c.arguments);
        EXPECT_EQ(outcome.status, c.status);
        EXPECT_THAT(outcome.out, HasSubstr(c.out));
        EXPECT_THAT(outcome.err, HasSubstr(c.err));
        EXPECT_EQ(outcome.out.empty(), c.out[0] == '\0') << outcome.out;
        EXPECT_EQ(outcome.err.empty(), c.err[0] == '\0') << outcome.err;
    }
}

// The bare form, to the byte: every record in order, those of type 0 with the bytes they used up.
TEST_F(Command, RecordsAreBare) {
    write("bare.bin", kBestpos + "@ab" + kGll + "\x10");
    EXPECT_THAT(
        linesOf(output("decode --records bare.bin")),
        ElementsAre(R"({"offset":0,"type":4,"id":42,"size":104,"data":")" + lowerHex(kBestpos) + R"("})",
                    R"({"offset":104,"type":0,"id":0,"size":3,"data":"406162"})",
                    R"({"offset":107,"type":6,"id":5002,"size":48,"data":")" + lowerHex(kGll) + R"("})",
                    R"({"offset":155,"type":20,"id":71,"size":1,"data":"10"})"));
}

std::vector<json> objectsIn(const std::string& text) {
    std::vector<json> objects;
    for (const std::string& line : linesOf(text))
        objects.push_back(json::parse(line));
    return objects;
}

MATCHER_P(Holds, members, "holds " + std::string(members)) {
    const json expected = json::parse(members);
    return std::ranges::all_of(expected.items(), [&](const auto& member) {
        return arg.contains(member.key()) && arg.at(member.key()) == member.value();
    });
}

TEST_F(Command, JsonLinesHoldWhatTheRecordsSay) {
    EXPECT_THAT(
        objectsIn(output("decode --family all --json mixed.bin")),
        ElementsAre(
            Holds(R"({"offset":0,"type":6,"family":"nmea","id":1,"name":"GPGGA","size":77,"utc":"12:35:19.50",
                "latitude_deg":48.1173,"longitude_deg":11.516666667,"height_ellipsoid_m":592.3,"quality":4,
                "satellites":8,"hdop":0.9,"age_s":1,"station":31})"),
            Holds(R"({"offset":77,"type":4,"family":"oem4","id":42,"name":"BESTPOS","size":104})"),
            Holds(R"({"offset":181,"type":6,"family":"nmea","id":5002,"name":"GNGLL","size":48,
                "fields":["4807.038","N","01131.000","E","123519.50","A","D"]})"),
            Holds(R"({"offset":229,"type":12,"family":"trimble","id":64,"name":"GENOUT","size":9})")));
}

TEST_F(Command, TextLinesShowNamesAndValues) {
    const std::vector<std::string> lines = linesOf(output("decode --family all mixed.bin"));
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_THAT(lines[0], AllOf(HasSubstr("GPGGA"), HasSubstr(" utc=12:35:19.50 latitude_deg=48.117300000 "),
                                HasSubstr(" quality=4 ")));
    EXPECT_THAT(lines[1], AllOf(HasSubstr("77 "), HasSubstr("oem4"), HasSubstr("BESTPOS"), HasSubstr("104")));
}

TEST_F(Command, SummaryCountsMessagesAndLosses) {
    write("lossy.bin", kGga + "garbage" + kGga + sentence("PXYZ,1"));
    const std::string text = output("decode --summary --family nmea lossy.bin");
    EXPECT_THAT(linesOf(text), ElementsAre(AllOf(HasSubstr(" 2  nmea"), HasSubstr("GPGGA")),
                                           HasSubstr(" 2  records from 173 bytes, 19 bytes in no record"),
                                           HasSubstr(" 1  '$' sentences with a good checksum")));

    const std::vector<json> objects = objectsIn(output("decode --summary --json --family nmea lossy.bin"));
    ASSERT_THAT(objects, ElementsAre(Holds(R"({"bytes":173,"dropped_bytes":19,"records":2,
                             "unknown_sentences":1,"rejected":{"nmea":1}})")));
    EXPECT_THAT(objects[0].at("messages"),
                ElementsAre(Holds(R"({"type":6,"family":"nmea","id":1,"name":"GPGGA","count":2})")));
}

std::vector<std::string> namesIn(const std::string& jsonLines) {
    std::vector<std::string> names;
    for (const json& object : objectsIn(jsonLines))
        names.push_back(object.at("name"));
    return names;
}

TEST_F(Command, MasksAndFamiliesChooseFrames) {
    EXPECT_THAT(namesIn(output("decode --json --mask 0x800 mixed.bin")), ElementsAre("BESTPOS", "GENOUT"));
    EXPECT_THAT(namesIn(output("decode --json --mask 20 mixed.bin")),
                ElementsAre("GPGGA", "BESTPOS", "GNGLL"));
    EXPECT_THAT(namesIn(output("decode --json --family trimble mixed.bin")),
                ElementsAre("GPGGA", "BESTPOS", "GNGLL", "GENOUT"));
    for (const ReceiverFamily& family : receiverFamilies())
        EXPECT_NE(run("decode --family " + std::string(family.name) + " mixed.bin").status, 2) << family.name;

    write("tilde.bin", "~abc~");
    EXPECT_EQ(output("decode --records tilde.bin"), "");
    EXPECT_EQ(output("decode --records --tilde tilde.bin"),
              "{\"offset\":0,\"type\":19,\"id\":3,\"size\":5,\"data\":\"7e6162637e\"}\n");
}

TEST_F(Command, SeveralFilesAreToldApart) {
    const std::string text = output("decode --family all gga.nmea log.bin");
    EXPECT_THAT(linesOf(text),
                ElementsAre("gga.nmea:", HasSubstr("GPGGA"), "log.bin:", HasSubstr("BESTPOS")));
    for (const char* form : {"--json", "--json --summary"}) {
        const std::vector<json> objects =
            objectsIn(output(std::string("decode --family all gga.nmea log.bin ") + form));
        ASSERT_EQ(objects.size(), 2u);
        EXPECT_EQ(objects[0].at("file"), "gga.nmea");
        EXPECT_EQ(objects[1].at("file"), "log.bin");
    }
}

TEST_F(Command, SimulatedRecordingsDecodeHoweverTheyAreCut) {
    for (const std::string family : {"nmea", "oem4"}) {
        SCOPED_TRACE(family);
        const std::string simulate = "simulate " + family + " --seconds 60 --seed 7 --damage 5 -o ";
        const Outcome simulated = run(simulate + family);
        EXPECT_EQ(simulated.status, 0);
        EXPECT_THAT(simulated.err, HasSubstr(" frames, "));
        EXPECT_EQ(run(simulate + "-").out, fileBytes(family));

        const std::string records = output("decode --records --family " + family + " " + family);
        EXPECT_GT(linesOf(records).size(), 200u);
        for (const std::string chunk : {"1", "100", "8192"})
            EXPECT_EQ(output("decode --records --family " + family + " --chunk " + chunk + " " + family),
                      records)
                << chunk;
    }
}

// A reader that has seen enough, such as head.
TEST_F(Command, EndsWhenNobodyReadsOn) {
    ASSERT_EQ(run("simulate nmea --seconds 3000 -o long").status, 0);
    const Outcome outcome = shell("{ VKCOMM decode long; echo \"status $?\" >&2; } | head -n 1");
    EXPECT_EQ(linesOf(outcome.out).size(), 1u);
    EXPECT_THAT(outcome.err, AllOf(HasSubstr("standard output takes no more"), HasSubstr("status 1")));
}

}  // namespace
}  // namespace vkcomm::test
