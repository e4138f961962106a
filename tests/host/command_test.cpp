// What the command prints, what it complains of, how it ends.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <vector>

#include "host/receiver_family.h"
#include "tests/host/command.h"
#include "tests/host/literal_frames.h"

namespace vkcomm::test {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using Text = testing::Matcher<std::string>;

const std::string kGga = sentence("GPGGA,123519.50,4807.038,N,01131.000,E,4,08,0.9,545.4,M,46.9,M,1.0,0031");
const std::string kGll = sentence("GNGLL,4807.038,N,01131.000,E,123519.50,A,D");
const std::string kBestposGga =
    "$GPGGA,230700.00,3552.3796511,N,13823.3797019,E,1,09,0.0,964.640,M,39.25,M,0,*61\r\n";

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::vector<json> objectsIn(const std::string& text) {
    std::vector<json> objects;
    for (const std::string& line : linesOf(text))
        objects.push_back(json::parse(line));
    return objects;
}

std::vector<std::string> namesIn(const std::string& jsonLines) {
    std::vector<std::string> names;
    for (const json& object : objectsIn(jsonLines))
        names.push_back(object.at("name"));
    return names;
}

MATCHER_P(Holds, members, "holds " + std::string(members)) {
    const json expected = json::parse(members);
    return std::ranges::all_of(expected.items(), [&](const auto& member) {
        return arg.contains(member.key()) && arg.at(member.key()) == member.value();
    });
}

class Verbs : public Command {
protected:
    void SetUp() override {
        Command::SetUp();
        if (IsSkipped()) return;
        write("empty", "");
        write("noise", std::string(100, 'x'));
        write("nmea", kGga);
        write("oem4", kBestposNoFix + kBestpos + kRangecmp);
        write("ranges", kRangecmp);
        write("cmc", kCmcUtc);
        write("javad", kJavadGpsTime + kJavadPosition + kGga);
        write("maker", maker("RZ", kBestpos.substr(0, 55)) + maker("RZ", kBestpos.substr(55)));
        write("trimble", genout(7, 0, 1, gsofTime(2200, 345678500, 12, 3)) + genout(7, 1, 1, gsofPlace()));
        write("mixed", kGga + kBestpos + kGll + trimble(0x40, "abc"));
        write("lossy", kGga + "garbage" + kGga + sentence("PXYZ,1"));
    }
};

TEST_F(Verbs, PrintComplainAndEndAsTheyShould) {
    const auto guessed = [](const std::string& file, const char* family) {
        return Text("vkcomm: " + file + ": family guessed: " + family + "\n");
    };

    const struct {
        const char* arguments;
        int status;
        Text out;
        Text err;
    } cases[] = {
        {"--help", 0, HasSubstr("decode"), ""},
        {"--version", 0, HasSubstr("."), ""},
        {"decode --help", 0, HasSubstr("vkcomm simulate oem4 -o demo.bin"), ""},
        {"simulate --help", 0, HasSubstr("vkcomm simulate nmea -o demo.nmea"), ""},
        {"gga --help", 0, HasSubstr("vkcomm gga --leap-seconds 18 demo.bin"), ""},
        {"", 2, "", HasSubstr("subcommand is required")},
        {"dance", 2, "", HasSubstr("dance is no verb")},
        {"decode", 2, "", HasSubstr("FILE is required")},
        {"decode --loud nmea", 2, "", HasSubstr("--loud")},
        {"decode --family nobody nmea", 2, "", HasSubstr("nobody")},
        {"decode --mask 0xXY nmea", 2, "", HasSubstr("0xXY is no 32-bit hexadecimal number")},
        {"decode --mask 123456789 nmea", 2, "", HasSubstr("123456789 is no 32-bit hexadecimal number")},
        {"decode --mask 0x20 --family nmea nmea", 2, "", HasSubstr("excludes")},
        {"decode --json --records nmea", 2, "", HasSubstr("excludes")},
        {"decode --summary --records nmea", 2, "", HasSubstr("excludes")},
        {"decode --csv --json nmea", 2, "", HasSubstr("excludes")},
        {"decode --chunk 0 nmea", 2, "", HasSubstr("--chunk")},
        {"decode --chunk 8193 nmea", 2, "", HasSubstr("--chunk")},
        {"decode missing", 1, "", HasSubstr("missing: cannot be opened: No such file")},
        {"decode .", 1, "", HasSubstr(".: is a folder")},
        {"decode empty", 1, "", HasSubstr("empty: is empty")},
        {"decode - </dev/null", 1, "", HasSubstr("-: is empty")},
        {"decode missing nmea", 1, HasSubstr("GPGGA"), HasSubstr("missing")},
        {"decode --json mixed >/dev/full", 1, "", HasSubstr("standard output takes no more: No space left")},
        {"simulate nobody -o x", 2, "", HasSubstr("nobody")},
        {"simulate nmea", 2, "", HasSubstr("say where the receiver sends")},
        {"simulate nmea -o x --seconds 0", 2, "", HasSubstr("seconds must be")},
        {"simulate nmea -o missing/x", 1, "", HasSubstr("missing/x: cannot be written: No such file")},
        {"gga", 2, "", HasSubstr("FILE is required")},
        {"gga --leap-seconds x oem4", 2, "", HasSubstr("--leap-seconds")},

        // guesses, and families that do not match
        {"decode nmea", 0, HasSubstr(" utc=12:35:19.50 latitude_deg=48.117300000 "), guessed("nmea", "nmea")},
        {"decode - <nmea", 0, HasSubstr("GPGGA"), guessed("-", "nmea")},
        {"decode --json javad", 0, HasSubstr("\"PV\""), guessed("javad", "javad")},
        {"decode --summary maker", 0, HasSubstr(" (carried)\n"), guessed("maker", "maker")},
        {"decode noise", 0, "", "vkcomm: noise: family not recognised\n"},
        {"decode --records oem4", 0, HasSubstr("\"size\":104"), ""},
        {"decode --mask 20 oem4", 0, HasSubstr("BESTPOS"), ""},
        {"decode --family oem4 noise", 0, "", ""},  // nothing of any family is no mismatch
        {"decode --family trimble oem4", 1, HasSubstr("BESTPOS"),
         "vkcomm: oem4: holds no trimble records; at its beginning are 3 oem4\n"},
        {"decode --family oem4 --csv javad", 1, StartsWith("time_scale,"),
         "vkcomm: javad: holds no oem4 records; at its beginning are 1 nmea, 2 javad\n"},
        {"decode --family cmc --records - <trimble", 1, "",
         "vkcomm: -: holds no cmc records; at its beginning are 2 trimble\n"},

        // sentences and columns
        {"gga oem4", 0, kBestposGga,
         "vkcomm: oem4: family guessed: oem4\nvkcomm: oem4: positions left out, having no fix: 1\n"},
        {"gga --leap-seconds 15 - <oem4", 0,
         sentence("GPGGA,230645.00,3552.3796511,N,13823.3797019,E,1,09,0.0,964.640,M,39.25,M,0,"),
         HasSubstr("-: family guessed: oem4\n")},
        {"gga maker", 0, kBestposGga, guessed("maker", "maker")},
        {"gga --leap-seconds 18 nmea", 0, kGga, guessed("nmea", "nmea")},  // as sent, which is UTC
        {"gga --leap-seconds 18 cmc", 0, StartsWith("$GPGGA,055100.00,"), guessed("cmc", "cmc")},  // UTC too
        {"gga --leap-seconds 18 javad", 0, StartsWith("$GPGGA,033459.00,"), guessed("javad", "javad")},
        {"gga noise", 1, "", HasSubstr("noise: family not recognised")},
        {"gga ranges", 1, "", HasSubstr("ranges: holds no position with a fix")},
        {"gga --family maker nmea", 1, kGga,
         HasSubstr("nmea: holds no maker records; at its beginning are 1 nmea")},
        {"decode --csv --family oem4 oem4", 0,
         "time_scale,week,seconds,latitude_deg,longitude_deg,height_m,height_above,quality,satellites_used,"
         "hdop,"
         "sigma_north_m,sigma_east_m,sigma_up_m,sigma_horizontal_m\n"
         ",,,,,,,0,0,,,,,\n"
         "gps,1562,515220.000,35.872994185,138.389661698,964.6399,sea,1,9,,0.9041,0.5514,1.2746,\n",
         ""},
        {"decode --csv cmc trimble", 0,
         AllOf(
             StartsWith("file,time_scale,"), HasSubstr("\ncmc,utc,1538,"),
             HasSubstr("\ntrimble,gps,2200,345678.500,45.000000000,-90.000000000,100.0000,ellipsoid,5,12,")),
         HasSubstr("family guessed: trimble")},
    };

    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments);
        const Outcome outcome = run(c.arguments);
        EXPECT_EQ(outcome.status, c.status);
        EXPECT_THAT(outcome.out, c.out);
        EXPECT_THAT(outcome.err, c.err);
    }
    for (const ReceiverFamily& family : receiverFamilies())
        EXPECT_NE(run("decode --family " + std::string(family.name) + " mixed").status, 2) << family.name;
}

// The bare form, to the byte: every record in order, those of type 0 with the bytes they used up.
TEST_F(Verbs, RecordsAreBare) {
    write("bare", hemisphere(80, "\x01\xAB") + "@ab" + "\x10");
    EXPECT_EQ(run("decode --records bare").out,
              R"({"offset":0,"type":27,"id":80,"size":14,"data":"2442494e5000020001abac000d0a"})"
              "\n"
              R"({"offset":14,"type":0,"id":0,"size":3,"data":"406162"})"
              "\n"
              R"({"offset":17,"type":20,"id":97,"size":1,"data":"10"})"
              "\n");
    EXPECT_THAT(run("decode --records maker").out, Not(HasSubstr(R"("type":4,)"))) << "carried";
    write("tilde", "~abc~");
    EXPECT_EQ(run("decode --records tilde").out, "");
    EXPECT_THAT(run("decode --records --tilde tilde").out, HasSubstr(R"("size":5,"data":"7e6162637e")"));
}

TEST_F(Verbs, JsonLinesHoldWhatTheRecordsSay) {
    EXPECT_THAT(
        objectsIn(run("decode --family all --json mixed").out),
        ElementsAre(
            Holds(R"({"offset":0,"type":6,"family":"nmea","id":1,"name":"GPGGA","size":77,"utc":"12:35:19.50",
                "latitude_deg":48.1173,"longitude_deg":11.516666667,"height_ellipsoid_m":592.3,"quality":4,
                "satellites":8,"hdop":0.9,"age_s":1,"station":31})"),
            Holds(R"({"offset":77,"type":4,"family":"oem4","id":42,"name":"BESTPOS","size":104})"),
            Holds(R"({"offset":181,"type":6,"family":"nmea","id":5002,"name":"GNGLL","size":48,
                "fields":["4807.038","N","01131.000","E","123519.50","A","D"]})"),
            Holds(R"({"offset":229,"type":12,"family":"trimble","id":64,"name":"GENOUT","size":9})")));
    EXPECT_THAT(objectsIn(run("decode --json javad").out).front(),
                Holds(R"({"type":0,"family":"javad","id":18260,"name":"GT","size":12,"gps_week":1979,
                    "gps_seconds":531317.5})"));
}

TEST_F(Verbs, MasksAndFamiliesChooseFrames) {
    EXPECT_THAT(namesIn(run("decode --json --mask 0x800 mixed").out), ElementsAre("BESTPOS", "GENOUT"));
    EXPECT_THAT(namesIn(run("decode --json --mask 20 mixed").out), ElementsAre("GPGGA", "BESTPOS", "GNGLL"));
    EXPECT_THAT(namesIn(run("decode --json --family oem4 mixed").out),
                ElementsAre("GPGGA", "BESTPOS", "GNGLL"));
    // the guess chooses too
    EXPECT_THAT(namesIn(run("decode --json lossy").out), ElementsAre("GPGGA", "GPGGA"));
    write("prompt", "%x\r\n" + kBestpos);
    EXPECT_THAT(namesIn(run("decode --json prompt").out), ElementsAre("BESTPOS"));
    EXPECT_THAT(namesIn(run("decode --json - <prompt").out), ElementsAre("BESTPOS"));
    EXPECT_THAT(namesIn(run("decode --json --family all - <prompt").out), ElementsAre("", "BESTPOS"));
}

TEST_F(Verbs, SummaryCountsMessagesAndLosses) {
    EXPECT_THAT(linesOf(run("decode --summary lossy").out),
                ElementsAre(HasSubstr("count  family"), AllOf(HasSubstr(" 2  nmea"), HasSubstr("GPGGA")),
                            HasSubstr(" 2  records from 173 bytes, 19 bytes in no record"),
                            HasSubstr(" 1  '$' sentences with a good checksum")));
    const std::vector<json> objects = objectsIn(run("decode --summary --json lossy").out);
    ASSERT_THAT(objects,
                ElementsAre(Holds(R"({"bytes":173,"dropped_bytes":19,"records":2,"unknown_sentences":1,
                             "rejected":{"nmea":1}})")));
    EXPECT_THAT(objects[0].at("messages"),
                ElementsAre(Holds(R"({"type":6,"family":"nmea","id":1,"name":"GPGGA","count":2})")));
}

// A name is UTF-8; a byte of another encoding has no place in JSON.
TEST_F(Verbs, SeveralFilesAreToldApart) {
    EXPECT_THAT(linesOf(run("decode --family all nmea oem4").out),
                ElementsAre("nmea:", HasSubstr("GPGGA"), "oem4:", HasSubstr("BESTPOS"), HasSubstr("BESTPOS"),
                            HasSubstr("RANGECMP")));
    const std::string lost = "\xEF\xBF\xBD";
    const std::pair<std::string, std::string> names[] = {
        {"Z\xC3\xBCrich \"\\\n\x7F", "Z\xC3\xBCrich \"\\\n\x7F"},
        {"\xE6\x97\xA5\xF0\x9F\x98\x80.log", "\xE6\x97\xA5\xF0\x9F\x98\x80.log"},
        {"\xFCr.log", lost + "r.log"},
        {"\xC0\xAF\xED\xA0\x80\xE2\x82", lost + lost + lost + lost + lost + lost + lost},
    };
    for (const auto& [name, shown] : names) {
        write(name, kGga);
        for (const char* form : {"--json", "--json --summary"}) {
            const auto objects = objectsIn(run(std::string("decode ") + form + " nmea '" + name + "'").out);
            ASSERT_EQ(objects.size(), 2u);
            EXPECT_EQ(objects[0].at("file"), "nmea");
            EXPECT_EQ(objects[1].at("file"), shown);
        }
    }
}

TEST_F(Verbs, SimulatedRecordingsDecodeHoweverTheyAreCut) {
    const std::string simulate = "simulate oem4 --seconds 60 --seed 7 --damage 5 -o ";
    EXPECT_THAT(run(simulate + "file").err, HasSubstr(" frames, "));
    EXPECT_EQ(run(simulate + "-").out, bytesOf("file"));
    const std::string records = run("decode --records --family oem4 file").out;
    EXPECT_GT(linesOf(records).size(), 200u);
    for (const char* chunk : {"1", "100", "8192"})
        EXPECT_EQ(run(std::string("decode --records --family oem4 file --chunk ") + chunk).out, records)
            << chunk;
}

// What a pipe gives is shown before there is more.
TEST_F(Verbs, PipesAreNotWaitedFor) {
    const Outcome outcome = shell("mkfifo pipe; VKCOMM decode pipe >lines & exec 3>pipe; cat nmea >&3\n"
                                  "for i in $(seq 200); do grep -s GPGGA lines && break; sleep 0.05; done\n"
                                  "exec 3>&-; wait");
    EXPECT_THAT(linesOf(outcome.out), ElementsAre(HasSubstr("GPGGA")));
    // whose positions will come cannot be told from raw data
    EXPECT_EQ(shell("{ cat ranges; sleep 0.5; cat ranges nmea; } | VKCOMM gga - 2>/dev/null").out, kGga);
}

// A reader that has seen enough, such as head.
TEST_F(Verbs, EndWhenNobodyReadsOn) {
    ASSERT_EQ(run("simulate nmea --seconds 3000 -o long").status, 0);
    const Outcome outcome = shell("{ VKCOMM decode long; echo \"status $?\" >&2; } | head -n 1");
    EXPECT_EQ(linesOf(outcome.out).size(), 1u);
    EXPECT_THAT(outcome.err, AllOf(HasSubstr("standard output takes no more"), HasSubstr("status 1")));
}

}  // namespace
}  // namespace vkcomm::test
