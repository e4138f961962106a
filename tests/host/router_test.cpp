// Every family's records become values, a snapshot and a GGA sentence.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/stream_census.h"
#include "tests/host/literal_frames.h"
#include "tests/host/routed.h"

namespace vkcomm::test {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// What the last record of a stream comes to.
struct ValuesCase {
    const char* name;
    std::string stream;
    const char* last;  // members of its line
};

void PrintTo(const ValuesCase& c, std::ostream* out) { *out << c.name; }

class Values : public testing::TestWithParam<ValuesCase> {};

TEST_P(Values, AreThoseOfTheRecord) {
    const Routed routed = route(GetParam().stream, "nmea");
    ASSERT_FALSE(routed.lines.empty());
    EXPECT_TRUE(holds(routed.lines.back(), json::parse(GetParam().last))) << routed.lines.back().dump(1);
    EXPECT_EQ(routed.counters.dropped, 0U);
}

std::string responseOf(std::string log, const std::string& text) {
    std::string frame = log.substr(0, 28);
    frame[6] = chr(0x82);
    const std::string body = little(1, 4) + text;
    frame.replace(8, 2, little(body.size(), 2));
    frame += body;
    return frame + little(slowCrc(frame), 4);
}

const std::string kSerial = trimble(0x07, "12345678MS750   1.2340.9871.000ANT00001BD181836");
const std::string kStatus1 = trimble(0x09, "ab17" + std::string(17, 'x'));
const std::string kOptions = trimble(
    0x4B, std::string{chr(10), chr(7), chr(0x01), chr(0x02), chr(0x03), chr(0x04)} + std::string(43, '\1'));

INSTANTIATE_TEST_SUITE_P(
    Oem4, Values,
    testing::Values(
        ValuesCase{"position", kBestpos,
                   R"({"gps_week":1562,"gps_seconds":515220.0,"solution_status":0,"position_type":18,
                   "position_type_name":"WAAS","latitude_deg":35.872994185,"longitude_deg":138.389661698,
                   "height_m":964.6399,"undulation_m":39.2503,"sigma_north_m":0.9041,"sigma_east_m":0.5514,
                   "sigma_up_m":1.2746,"station":"129","differential_age_s":3.0,"satellites_tracked":16,
                   "satellites_used":9})"},
        ValuesCase{"no position", kBestposNoFix, R"({"gps_week":0,"solution_status":1,"sigma_up_m":0.0})"},
        ValuesCase{"ranges", kRangecmp,
                   R"({"observations":[{"prn":3,"tracking_state":4,"pseudorange_m":20213930.6406,
                   "accumulated_doppler_cycles":-106224932.5117,"cn0_dbhz":51.0,"lock_time_s":14247.375},
                   {"prn":3,"tracking_state":11,"cn0_dbhz":45.0}]})"},
        ValuesCase{"a range of unknown wavelength", oem4(140, little(1, 4) + std::string(24, '\1')),
                   R"({"observations":[{"prn":1,"tracking_state":1,"accumulated_doppler_cycles":null}]})"},
        ValuesCase{"a range to skip",
                   oem4(140, little(1, 4) + std::string(17, '\0') + '\x3F' + std::string(6, '\0')),
                   R"({"observations":[]})"},
        ValuesCase{"more ranges than there are", oem4(140, little(2, 4) + std::string(24, '\1')),
                   R"({"stored":false})"},
        ValuesCase{"ephemeris", kRawephem,
                   R"({"prn":11,"reference_week":1562,"consistent":true,"health":0,"iodc":110,"iode":110,
                   "toe_s":518400.0,"sqrt_a_m05":5153.70238494873,"omega0_rad":2.024775197706,
                   "idot_rad_s":3.035840740667e-11})"},
        ValuesCase{"dilutions",
                   oem4(174, std::string(20, '\0') + little(std::bit_cast<std::uint32_t>(5.5F), 4) +
                                 little(2, 4) + little(3, 4) + little(138, 4)),
                   R"({"hdop":0.0,"elevation_cutoff_deg":5.5,"prns":[3,138]})"},
        ValuesCase{"passed through", oem4(234, little(3, 4) + "abc" + std::string(77, '\0')),
                   R"({"count":3,"data":"616263"})"},
        ValuesCase{"server station",
                   oem4(913, little(77, 4) + little(std::bit_cast<std::uint64_t>(1.5), 8) +
                                 little(std::bit_cast<std::uint64_t>(-2.5), 8) + std::string(8, '\0')),
                   R"({"station":77,"x_m":1.5,"y_m":-2.5,"z_m":0.0})"},
        ValuesCase{"server message 915",
                   oem4(915, std::string(20, 'a') + '\x0C' + "bbb" + std::string(12, 'c')),
                   R"({"tail":"636363636363636363636363"})"},
        ValuesCase{"server message 915 cut short", oem4(915, std::string(20, 'a') + '\x10' + "bbb"),
                   R"({"stored":false})"},
        ValuesCase{"a body that is too short", oem4(42, std::string(71, '\1')), R"({"stored":false})"},
        ValuesCase{"a response", responseOf(kBestpos, "OK"), R"({"gps_week":1562,"response":"OK"})"},
        ValuesCase{"an ASCII log", asciiLog("TIMEA,COM1,0;VALID,\"x\""),
                   R"({"name":"TIME","fields":["COM1","0","VALID","\"x\""]})"}));

INSTANTIATE_TEST_SUITE_P(
    Trimble, Values,
    testing::Values(
        ValuesCase{
            "one page", genout(7, 0, 0, gsofTime(2200, 345678500, 12, 0xF7) + gsofPlace() + gsofSigmas()),
            R"({"records":[1,2,12],"gps_week":2200,"gps_seconds":345678.5,"satellites_used":12,"flags2":7,
                   "latitude_deg":45.0,"longitude_deg":-90.0,"height_ellipsoid_m":100.0,"sigma_east_m":0.1,
                   "sigma_north_m":0.05,"sigma_up_m":0.2,"epochs":30})"},
        ValuesCase{"the first of two pages", genout(7, 0, 1, gsofPlace()),
                   R"({"transmission":7,"page":0,"last_page":1})"},
        ValuesCase{"records behind satellites", genout(7, 0, 0, gsofSatellites() + gsofPlace()),
                   R"({"records":[2,14],"latitude_deg":45.0,"satellites":[{"prn":5,"elevation_deg":30,
                   "azimuth_deg":200,"cn0_dbhz":45.0,"used":true},{"prn":17,"elevation_deg":-2,"azimuth_deg":359,
                   "cn0_dbhz":0.0,"used":false}]})"},
        ValuesCase{"satellite flags",
                   trimble(0x55, std::string(2, '\0') + big(0x80000001, 4) + std::string(44, '\0')),
                   R"({"subtype":0,"satellite_sets":[2147483649,0,0,0,0,0,0,0,0,0,0,0]})"},
        ValuesCase{"an ephemeris", trimble(0x55, std::string{chr(1), chr(21)} + std::string(90, '\0')),
                   R"({"subtype":1,"prn":21})"},
        ValuesCase{"satellite flags cut short", trimble(0x55, std::string(49, '\0')), R"({"stored":false})"},
        ValuesCase{"receiver status", kStatus1, R"({"satellites":"17"})"},
        ValuesCase{"options", kOptions, R"({"sync_time":258,"fastest_rate":772,"memory_installed":257})"},
        ValuesCase{"serial number", kSerial,
                   R"({"serial":"12345678","receiver_type":"MS750","navigation_version":"1.234"})"},
        ValuesCase{"break", trimble(0x6E, "ID,MS750;PORT,0,a,b,c,d,e,f;VER,1,2,3,4;x;SN,42;"),
                   R"({"identity":"MS750","second_identity":"42","port":["1","a","b","c","d","e","f"],
                   "version":["1","2","3","4"]})"},
        ValuesCase{"raw data", trimble(0x57, std::string{chr(6), chr(0x23), chr(9), chr(0)}),
                   R"({"record_type":6,"page":2,"pages":3,"reply":9})"}));

INSTANTIATE_TEST_SUITE_P(
    CmcAndCsi, Values,
    testing::Values(
        ValuesCase{
            "navigation", kCmcUtc,
            R"({"time_scale":"utc","week":1538,"latitude_deg":53.563109836,"hdop":3.1,"vdop":3.3,"mode":2,
                   "confident":true,"satellites_used":5,"horizontal_merit_m":12.214,"height_ellipsoid_m":632.2665,
                   "longitude_deg":-113.43957527,"seconds_of_week":539461.0})"},
        ValuesCase{"visible", kCmcVisible, R"({"satellites_visible":12})"},
        ValuesCase{"mask angle", kCmcStatus, R"({"mask_angle_deg":4.5})"},
        ValuesCase{"message 20 cut short", cmc(20, std::string(60, '\0')), R"({"stored":false})"},
        ValuesCase{"position and velocity", kBinNavigation,
                   R"({"gps_week":1481,"gps_seconds":108194.0,"latitude_deg":35.872904403,
                   "longitude_deg":138.389803827,"height_ellipsoid_m":995.8956,"velocity_up_m_s":-0.076,
                   "residual_deviation_m":0.1861,"navigation_mode":4,"satellites_used":8})"},
        ValuesCase{"masks", kBinSolution,
                   R"({"satellites_tracked":10,"satellites_used":8,"hdop":0.9,"vdop":1.5})"},
        ValuesCase{"levels", kBinChannels + kBinRaw, R"({"satellites_valid":11})"},
        ValuesCase{"a setting", "$>JSHOW,MASK,5\r\n", R"({"setting":"MASK","value":"5"})"}));

TEST(Router, VisibleSatellitesOfCmcAndCsi) {
    const Routed cmcRouted = route(kCmcVisible, "cmc");
    const std::vector<SnapshotSatellite> visible = cmcRouted.router->receiver().snapshot().satellites;
    ASSERT_EQ(visible.size(), 12U);
    EXPECT_EQ(visible[0], (SnapshotSatellite{SatelliteSystem::kGps, 1, 76.0, 110.0, 50.0, true}));
    EXPECT_EQ(visible[1], (SnapshotSatellite{SatelliteSystem::kGps, 11, 67.0, 212.0, 50.0, true}));

    const Routed csi = route(kBinChannels + kBinRaw, "csi");
    const std::vector<SnapshotSatellite> channels = csi.router->receiver().snapshot().satellites;
    ASSERT_EQ(channels.size(), 11U);
    EXPECT_EQ(channels[0].number, 12);
    EXPECT_EQ(channels[0].elevation, 64.0);
    EXPECT_EQ(channels[0].azimuth, 120.0);
    // 10 log10(0.8192 x 118) + 30, the level being whole
    EXPECT_NEAR(channels[0].cn0.value(), 49.853, 0.45);
    EXPECT_EQ(channels[10].system, SatelliteSystem::kSbas);
}

TEST(Router, SatellitesOfNovatelComeFromThreeLogs) {
    const auto real = [](double value) { return little(std::bit_cast<std::uint64_t>(value), 8); };
    const auto seen = [&](int prn, double elevation) {
        return little(static_cast<unsigned>(prn), 4) + little(0, 4) + real(elevation) + real(180.0) +
               real(0) + real(0);
    };
    const std::string satvis =
        oem4(48, little(1, 4) + little(1, 4) + little(3, 4) + seen(3, 40) + seen(22, -5) + seen(40, 10));
    const std::string psrdop = oem4(174, std::string(24, '\0') + little(1, 4) + little(3, 4));
    const Routed routed = route(satvis + psrdop + kRangecmp, "oem4");
    EXPECT_THAT(routed.router->receiver().snapshot().satellites,
                ElementsAre(SnapshotSatellite{SatelliteSystem::kGps, 3, 40.0, 180.0, 51.0, true},
                            SnapshotSatellite{SatelliteSystem::kGlonass, 3, 10.0, 180.0, {}, false}));
}

// A response must not scale the standard deviations of the older position once more.
TEST(Router, ResponsesLeaveThePositionAlone) {
    const Routed routed = route(kBestpos + responseOf(kBestpos, "OK"), "oem4");
    EXPECT_NEAR(routed.router->receiver().snapshot().sigmas.up.value(), 1.274642825, 1e-6);
    EXPECT_EQ(routed.ggas.size(), 1U);
}

TEST(Router, JoinsPagesWhereverARecordIsCut) {
    const std::string records =
        gsofTime(2200, 345678500, 12, 3) + gsofSatellites() + gsofPlace() + gsofSigmas();
    const Routed whole = route(genout(1, 0, 0, records), "trimble");
    ASSERT_EQ(whole.ggas.size(), 1U);
    for (std::size_t cut = 0; cut <= records.size(); ++cut) {
        const Routed pages =
            route(genout(1, 0, 1, records.substr(0, cut)) + genout(1, 1, 1, records.substr(cut)), "trimble");
        EXPECT_EQ(pages.ggas, whole.ggas) << cut;
        EXPECT_TRUE(holds(pages.lines.back(), json{{"records", {1, 2, 12, 14}}})) << cut;
    }
}

struct FamilyCase {
    const char* name;
    const char* family;
    std::string stream;
    const char* gga;
    TimeScale scale;
    std::optional<int> week;
    double seconds;
    HeightReference above;
    int quality;
    std::optional<int> used;
};

void PrintTo(const FamilyCase& c, std::ostream* out) { *out << c.name; }

class Families : public testing::TestWithParam<FamilyCase> {};

TEST_P(Families, GiveOneKindOfSnapshotAndAGga) {
    const FamilyCase& c = GetParam();
    const Routed routed = route(c.stream, c.family);
    EXPECT_THAT(routed.ggas, ElementsAre(HasSubstr(c.gga)));
    const ReceiverSnapshot snapshot = routed.router->receiver().snapshot();
    ASSERT_TRUE(snapshot.time);
    EXPECT_EQ(snapshot.time->week, c.week);
    EXPECT_NEAR(snapshot.time->seconds, c.seconds, 1e-3);
    EXPECT_EQ(snapshot.time->scale, c.scale);
    ASSERT_TRUE(snapshot.position);
    EXPECT_EQ(snapshot.position->above, c.above);
    EXPECT_EQ(snapshot.quality, c.quality);
    EXPECT_EQ(snapshot.satellitesUsed, c.used);
}

const std::string kGgaSentence =
    sentence("GPGGA,123519.50,4807.038,N,01131.000,E,4,08,0.9,545.4,M,46.9,M,1.0,0031");

INSTANTIATE_TEST_SUITE_P(
    Router, Families,
    testing::Values(
        FamilyCase{"nmea",
                   "nmea",
                   kGgaSentence,
                   "$GPGGA,123519.50,4807.038,N,01131.000,E,4,08,",
                   TimeScale::kUtc,
                   {},
                   45319.5,
                   HeightReference::kEllipsoid,
                   4,
                   8},
        FamilyCase{"nmea with a date", "nmea",
                   sentence("GPRMC,123518.50,A,4807.038,N,01131.000,E,0.1,84.4,230394,003.1,W") +
                       kGgaSentence,
                   "$GPGGA,123519.50,", TimeScale::kUtc, 5959, 218119.5, HeightReference::kEllipsoid, 4, 8},
        FamilyCase{"nmea, first sentence of the next day", "nmea",
                   sentence("GPZDA,235959.00,18,12,2009,00,00") +
                       sentence("GPGGA,000000.00,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,"),
                   "$GPGGA,000000.00,", TimeScale::kUtc, 1562, 518400.0, HeightReference::kEllipsoid, 1, 8},
        FamilyCase{"oem4", "oem4", kBestpos,
                   "$GPGGA,230700.00,3552.3796511,N,13823.3797019,E,1,09,0.0,964.640,M,39.25,M,0,*61\r\n",
                   TimeScale::kGps, 1562, 515220.0, HeightReference::kSeaLevel, 1, 9},
        FamilyCase{"trimble", "trimble",
                   kStatus1 + genout(7, 0, 0, gsofTime(2200, 345678500, 12, 3) + gsofPlace()),
                   "$GPGGA,000118.00,4500.0000000,N,09000.0000000,W,5,17,0.0,100.000,M,1.00,M,0,",
                   TimeScale::kGps, 2200, 345678.5, HeightReference::kEllipsoid, 5, 12},
        FamilyCase{"cmc", "cmc", kCmcUtc,
                   "$GPGGA,055100.00,5333.7865902,N,11326.3745162,W,1,05,3.1,632.266,M,0.00,",
                   TimeScale::kUtc, 1538, 539461.0, HeightReference::kEllipsoid, 1, 5},
        FamilyCase{"csi", "csi", kBinSolution + kBinNavigation,
                   "$GPGGA,060314.00,3552.3742642,N,13823.3882296,E,2,08,0.9,995.896,M,0.00,M,0,",
                   TimeScale::kGps, 1481, 108194.0, HeightReference::kEllipsoid, 2, 8},
        FamilyCase{"javad", "javad", kJavadStatistics + kJavadGpsTime + kJavadDops + kJavadPosition,
                   "$GPGGA,033517.00,3539.99", TimeScale::kGps, 1979, 531317.5, HeightReference::kEllipsoid,
                   1, 15},
        FamilyCase{"javad without GPS time",
                   "javad",
                   kJavadTime + kJavadDate + kJavadPosition,
                   "$GPGGA,022643.00,",
                   TimeScale::kGps,
                   1618,
                   527203.0,
                   HeightReference::kEllipsoid,
                   1,
                   {}},
        FamilyCase{"javad with time of day alone",
                   "javad",
                   kJavadTime + kJavadPosition,
                   "$GPGGA,022643.00,",
                   TimeScale::kGps,
                   {},
                   8803.0,
                   HeightReference::kEllipsoid,
                   1,
                   {}}));

TEST(Router, WithoutAFixThereIsNoGga) {
    const std::pair<const char*, std::string> cases[] = {
        {"oem4", kBestposNoFix},
        {"nmea", sentence("GPGGA,123519.50,,,,,0,00,,,,,,,")},
        {"trimble", genout(7, 0, 0, gsofTime(2200, 345678500, 0, 0) + gsofPlace())},
        {"javad", std::string(kJavadPosition).replace(49, 2, {'\0', chr(0x8C)})},
    };
    for (const auto& [family, stream] : cases) {
        const Routed routed = route(stream, family);
        EXPECT_EQ(routed.lines.size(), 1U) << family;
        EXPECT_THAT(routed.ggas, IsEmpty()) << family;
        EXPECT_FALSE(routed.router->receiver().snapshot().position) << family;
        EXPECT_EQ(routed.router->receiver().snapshot().quality, 0) << family;
    }
}

// The stream of a board in frames of at most count bytes.
std::string carried(std::string_view stream, std::size_t count) {
    std::string frames;
    for (; !stream.empty(); stream.remove_prefix(std::min(count, stream.size())))
        frames += maker("RZ", stream.substr(0, count));
    return frames;
}

TEST(Router, UnwrapsWhatTheMakersFramesCarry) {
    const std::string board =
        genout(7, 0, 0, gsofTime(2200, 345678500, 12, 3) + gsofPlace()) + kBestpos + kCmcUtc + kGgaSentence;
    for (const std::size_t size : {1U, 7U, 55U}) {
        const Routed routed = route(carried(board, size), "trimble");
        std::vector<std::string> names;
        for (const json& line : routed.lines)
            if (line.contains("carried")) names.push_back(line.at("name"));
        EXPECT_THAT(names, ElementsAre("GENOUT", "BESTPOS", "NAVIGATION", "GPGGA")) << size;
        EXPECT_EQ(routed.ggas.size(), 1U) << size;
        EXPECT_EQ(routed.counters.dropped, 0U);
    }
}

TEST(Router, OtherFramesBetweenThePiecesOfAPacketDoNotDisturbIt) {
    const std::string first = maker("RZ", kBestpos.substr(0, 50));
    const std::string second = maker("RZ", kBestpos.substr(50));
    const Routed routed =
        route(first + maker("SI", "V300 77 ") + maker("RK", "\x01") + kGgaSentence + second, "oem4");
    ASSERT_EQ(routed.lines.size(), 6U);
    EXPECT_TRUE(holds(routed.lines[0], json{{"carried_bytes", 50}}));
    EXPECT_TRUE(holds(routed.lines[1], json::parse(R"({"first_word":"V300","second_word":""})")));
    EXPECT_TRUE(holds(routed.lines[2], json{{"payload", "01"}}));
    const std::size_t lastFrame =
        first.size() + maker("SI", "V300 77 ").size() + maker("RK", "\x01").size() + kGgaSentence.size();
    EXPECT_TRUE(holds(routed.lines[5], json{{"name", "BESTPOS"}, {"carried", true}, {"offset", lastFrame}}));
    EXPECT_EQ(routed.ggas.size(), 1U);
}

TEST(Router, GivesUpACarriedPacketThatIsNotWholeAtTheEnd) {
    const Routed routed = route(carried(kBestpos.substr(0, 60) + kGgaSentence, 55), "nmea");
    EXPECT_EQ(routed.lines.back().at("name"), "GPGGA");
    EXPECT_EQ(routed.ggas.size(), 1U);
}

TEST(JavadStream, MessagesAndLinesComeInOrderHoweverTheyArrive) {
    const std::string reply = "%id%done\r\n";
    // The digits of this sentence would begin messages of many lengths.
    const std::string stream = kJavadTime + kGgaSentence + "\r\n" + kJavadDate + reply + kJavadPosition +
                               "\x80\x81" + kJavadRms + kGgaSentence;
    for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, std::size_t{8192}}) {
        const Routed routed = route(stream, "javad", kDecodeSentence | kDecodePercent, piece);
        std::vector<std::string> names;
        for (const json& line : routed.lines) {
            names.push_back(line.at("name"));
            const std::size_t offset = line.at("offset");
            const std::size_t size = line.at("size");
            EXPECT_LE(offset + size, stream.size());
        }
        EXPECT_THAT(names, ElementsAre("~~", "GPGGA", "RD", "", "PV", "SG", "GPGGA")) << piece;
        EXPECT_EQ(routed.lines[3].at("text"), "%d%done");  // the decoder keeps the character as Id
        EXPECT_EQ(routed.lines[6].at("offset"), stream.size() - kGgaSentence.size());
        EXPECT_EQ(routed.counters.received, stream.size());
        EXPECT_EQ(routed.counters.dropped, 2U);
        EXPECT_EQ(routed.counters.records[LOG_NONE], 4U);
    }
}

TEST(JavadStream, TimeOfDayGoesOnOverMidnight) {
    const auto timeOfDay = [](std::uint32_t milliseconds) {
        std::string message = "~~005" + little(milliseconds, 4);
        return message + chr(javadChecksum(spanOf(message)));
    };
    const Routed routed = route(timeOfDay(86399000) + kJavadDate + timeOfDay(0), "javad");
    // 16 January 2011 is the first day of a week
    EXPECT_EQ(routed.router->receiver().time(), (ReceiverTime{1619, 0.0, TimeScale::kGps}));
}

// Whatever the sizes in a record say, its line is JSON and nothing is read beyond it.
TEST(Router, CutRecordsAreHarmless) {
    const std::string frames[] = {kBestpos,
                                  kRangecmp,
                                  kRawephem,
                                  kBinNavigation,
                                  kBinChannels,
                                  kBinRaw,
                                  kBinSolution,
                                  kCmcUtc,
                                  kCmcVisible,
                                  kCmcStatus,
                                  kSerial,
                                  kStatus1,
                                  kOptions,
                                  kJavadPosition,
                                  kJavadDops,
                                  kJavadRms,
                                  genout(7, 0, 0, gsofSatellites() + gsofSigmas()),
                                  maker("SI", "one two three"),
                                  maker("RZ", kBestpos.substr(0, 40)),
                                  oem4(912, "\x1C" + std::string(600, '\1')),
                                  oem4(48, std::string(100, '\1'))};

    struct Kind {
        LOG_TYPE type;
        std::vector<unsigned> ids;
        RecordSource source = RecordSource::kStream;
    };

    const Kind kinds[] = {
        {LOG_OEM4_BINARY, {37, 41, 42, 48, 140, 174, 175, 233, 234, 235, 912, 913, 915}},
        {LOG_TRIMBLE_PACKET, {0x07, 0x09, 0x40, 0x4B, 0x55, 0x57, 0x6E}},
        {LOG_CMC_BINARY, {20, 30, 33, 45, 49, 75}},
        {LOG_HEMISPHERE_BINARY, {1, 2, 96, 99}},
        {LOG_CSI_REPLY, {150}},
        {LOG_VAREK_REPLY, {kMakerSi, kMakerRz, 1}},
        {LOG_NMEA, {1, 3, 4, 5, 6, 8, 9}},
        {LOG_OEM4_ASCII, {42}},
        {LOG_NONE,
         {javadId("PO"), javadId("PV"), javadId("~~"), javadId("SI"), javadId("SS"), javadId("EL"),
          javadId("GS"), javadId("NS"), javadId("RE"), javadId("CE"), javadId("RD"), javadId("GT"),
          javadId("PS")},
         RecordSource::kJavad},
    };
    RecordRouter router;
    RecordLines lines;
    std::string line;
    for (const std::string& frame : frames)
        for (std::size_t size = 0; size <= frame.size(); size = size < 90 ? size + 1 : size + 37)
            for (const Kind& kind : kinds)
                for (const unsigned id : kind.ids) {
                    // Bytes of their own, so that a sanitizer sees what lies beyond.
                    const std::vector<unsigned char> bytes(frame.begin(),
                                                           frame.begin() + static_cast<std::ptrdiff_t>(size));
                    line.clear();
                    lines.appendJson(line, router.route({kind.type, id, kind.source, bytes, 0}));
                    ASSERT_TRUE(json::accept(line)) << line;
                    while (router.nextCarriedAtEnd()) {
                    }
                }
}

struct GuessCase {
    const char* name;
    std::string stream;
    const char* family;     // "" when there is none
    const char* positions;  // from whom
    const char* text;
};

void PrintTo(const GuessCase& c, std::ostream* out) { *out << c.name; }

class Guesses : public testing::TestWithParam<GuessCase> {};

TEST_P(Guesses, GoByRecords) {
    const GuessCase& c = GetParam();
    const StreamCensus census(spanOf(c.stream));
    const ReceiverFamily* family = census.guess();
    EXPECT_EQ(family ? family->name : "", c.family);
    if (family) {
        EXPECT_EQ(census.positionsFrom(*family), c.positions);
    }
    EXPECT_EQ(census.text(), c.text);
}

std::string times(int count, const std::string& text) {
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

INSTANTIATE_TEST_SUITE_P(
    Census, Guesses,
    testing::Values(
        GuessCase{"nothing", "", "", "", "none of a known family"},
        GuessCase{"noise", times(500, "\xFF\x10~@%$>\r\n<x\n"), "", "", "none of a known family"},
        GuessCase{"sentences", times(3, kGgaSentence), "nmea", "nmea", "3 nmea"},
        GuessCase{"a board that sends sentences too", times(9, kGgaSentence) + kBestpos, "oem4", "oem4",
                  "9 nmea, 1 oem4"},
        GuessCase{"a stray record among sentences", times(11, kGgaSentence) + cmc(23, "x"), "nmea", "nmea",
                  "11 nmea, 1 cmc"},
        GuessCase{"positions in sentences alone", kGgaSentence + kRangecmp, "oem4", "nmea", "1 nmea, 1 oem4"},
        GuessCase{"trimble", genout(1, 0, 0, gsofPlace()), "trimble", "trimble", "1 trimble"},
        GuessCase{"cmc", kCmcUtc + kCmcStatus, "cmc", "cmc", "2 cmc"},
        GuessCase{"csi", kBinNavigation, "csi", "csi", "1 csi"},
        GuessCase{"javad", kJavadTime + kJavadPosition + kGgaSentence, "javad", "javad", "1 nmea, 2 javad"},
        GuessCase{"a board inside", maker("RK", "\x01") + carried(kBestpos, 55), "maker", "oem4",
                  "3 maker"}));

TEST(Families, OwnRecordsTellThemApart) {
    struct Case {
        const char* family;
        MessageKind kind;
        bool owns;
    };

    constexpr RecordSource kFramed = RecordSource::kStream;
    const Case cases[] = {
        {"oem4", {LOG_OEM4_BINARY, 42, kFramed}, true},
        {"oem4", {LOG_NMEA, 1, kFramed}, false},
        {"trimble", {LOG_OEM4_BINARY, 42, kFramed}, false},
        {"thales", {LOG_NMEA, 1, kFramed}, true},
        {"javad", {LOG_NONE, 0, kFramed}, false},
        {"javad", {LOG_NONE, javadId("PV"), RecordSource::kJavad}, true},
        {"maker", {LOG_VAREK_REPLY, 147, kFramed}, true},
        {"all", {LOG_RADIO, 0, kFramed}, true},
        {"all", {LOG_NONE, 0, kFramed}, true},
    };
    for (const Case& c : cases)
        EXPECT_EQ(findFamily(c.family)->owns({c.kind.type, c.kind.id, c.kind.source, {}, 0}), c.owns)
            << c.family << ' ' << c.kind.type;
}

}  // namespace
}  // namespace vkcomm::test
