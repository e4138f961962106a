// What monitor shows of a receiver, to the character.
#include "host/live_report.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <random>

#include "tests/decode/frames.h"

namespace vkcomm::test {
namespace {

using namespace std::chrono_literals;

constexpr const char* kScreen = R"(FILE   nmea   closed   00:00:02

Time       12:35:19.500 utc
Position   48.11730000° N  11.51666667° W  592.300 m above the ellipsoid
Quality    4 RTK fixed   8 satellites used
Dilution   PDOP 1.5  HDOP 0.9  VDOP 1.2
Sigmas     north 0.012  east 0.011  up 0.020 m

  Sat   Elev    Azim   C/N0
  G05    40°    83°   46.0 #############
  G17     7°   344°   31.0 #####

Records    GPGGA 1.0/s, GPGSA 1.0/s, GPGST 1.0/s, GPGSV 1.0/s
Bytes      SIZE received, 0 dropped, 0 lost in overflows
Errors     0 reading, 0 writing, lost 1 times, opened again 0 times
Last       it has gone
)";

constexpr const char* kObject = R"({"open": false, "family": "nmea", "elapsed_s": 2.0, "time_scale": "utc",
    "seconds": 45319.5, "latitude_deg": 48.1173, "longitude_deg": -11.516666667, "height_m": 592.3,
    "height_above": "ellipsoid", "quality": 4, "position_age_s": 1.5, "record_age_s": 1.5, "satellites_used": 8,
    "pdop": 1.5, "hdop": 0.9, "vdop": 1.2, "sigma_north_m": 0.012, "sigma_east_m": 0.011, "sigma_up_m": 0.02,
    "satellites": [{"system": "G", "number": 5, "elevation_deg": 40.0, "azimuth_deg": 83.0, "cn0_dbhz": 46.0},
                   {"system": "G", "number": 17, "elevation_deg": 7.0, "azimuth_deg": 344.0, "cn0_dbhz": 31.0}],
    "messages": [{"name": "GPGGA", "count": 1, "per_second": 1.0}, {"name": "GPGSA", "count": 1, "per_second": 1.0},
                 {"name": "GPGST", "count": 1, "per_second": 1.0}, {"name": "GPGSV", "count": 1, "per_second": 1.0}],
    "records": 4, "dropped_bytes": 0, "overflow_bytes": 0, "read_errors": 0, "write_errors": 0, "losses": 1,
    "reopened": 0, "last_event": "it has gone"})";

class Report : public testing::Test {
protected:
    // A session that has played the bytes of a file to their end, half a second after the report began.
    void play(const std::string& bytes) {
        const auto path = std::filesystem::temp_directory_path() /
                          ("vkcomm_report_" + std::to_string(std::random_device()()) + ".bin");
        std::ofstream(path, std::ios::binary) << bytes;
        std::string error;
        const auto url = parsePortUrl("file:" + path.string() + "?speed=max", error);
        ASSERT_TRUE(url) << error;
        session = std::make_unique<ReceiverSession>(*url, SessionOptions{});
        ASSERT_TRUE(session->open(error)) << error;
        const SessionSteps steps{[this](const RoutedRecord& record) {
                                     report.count(record, kStart + 500ms);
                                     if (session->stream().router().isPosition(record))
                                         report.countPosition(kStart + 500ms);
                                 },
                                 {}};
        while (session->pump(50ms, steps)) {
        }
        std::filesystem::remove(path);
        report.note({SessionNotice::kLost, "it has gone"});
    }

    // The screen, with names for what differs each time.
    std::string screenAt(std::chrono::milliseconds time) {
        std::string screen = report.screen(*session, kStart + time);
        screen.replace(0, session->url().text.size(), "FILE");
        const std::string size = std::to_string(kStream.size()) + " received";
        if (const auto at = screen.find(size); at != screen.npos)
            screen.replace(at, size.size(), "SIZE received");
        return screen;
    }

    static constexpr auto kStart = 5000ms;
    const std::string kStream =
        sentence("GPGGA,123519.50,4807.038,N,01131.000,W,4,08,0.9,545.4,M,46.9,M,1.0,0031") +
        sentence("GPGSA,A,3,05,,,,,,,,,,,,1.5,0.9,1.2") +
        sentence("GPGST,123519.50,0.1,0.1,0.1,10,0.012,0.011,0.020") +
        sentence("GPGSV,1,1,02,05,40,083,46,17,07,344,31");
    LiveReport report{kStart};
    std::unique_ptr<ReceiverSession> session;
};

TEST_F(Report, ShowsAScreenALineAndAnObject) {
    play(kStream);
    EXPECT_EQ(screenAt(2000ms), kScreen);
    EXPECT_EQ(report.line(*session),
              "12:35:19.500  48.11730000° N  11.51666667° W  592.300 m above the ellipsoid  RTK fixed  "
              "8 satellites used\n");
    nlohmann::json expected = nlohmann::json::parse(kObject);
    expected["url"] = session->url().text;
    expected["bytes"] = kStream.size();
    EXPECT_EQ(nlohmann::json::parse(report.json(*session, kStart + 2000ms)), expected);
}

TEST_F(Report, SaysHowOldItsNewsAre) {
    play(kStream);
    EXPECT_NE(screenAt(38000ms).find("closed, no record for 37 s   00:00:38"), std::string::npos);
    EXPECT_NE(screenAt(38000ms).find("the ellipsoid   37 s old\n"), std::string::npos);
    EXPECT_EQ(screenAt(3499ms).find(" old"), std::string::npos);
    const auto object = nlohmann::json::parse(report.json(*session, kStart + 38000ms));
    EXPECT_EQ(object.at("position_age_s"), 37.5);
    EXPECT_EQ(object.at("record_age_s"), 37.5);
}

}  // namespace
}  // namespace vkcomm::test
