// The command on recordings of every family: positions, guesses, and families that do not match.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "tests/host/literal_frames.h"

#ifndef VKCOMM_COMMAND
#define VKCOMM_COMMAND ""
#endif

namespace vkcomm::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

const std::string kGga = sentence("GNGGA,123519.50,4807.038,N,01131.000,E,4,08,0.9,545.4,M,46.9,M,1.0,0031");
const std::string kBestposGga =
    "$GPGGA,230700.00,3552.3796511,N,13823.3797019,E,1,09,0.0,964.640,M,39.25,M,0,*61\r\n";

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

class FamilyCommand : public testing::Test {
protected:
    void SetUp() override {
        if (std::string_view(VKCOMM_COMMAND).empty()) GTEST_SKIP() << "the command is not built";
        m_folder = std::filesystem::path(testing::TempDir()) /
                   ("vkcomm_gga_" + std::to_string(std::random_device()()));
        std::filesystem::create_directories(m_folder);
        write("oem4", kBestposNoFix + kBestpos + kRangecmp);
        write("nmea", kGga + kGga);
        write("cmc", kCmcUtc);
        write("javad", kJavadGpsTime + kJavadPosition + kGga);
        write("maker", maker("RZ", kBestpos.substr(0, 55)) + maker("RZ", kBestpos.substr(55)));
        write("trimble", genout(7, 0, 1, gsofTime(2200, 345678500, 12, 3)) + genout(7, 1, 1, gsofPlace()));
        write("noise", std::string(100, 'x'));
        write("ranges", kRangecmp);
    }

    void TearDown() override {
        if (!m_folder.empty()) std::filesystem::remove_all(m_folder);
    }

    void write(const std::string& name, const std::string& bytes) {
        std::ofstream(m_folder / name, std::ios::binary) << bytes;
    }

    Outcome run(const std::string& arguments) {
        write("script",
              "cd '" + m_folder.string() + "'\n'" VKCOMM_COMMAND "' " + arguments + " >out 2>err\n");
        const int status = std::system(("sh '" + (m_folder / "script").string() + "'").c_str());
        return {(status & 0x7F) == 0 ? status >> 8 & 0xFF : -1, bytesOf("out"), bytesOf("err")};
    }

private:
    std::string bytesOf(const std::string& name) {
        std::ifstream file(m_folder / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    std::filesystem::path m_folder;
};

struct CommandCase {
    const char* arguments;
    int status;
    std::string out;  // the whole of it
    const char* err;
};

TEST_F(FamilyCommand, BecomeSentences) {
    const CommandCase cases[] = {
        {"gga oem4", 0, kBestposGga, "1 positions without a fix left out"},
        {"gga --family oem4 oem4", 0, kBestposGga, "1 positions without a fix left out"},
        {"gga - <oem4", 0, kBestposGga, "-: family guessed: oem4"},
        {"gga --leap-seconds 15 oem4", 0,
         sentence("GPGGA,230645.00,3552.3796511,N,13823.3797019,E,1,09,0.0,964.640,M,39.25,M,0,"),
         "family guessed: oem4"},
        {"gga nmea", 0, kGga + kGga, "family guessed: nmea"},
        {"gga --leap-seconds 18 nmea", 0, kGga + kGga, "family guessed: nmea"},
        {"gga maker", 0, kBestposGga, "family guessed: maker"},
        {"gga --family maker nmea", 1, kGga + kGga,
         "nmea: holds no maker records; at its beginning are 2 nmea"},
        {"gga noise", 1, "", "noise: family not recognised"},
        {"gga ranges", 1, "", "ranges: holds no position with a fix"},
        {"gga missing", 1, "", "missing: cannot be opened"},
        {"gga --leap-seconds x oem4", 2, "", "--leap-seconds"},
        {"gga", 2, "", "FILE is required"},
    };
    for (const CommandCase& c : cases) {
        SCOPED_TRACE(c.arguments);
        const Outcome outcome = run(c.arguments);
        EXPECT_EQ(outcome.status, c.status);
        EXPECT_EQ(outcome.out, c.out);
        EXPECT_THAT(outcome.err, HasSubstr(c.err));
    }
}

// UTC of these receivers is not moved.
TEST_F(FamilyCommand, LeapSecondsMoveGpsTimesOnly) {
    EXPECT_EQ(run("gga cmc").out, run("gga --leap-seconds 18 cmc").out);
    EXPECT_THAT(run("gga --leap-seconds 18 javad").out, HasSubstr("$GPGGA,033459.00,"));
    EXPECT_THAT(run("gga --leap-seconds 18 trimble").out, HasSubstr("$GPGGA,000100.00,4500.0000000,N,"));
}

TEST_F(FamilyCommand, BecomeColumns) {
    EXPECT_EQ(
        run("decode --csv oem4").out,
        "time_scale,week,seconds,latitude_deg,longitude_deg,height_m,height_above,quality,satellites_used,"
        "hdop,sigma_north_m,sigma_east_m,sigma_up_m,sigma_horizontal_m\n"
        ",,,,,,,0,0,,,,,\n"
        "gps,1562,515220.000,35.872994185,138.389661698,964.6399,sea,1,9,,0.9041,0.5514,1.2746,\n");
    EXPECT_THAT(
        run("decode --csv cmc trimble").out,
        AllOf(
            HasSubstr("file,time_scale,"), HasSubstr("\ncmc,utc,1538,"),
            HasSubstr("\ntrimble,gps,2200,345678.500,45.000000000,-90.000000000,100.0000,ellipsoid,5,12,")));
    EXPECT_EQ(run("decode --csv --json oem4").status, 2);
}

TEST_F(FamilyCommand, SayWhatWasGuessed) {
    const std::pair<const char*, const char*> cases[] = {
        {"decode oem4", "oem4: family guessed: oem4\n"},
        {"decode --json javad", "javad: family guessed: javad\n"},
        {"decode --summary maker", "maker: family guessed: maker\n"},
        {"decode noise", "noise: family not recognised\n"},
        {"decode --records oem4", ""},
        {"decode --mask 20 oem4", ""},
        {"decode --family oem4 oem4", ""},
    };
    for (const auto& [arguments, said] : cases) {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 0) << arguments;
        EXPECT_EQ(outcome.err, *said == '\0' ? said : std::string("vkcomm: ") + said) << arguments;
    }
}

TEST_F(FamilyCommand, FamiliesThatDoNotMatchFail) {
    const std::pair<const char*, const char*> cases[] = {
        {"decode --family trimble oem4", "oem4: holds no trimble records; at its beginning are 3 oem4\n"},
        {"decode --family oem4 --summary nmea", "nmea: holds no oem4 records; at its beginning are 2 nmea\n"},
        {"decode --family cmc --records trimble",
         "trimble: holds no cmc records; at its beginning are 2 trimble\n"},
        {"decode --family oem4 --csv javad",
         "javad: holds no oem4 records; at its beginning are 1 nmea, 2 javad\n"},
    };
    for (const auto& [arguments, said] : cases) {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 1) << arguments;
        EXPECT_EQ(outcome.err, std::string("vkcomm: ") + said) << arguments;
    }
    // Nothing of any family is no mismatch.
    EXPECT_EQ(run("decode --family oem4 noise").status, 0);
}

TEST_F(FamilyCommand, JavadMessagesAreRecords) {
    EXPECT_THAT(run("decode --family javad --json javad").out,
                AllOf(HasSubstr(R"({"offset":0,"type":0,"family":"javad","id":18260,"name":"GT","size":12,)"
                                R"("gps_week":1979,"gps_seconds":531317.500})"),
                      HasSubstr(R"("name":"PV")"), HasSubstr(R"("offset":63,"type":6,"family":"nmea")")));
    EXPECT_THAT(run("decode --summary javad").out,
                AllOf(HasSubstr("Cartesian position and velocity"),
                      HasSubstr("3  records from 140 bytes, 0 bytes in no record")));
}

TEST_F(FamilyCommand, CarriedRecordsSaySo) {
    EXPECT_THAT(run("decode --json maker").out,
                AllOf(HasSubstr(R"("carried_bytes":55})"),
                      HasSubstr(R"("name":"BESTPOS","size":104,"carried":true,"gps_week":1562)")));
    EXPECT_THAT(run("decode --summary --json maker").out, HasSubstr(R"("records":2,)"));
    EXPECT_THAT(run("decode --records maker").out, Not(HasSubstr(R"("type":4,)")));
}

}  // namespace
}  // namespace vkcomm::test
