// Every family's records become values, a snapshot and a GGA sentence. That they are the right ones is held
// against simulated receivers in tests/sim; here stand recorded frames and what does not go straight.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/stream_census.h"
#include "sim/recording.h"
#include "tests/host/literal_frames.h"
#include "tests/host/routed.h"

namespace vkcomm::test {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string kGga = sentence("GPGGA,123519.50,4807.038,N,01131.000,E,4,08,0.9,545.4,M,46.9,M,1.0,0031");

std::string responseOf(const std::string& log, const std::string& text) {
    std::string frame = log.substr(0, 28);
    const std::string body = little(1, 4) + text;
    frame[6] = chr(0x82);
    frame.replace(8, 2, little(body.size(), 2));
    frame += body;
    return frame + little(slowCrc(frame), 4);
}

std::string times(int count, const std::string& text) {
    std::string all;
    while (count-- > 0)
        all += text;
    return all;
}

// The stream of a board in frames of at most count bytes.
std::string carried(std::string_view stream, std::size_t count) {
    std::string frames;
    for (; !stream.empty(); stream.remove_prefix(std::min(count, stream.size())))
        frames += maker("RZ", stream.substr(0, count));
    return frames;
}

TEST(Router, RecordsSayWhatTheyHold) {
    struct {
        const char* name;
        std::string stream;
        const char* last;  // members of the last record's line
    } const cases[] = {
        {"position", kBestpos,
         R"({"gps_week":1562,"gps_seconds":515220.0,"solution_status":0,"position_type_name":"WAAS",
             "latitude_deg":35.872994185,"longitude_deg":138.389661698,"height_m":964.6399,"station":"129",
             "undulation_m":39.2503,"sigma_north_m":0.9041,"sigma_east_m":0.5514,"sigma_up_m":1.2746,
             "differential_age_s":3.0,"satellites_tracked":16,"satellites_used":9})"},
        {"no position", kBestposNoFix, R"({"gps_week":0,"solution_status":1,"sigma_up_m":0.0})"},
        {"ranges", kRangecmp,
         R"({"observations":[{"prn":3,"tracking_state":4,"pseudorange_m":20213930.6406,"cn0_dbhz":51.0,
             "accumulated_doppler_cycles":-106224932.5117,"lock_time_s":14247.375},{"prn":3,"cn0_dbhz":45.0}]})"},
        {"a range of unknown wavelength", oem4(140, little(1, 4) + std::string(24, '\1')),
         R"({"observations":[{"prn":1,"tracking_state":1,"accumulated_doppler_cycles":null}]})"},
        {"a range to skip", oem4(140, little(1, 4) + std::string(17, '\0') + '\x3F' + std::string(6, '\0')),
         R"({"observations":[]})"},
        {"more ranges than there are", oem4(140, little(2, 4) + std::string(24, '\1')),
         R"({"stored":false})"},
        {"ephemeris", kRawephem,
         R"({"prn":11,"reference_week":1562,"consistent":true,"iodc":110,"toe_s":518400.0,
             "sqrt_a_m05":5153.70238494873,"omega0_rad":2.024775197706,"idot_rad_s":3.035840740667e-11})"},
        {"passed through", oem4(234, little(3, 4) + "abc" + std::string(77, '\0')),
         R"({"count":3,"data":"616263"})"},
        {"server message cut short", oem4(915, std::string(20, 'a') + '\x10' + "bbb"), R"({"stored":false})"},
        {"a body that is too short", oem4(42, std::string(71, '\1')), R"({"stored":false})"},
        {"a response", responseOf(kBestpos, "OK"), R"({"gps_week":1562,"response":"OK"})"},
        {"an ASCII log", asciiLog("TIMEA,COM1,0,5.5,FINE,1984,450849.5,0;VALID,\"x\""),
         R"({"name":"TIME","gps_week":1984,"gps_seconds":450849.5,
             "fields":["COM1","0","5.5","FINE","1984","450849.5","0","VALID","\"x\""]})"},
        {"GSOF records",
         genout(7, 0, 0, gsofTime(2200, 345678500, 12, 0xF7) + gsofSatellites() + gsofPlace() + gsofSigmas()),
         R"({"records":[1,2,12,14],"gps_week":2200,"gps_seconds":345678.5,"satellites_used":12,"flags2":7,
             "latitude_deg":45.0,"longitude_deg":-90.0,"height_ellipsoid_m":100.0,"sigma_east_m":0.1,
             "sigma_north_m":0.05,"sigma_up_m":0.2,"epochs":30,
             "satellites":[{"prn":5,"elevation_deg":30,"azimuth_deg":200,"cn0_dbhz":45.0,"used":true},
                           {"prn":17,"elevation_deg":-2,"azimuth_deg":359,"cn0_dbhz":0.0,"used":false}]})"},
        {"the first of two pages", genout(7, 0, 1, gsofPlace()), R"({"transmission":7,"last_page":1})"},
        {"satellite flags cut short", trimble(0x55, std::string(49, '\0')), R"({"stored":false})"},
        {"raw data", trimble(0x57, std::string{chr(6), chr(0x23), chr(9), chr(0)}),
         R"({"record_type":6,"page":2,"pages":3,"reply":9})"},
        {"CMC navigation", kCmcUtc,
         R"({"time_scale":"utc","week":1538,"seconds_of_week":539461.0,"latitude_deg":53.563109836,
             "longitude_deg":-113.43957527,"height_ellipsoid_m":632.2665,"horizontal_merit_m":12.214,
             "hdop":3.1,"vdop":3.3,"mode":2,"confident":true,"satellites_used":5})"},
        {"CMC cut short", cmc(20, std::string(60, '\0')), R"({"stored":false})"},
        {"$BIN position", kBinNavigation,
         R"({"gps_week":1481,"gps_seconds":108194.0,"latitude_deg":35.872904403,"longitude_deg":138.389803827,
             "height_ellipsoid_m":995.8956,"velocity_up_m_s":-0.076,"residual_deviation_m":0.1861,
             "navigation_mode":4,"satellites_used":8})"},
        {"$BIN levels", kBinChannels + kBinRaw, R"({"satellites_valid":11})"},
        {"digits of a second", sentence("GPGST,235959.9996,1,2"), R"({"utc":"23:59:59.9996"})"},
        {"a date", sentence("GPZDA,235959,29,02,2024,00,00"),
         R"({"utc":"23:59:59","date":"2024-02-29","week":2303,"seconds_of_week":431999})"},
        {"a time too short", sentence("GPGGA,1,2,3"), R"({"stored":false})"},
        {"another sentence", sentence("GPVTG,1.5,T,,\"*"), R"({"fields":["1.5","T","","\"*"]})"},
    };

    for (const auto& c : cases) {
        const Routed routed("nmea", c.stream);
        ASSERT_FALSE(routed.lines.empty()) << c.name;
        EXPECT_TRUE(holds(routed.lines.back(), json::parse(c.last))) << c.name << routed.lines.back().dump(1);
        EXPECT_EQ(routed.counters().dropped, 0U) << c.name;
    }
}

TEST(Router, SentencesWithoutADateTellNone) {
    for (const char* text : {"GPRMC,123519,A,4807.0,N,01131.0,E,1,2,,,", "GPZDA,123519,,,,,",
                             "GPRMC,123519,A,,,,,,,003299,,", "GPZDA,123519,1,1,2147483647,,"}) {
        const Routed routed("nmea", sentence("GPZDA,120000,19,12,2009,,") + sentence(text));
        EXPECT_FALSE(routed.lines.at(1).contains("date")) << text;
        EXPECT_FALSE(routed.lines.at(1).contains("week")) << text;
        EXPECT_EQ(routed.router.time(), (ReceiverTime{1562, 563719.0, TimeScale::kUtc})) << text;
    }
}

TEST(Router, RecordedFramesGiveSentencesAndTimes) {
    constexpr int kNoWeek = -1;

    struct {
        const char* family;
        std::string stream;
        const char* gga;
        int week;
        double seconds;
        TimeScale scale = TimeScale::kGps;
    } const cases[] = {
        {"nmea", kGga, "$GPGGA,123519.50,4807.038,N,01131.000,E,4,08,", kNoWeek, 45319.5, TimeScale::kUtc},
        {"nmea", sentence("GPRMC,123518.50,A,4807.038,N,01131.000,E,0.1,84.4,230394,003.1,W") + kGga,
         "$GPGGA,123519.50,", 5959, 218119.5, TimeScale::kUtc},
        // the first sentence of the next day
        {"nmea",
         sentence("GPZDA,235959.00,18,12,2009,00,00") + sentence("GPGGA,000000.00,4807,N,01131,E,1,08,"),
         "$GPGGA,000000.00,", 1562, 518400.0, TimeScale::kUtc},
        {"oem4", kBestpos,
         "$GPGGA,230700.00,3552.3796511,N,13823.3797019,E,1,09,0.0,964.640,M,39.25,M,0,*61\r\n", 1562,
         515220.0},
        {"trimble",
         trimble(0x09, "ab17" + std::string(17, 'x')) +
             genout(7, 0, 0, gsofTime(2200, 345678500, 12, 3) + gsofPlace()),
         "$GPGGA,000118.00,4500.0000000,N,09000.0000000,W,5,17,0.0,100.000,M,1.00,M,0,", 2200, 345678.5},
        {"cmc", kCmcUtc, "$GPGGA,055100.00,5333.7865902,N,11326.3745162,W,1,05,3.1,632.266,M,0.00,", 1538,
         539461.0, TimeScale::kUtc},
        {"csi", kBinSolution + kBinNavigation,
         "$GPGGA,060314.00,3552.3742642,N,13823.3882296,E,2,08,0.9,995.896,M,0.00,M,0,", 1481, 108194.0},
        {"javad", kJavadStatistics + kJavadGpsTime + kJavadDops + kJavadPosition, "$GPGGA,033517.00,3539.99",
         1979, 531317.5},
        {"javad", kJavadTime + kJavadDate + kJavadPosition, "$GPGGA,022643.00,", 1618, 527203.0},
        {"javad", kJavadTime + kJavadPosition, "$GPGGA,022643.00,", kNoWeek, 8803.0},
    };

    for (const auto& c : cases) {
        SCOPED_TRACE(c.gga);
        const Routed routed(c.family, c.stream);
        EXPECT_THAT(routed.ggas, ElementsAre(HasSubstr(c.gga)));
        const auto time = routed.router.receiver().snapshot().time;
        ASSERT_TRUE(time);
        EXPECT_EQ(time->week.value_or(kNoWeek), c.week);
        EXPECT_NEAR(time->seconds, c.seconds, 1e-3);
        EXPECT_EQ(time->scale, c.scale);
    }
}

TEST(Router, WithoutAFixThereIsNoGga) {
    const std::pair<const char*, std::string> cases[] = {
        {"oem4", kBestposNoFix},
        {"nmea", sentence("GPGGA,123519.50,,,,,0,00,,,,,,,")},
        {"trimble", genout(7, 0, 0, gsofTime(2200, 345678500, 0, 0) + gsofPlace())},
        {"javad", std::string(kJavadPosition).replace(49, 2, {'\0', chr(0x8C)})},
    };
    for (const auto& [family, stream] : cases) {
        const Routed routed(family, stream);
        const ReceiverSnapshot snapshot = routed.router.receiver().snapshot();
        EXPECT_EQ(routed.lines.size(), 1U) << family;
        EXPECT_THAT(routed.ggas, IsEmpty()) << family;
        EXPECT_FALSE(snapshot.position) << family;
        EXPECT_EQ(snapshot.quality, 0) << family;
    }
}

// A response must not scale the standard deviations of the older position once more.
TEST(Router, ResponsesLeaveThePositionAlone) {
    const Routed routed("oem4", kBestpos + responseOf(kBestpos, "OK"));
    EXPECT_NEAR(routed.router.receiver().snapshot().sigmas.up.value(), 1.274642825, 1e-6);
    EXPECT_EQ(routed.ggas.size(), 1U);
}

TEST(Router, JoinsPagesWhereverARecordIsCut) {
    const std::string records =
        gsofTime(2200, 345678500, 12, 3) + gsofSatellites() + gsofPlace() + gsofSigmas();
    const Routed whole("trimble", genout(1, 0, 0, records));
    ASSERT_EQ(whole.ggas.size(), 1U);
    for (std::size_t cut = 0; cut <= records.size(); ++cut) {
        const Routed pages("trimble",
                           genout(1, 0, 1, records.substr(0, cut)) + genout(1, 1, 1, records.substr(cut)));
        EXPECT_EQ(pages.ggas, whole.ggas) << cut;
        EXPECT_TRUE(holds(pages.lines.back(), json{{"records", {1, 2, 12, 14}}})) << cut;
    }
}

TEST(Router, UnwrapsWhatTheMakersFramesCarry) {
    const std::string board =
        genout(7, 0, 0, gsofTime(2200, 345678500, 12, 3) + gsofPlace()) + kBestpos + kCmcUtc + kGga;
    for (const std::size_t size : {1U, 7U, 55U}) {
        const Routed routed("trimble", carried(board, size));
        std::vector<std::string> names;
        for (const json& line : routed.lines)
            if (line.contains("carried")) names.push_back(line.at("name"));
        EXPECT_THAT(names, ElementsAre("GENOUT", "BESTPOS", "NAVIGATION", "GPGGA")) << size;
        EXPECT_EQ(routed.ggas.size(), 1U) << size;
        EXPECT_EQ(routed.counters().dropped, 0U);
    }
}

TEST(Router, OtherFramesBetweenThePiecesOfAPacketDoNotDisturbIt) {
    const std::string others = maker("SI", "V300 77 ") + maker("RK", "\x01") + kGga;
    const std::string first = maker("RZ", kBestpos.substr(0, 50));
    const Routed routed("oem4", first + others + maker("RZ", kBestpos.substr(50)));
    ASSERT_EQ(routed.lines.size(), 6U);
    const json expected[] = {{{"carried_bytes", 50}}, {{"first_word", "V300"}, {"second_word", ""}},
                             {{"payload", "01"}},     {{"name", "GPGGA"}},
                             {{"carried_bytes", 54}}, {{"name", "BESTPOS"}, {"carried", true}}};
    for (std::size_t i = 0; i < 6; ++i)
        EXPECT_TRUE(holds(routed.lines[i], expected[i])) << routed.lines[i];
    EXPECT_EQ(routed.lines[5].at("offset"), first.size() + others.size())
        << "that of the frame that completed it";
    EXPECT_EQ(routed.ggas.size(), 1U);
}

TEST(Router, GivesUpACarriedPacketThatIsNotWholeAtTheEnd) {
    const Routed routed("nmea", carried(kBestpos.substr(0, 60) + kGga, 55));
    EXPECT_EQ(routed.names().back(), "GPGGA");
}

TEST(JavadStream, MessagesAndLinesComeInOrderHoweverTheyArrive) {
    // the digits of this sentence would begin messages of many lengths
    const std::string stream = kJavadTime + kGga + "\r\n" + kJavadDate + "%id%done\r\n" + kJavadPosition +
                               "\x80\x81" + kJavadRms + kGga;
    for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, std::size_t{8192}}) {
        const Routed routed("javad", stream, kDecodeSentence | kDecodePercent, piece);
        EXPECT_THAT(routed.names(), ElementsAre("~~", "GPGGA", "RD", "", "PV", "SG", "GPGGA")) << piece;
        EXPECT_EQ(routed.lines.at(3).at("text"), "%d%done");  // the decoder keeps the character as Id
        EXPECT_EQ(routed.lines.at(6).at("offset"), stream.size() - kGga.size());
        const DecoderCounters counters = routed.counters();
        EXPECT_EQ(counters.received, stream.size());
        EXPECT_EQ(counters.dropped, 2U);
        EXPECT_EQ(counters.records[LOG_NONE], 4U);
    }
}

// As PO and as PV.
TEST(JavadStream, OfAPositionThatComesTwiceOneCounts) {
    std::string po = "PO01E" + kJavadPosition.substr(5, 28) + kJavadPosition[49];
    po += chr(javadChecksum(spanOf(po)));
    const std::string pv = kJavadPosition;
    const std::pair<std::string, std::size_t> cases[] = {
        {po + pv + po + pv, 2}, {pv + po + pv, 2}, {po + po, 2}, {po + pv + pv + pv, 3}, {pv + po + po, 2},
    };
    for (const auto& [stream, positions] : cases)
        EXPECT_EQ(Routed("javad", stream).ggas.size(), positions) << stream.size();
}

TEST(JavadStream, TimeOfDayGoesOnOverMidnight) {
    const auto timeOfDay = [](std::uint32_t milliseconds) {
        const std::string message = "~~005" + little(milliseconds, 4);
        return message + chr(javadChecksum(spanOf(message)));
    };
    const Routed routed("javad", timeOfDay(86399000) + kJavadDate + timeOfDay(0));
    // 16 January 2011 is the first day of a week
    EXPECT_EQ(routed.router.receiver().time(), (ReceiverTime{1619, 0.0, TimeScale::kGps}));
}

// Whatever a record says it is and however short it is, its line is JSON and nothing is read beyond it: every
// kind of frame there is, cut at every length, and now and then as every other kind of message.
TEST(Router, CutRecordsAreHarmless) {
    std::map<MessageKind, std::vector<unsigned char>> frames;
    for (const sim::Family& family : sim::families()) {
        const sim::Piece piece = sim::makeRecording({.family = std::string(family.name), .seconds = 20});
        CNOut decoder;
        const auto reader = family.name == "javad" ? makeJavadReader(decoder) : makeFrameReader(decoder);
        for (std::size_t i = 0; i < piece.frames.size(); ++i) {
            reader->feed(piece.frameBytes(i));
            while (const auto record = reader->next())
                frames.emplace(kindOf(*record), std::vector(record->bytes.begin(), record->bytes.end()));
        }
    }
    ASSERT_GT(frames.size(), 50U);
    for (const unsigned id : {javadId("GS"), javadId("NS"), javadId("SS"), javadId("CE")})
        frames[{LOG_NONE, id, RecordSource::kJavad}] = {'N', 'S', '0', '0', '9', ',', '9', ',', '9', ','};
    RecordRouter router;
    RecordLines lines;
    std::string line;
    for (const auto& [own, frame] : frames)
        for (std::size_t size = 0; size <= frame.size(); size = size < 70 ? size + 1 : size + 37) {
            // bytes of their own, so that a sanitizer sees what lies beyond
            const std::vector<unsigned char> bytes(frame.begin(),
                                                   frame.begin() + static_cast<std::ptrdiff_t>(size));
            for (const auto& [kind, other] : frames) {
                if (&other != &frame && (size % 16 != 0 || size > 64)) continue;
                line.clear();
                lines.appendJson(line, router.route({kind.type, kind.id, kind.source, bytes, 0}));
                ASSERT_TRUE(json::accept(line)) << line;
                while (router.nextCarriedAtEnd()) {
                }
            }
        }
}

TEST(Census, GuessesByRecords) {
    struct {
        const char* name;
        std::string stream;
        const char* family;     // "" when there is none
        const char* positions;  // from whom
        const char* text;
    } const cases[] = {
        {"nothing", "", "", "", "none of a known family"},
        {"noise", times(500, "\xFF\x10~@%$>\r\n<x\n"), "", "", "none of a known family"},
        {"sentences", times(3, kGga), "nmea", "nmea", "3 nmea"},
        {"a board that sends sentences too", times(9, kGga) + kBestpos, "oem4", "oem4", "9 nmea, 1 oem4"},
        {"a stray record among sentences", times(11, kGga) + cmc(23, "x"), "nmea", "nmea", "11 nmea, 1 cmc"},
        {"positions in sentences alone", kGga + kRangecmp, "oem4", "nmea", "1 nmea, 1 oem4"},
        {"trimble", genout(1, 0, 0, gsofPlace()), "trimble", "trimble", "1 trimble"},
        {"cmc", kCmcUtc + kCmcUtc, "cmc", "cmc", "2 cmc"},
        {"csi", kBinNavigation, "csi", "csi", "1 csi"},
        {"javad", kJavadTime + kJavadPosition + kGga, "javad", "javad", "1 nmea, 2 javad"},
        {"a board inside", maker("RK", "\x01") + carried(kBestpos, 55), "maker", "oem4", "3 maker"},
    };

    for (const auto& c : cases) {
        const StreamCensus census(spanOf(c.stream));
        const ReceiverFamily* family = census.guess();
        EXPECT_EQ(family ? family->name : "", c.family) << c.name;
        EXPECT_EQ(family ? census.positionsFrom(*family) : "", c.positions) << c.name;
        EXPECT_EQ(census.text(), c.text) << c.name;
    }
}

}  // namespace
}  // namespace vkcomm::test
