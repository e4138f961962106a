// What a simulated receiver of any family sends, read by decoder, router and parser, is what it saw.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "host/byte_text.h"
#include "sim/recording.h"
#include "tests/host/routed.h"
#include "tests/sim/sample.h"

namespace vkcomm::sim {
namespace {

using test::Routed;

struct Receiver {
    const char* family;
    const char* positions;          // whose they are
    const char* tells;              // see told
    std::array<int, 5> ggaQuality;  // of FixQuality in its order
    double cutTime;                 // seconds that times may lie behind
    double cn0;                     // dB-Hz that levels may be off
};

constexpr Receiver kReceivers[] = {
    {"nmea", "nmea", "PHV neu eac", {0, 1, 2, 5, 4}, 0.01, 1.0},
    {"oem4", "oem4", "GPHT neu eacx", {0, 1, 5, 5, 4}, 0.0, 0.5},
    {"trimble", "trimble", "PHVT neu eacx", {0, 1, 2, 5, 4}, 0.0, 0.13},
    {"javad", "javad", "HVT ur eac", {0, 1, 5, 5, 4}, 0.0, 0.5},
    {"cmc", "cmc", "HV  eacx", {0, 1, 1, 1, 1}, 0.0, 0.5},
    {"csi", "csi", "HV  eacx", {0, 1, 2, 5, 4}, 1.0, 1.0},
    {"maker", "trimble", "PHVT neu eacx", {0, 1, 2, 5, 4}, 0.0, 0.13},
};

// A letter for each value that is there: dilutions, sigmas (r: horizontal), and what satellites have
// (x: their use).
std::string told(const ReceiverSnapshot& snapshot) {
    const auto& [gdop, pdop, hdop, vdop, tdop] = snapshot.dops;
    const auto& [north, east, up, horizontal] = snapshot.sigmas;
    std::string letters;
    const auto add = [&letters](char letter, bool isThere) { letters.append(isThere ? 1 : 0, letter); };
    const auto addOfAny = [&](char letter, auto value) {
        add(letter,
            std::ranges::any_of(snapshot.satellites, [=](const auto& s) { return (s.*value).has_value(); }));
    };
    add('G', gdop.has_value());
    add('P', pdop.has_value());
    add('H', hdop.has_value());
    add('V', vdop.has_value());
    add('T', tdop.has_value());
    add(' ', true);
    add('n', north.has_value());
    add('e', east.has_value());
    add('u', up.has_value());
    add('r', horizontal.has_value());
    add(' ', true);
    addOfAny('e', &SnapshotSatellite::elevation);
    addOfAny('a', &SnapshotSatellite::azimuth);
    addOfAny('c', &SnapshotSatellite::cn0);
    addOfAny('x', &SnapshotSatellite::used);
    return letters;
}

void PrintTo(const Receiver& receiver, std::ostream* out) { *out << receiver.family; }

class Receivers : public testing::TestWithParam<Receiver> {
protected:
    void expectTime(const Epoch& epoch, const ReceiverSnapshot& snapshot) const {
        ASSERT_TRUE(snapshot.time && snapshot.time->week);
        const int leap = snapshot.time->scale == TimeScale::kUtc ? kLeapSeconds : 0;
        const double late = (epoch.week - *snapshot.time->week) * kSecondsPerWeek +
                            static_cast<double>(epoch.millisecondsOfWeek) / 1000.0 - leap -
                            snapshot.time->seconds;
        EXPECT_GT(late, -1e-6);
        EXPECT_LT(late, GetParam().cutTime + 1e-6);
    }

    void expectPosition(const Epoch& epoch, const ReceiverSnapshot& snapshot) const {
        EXPECT_EQ(snapshot.quality, GetParam().ggaQuality[static_cast<std::size_t>(epoch.quality)]);
        EXPECT_EQ(snapshot.satellitesUsed, epoch.satellitesUsed());
        ASSERT_EQ(snapshot.position.has_value(), epoch.quality != FixQuality::kNone);
        if (!snapshot.position) return;
        EXPECT_NEAR(snapshot.position->latitude, epoch.latitude, 2e-9);
        EXPECT_NEAR(snapshot.position->longitude, epoch.longitude, 2e-9);
        const bool aboveSea = snapshot.position->above == HeightReference::kSeaLevel;
        EXPECT_NEAR(snapshot.position->height, epoch.heightAboveSea + (aboveSea ? 0 : epoch.undulation),
                    1e-3);
        expectNear(snapshot.dops.gdop, epoch.dops.gdop, 0.051);
        expectNear(snapshot.dops.pdop, epoch.dops.pdop, 0.051);
        expectNear(snapshot.dops.hdop, epoch.dops.hdop, 0.051);
        expectNear(snapshot.dops.vdop, epoch.dops.vdop, 0.051);
        expectNear(snapshot.dops.tdop, epoch.dops.tdop, 0.051);
        const auto [horizontal, vertical] = sigmaFactors(epoch);
        expectNear(snapshot.sigmas.north, epoch.sigmaLatitude * horizontal, 6e-4);
        expectNear(snapshot.sigmas.east, epoch.sigmaLongitude * horizontal, 6e-4);
        expectNear(snapshot.sigmas.up, epoch.sigmaHeight * vertical, 6e-4);
        expectNear(snapshot.sigmas.horizontal, std::hypot(epoch.sigmaLatitude, epoch.sigmaLongitude), 6e-4);
    }

    void expectSatellites(const Epoch& epoch, const ReceiverSnapshot& snapshot) const {
        EXPECT_GE(snapshot.satellites.size(), 8u);
        for (const SnapshotSatellite& seen : snapshot.satellites) {
            // Javad receivers tell GLONASS satellites by their frequency, which two may share
            if (GetParam().family == std::string_view("javad") &&
                seen.system == vkcomm::SatelliteSystem::kGlonass)
                continue;
            SCOPED_TRACE(seen.number);
            const auto same = [&](const Satellite& s) {
                return "GSR"[static_cast<int>(s.system)] == static_cast<char>(seen.system) &&
                       s.number == seen.number;
            };
            const auto satellite = std::ranges::find_if(epoch.satellites, same);
            ASSERT_NE(satellite, epoch.satellites.end()) << static_cast<char>(seen.system);
            expectNear(seen.elevation, satellite->elevation, 1.0);
            if (seen.azimuth)
                expectNear(std::remainder(*seen.azimuth - satellite->azimuth, 360.0), 0.0, 1.01);
            expectNear(seen.cn0, satellite->l1.cn0, GetParam().cn0 + 0.01);
            if (epoch.quality == FixQuality::kNone)
                continue;  // without a position the $BIN table tells otherwise
            EXPECT_EQ(seen.used.value_or(satellite->used), satellite->used);
        }
    }

private:
    // What is not there is told's business.
    static void expectNear(const std::optional<double>& value, double expected, double error) {
        EXPECT_NEAR(value.value_or(expected), expected, error);
    }

    // What the parsers make of the sigmas on purpose, horizontal and vertical.
    static std::pair<double, double> sigmaFactors(const Epoch& epoch) {
        const std::string_view positions = GetParam().positions;
        if (positions == "oem4" && epoch.correctionAge > 0) return {0.6, 0.6};
        if (positions == "trimble" && epoch.quality == FixQuality::kRtkFixed) return {1 / 5.0, 1 / 4.5};
        return {1.0, 1.0};
    }
};

// Through all qualities, without a fix for some seconds, and on.
TEST_P(Receivers, ReadAsTheySaw) {
    const Family& family = *findFamily(GetParam().family);
    for (std::uint64_t seed = 1; seed <= 4; ++seed) {
        const Truth truth({.seed = seed});
        Routed routed(GetParam().positions);
        std::size_t fixes = 0;
        for (int second = 0; second < 640; second += second == 30 ? 532 : 1) {
            const Epoch epoch = truth.at(second * 1000 + (second % 3 == 2 ? 250 : 0));
            Piece piece;
            if (second == 0 && family.encodeStart) family.encodeStart(epoch, piece);
            family.encodeEpoch(epoch, piece);
            routed.feed(textOf(piece.bytes));
            fixes += epoch.quality != FixQuality::kNone;
            SCOPED_TRACE(testing::Message() << "seed " << seed << " at " << second);
            const ReceiverSnapshot snapshot = routed.router.receiver().snapshot();
            expectTime(epoch, snapshot);
            expectPosition(epoch, snapshot);
            if (second > 12) expectSatellites(epoch, snapshot);
            EXPECT_TRUE(second < 13 || !snapshot.position || told(snapshot) == GetParam().tells)
                << told(snapshot);
            if (HasFailure()) return;
        }
        EXPECT_GE(routed.ggas.size(), fixes);
        EXPECT_EQ(routed.counters().dropped, 0u);
    }
}

INSTANTIATE_TEST_SUITE_P(Every, Receivers, testing::ValuesIn(kReceivers), testing::PrintToStringParamName());

// The records of the first twenty seconds that no snapshot shows, the last of each name.
TEST(Reading, RecordsSayWhatWasMeant) {
    const struct {
        const char* family;
        const char* name;
        const char* members;
    } cases[] = {
        {"oem4", "VERSION",
         R"({"component":1,"model":"SIMULATED","serial":"SIM00000001","hardware":"OEMV3-SIM",
             "software":"3.620","boot":"3.000","compile_date":"2024/Feb/28","compile_time":"12:00:00"})"},
        {"oem4", "RAWEPHEM", R"({"reference_week":2303,"reference_seconds":345600,"subframes_in_place":true,
             "consistent":true,"health":0,"toe_s":345600})"},
        {"oem4", "SATVIS", R"({"valid":true})"},
        {"oem4-server", "SERVERSTATION",
         R"({"station":1,"x_m":4285998.4015,"y_m":645901.0247,"z_m":4664062.1328})"},
        {"oem4-server", "SERVERMESSAGE915", R"({"tail":"53494d53544154494f4e3031"})"},
        {"trimble", "RSERIAL",
         R"({"serial":"SIM00001","receiver_type":"SIM5800","navigation_version":"04.82",
             "signal_version":"01.00","boot_version":"03.01","antenna_serial":"ANT00001","antenna_type":"77","channels":"24",
             "channels_l1":"12","long_serial":"0000000001"})"},
        {"trimble", "RETOPT", R"({"sync_time":10,"fastest_rate":100,"memory_installed":8192})"},
        {"trimble", "BREAKRET",
         R"({"identity":"SIM00001","second_identity":"SIMULATED ROVER",
             "port":["1","38400","N","8","1","N","0"],"version":["4.82","1.00","3.01","2.50"]})"},
        {"trimble", "GENOUT", R"({"page":0,"last_page":0,"records":[1,2,3,6,9,12,14],"base_x_m":4285998.4015,
             "base_y_m":645901.0247,"base_z_m":4664062.1328})"},
        {"cmc", "IDENTIFICATION", R"({"number":5,"serial":"SIM0000000001"})"},
        {"cmc", "STATUS", R"({"mask_angle_deg":5.0})"},
        {"cmc", "IONOUTC", R"({"valid":1})"},
        {"csi", "$>", R"({"setting":"THISPORT","value":"PORTA"})"},
        {"maker", "SI", R"({"first_word":"SIM-V300","second_word":"SIM0000001"})"},
        {"javad", "RE", R"({"text":"%model%SIMULATED"})"},
        {"javad", "MF", R"({"size":14})"},
    };

    for (const auto& c : cases) {
        const Piece recording = makeRecording({.family = c.family, .seconds = 20});
        const Routed routed(c.family, textOf(recording.bytes));
        const auto named = [&](const nlohmann::json& line) { return line.at("name") == c.name; };
        const auto line = std::find_if(routed.lines.rbegin(), routed.lines.rend(), named);
        ASSERT_NE(line, routed.lines.rend()) << c.family << ' ' << c.name;
        EXPECT_TRUE(test::holds(*line, nlohmann::json::parse(c.members))) << line->dump();
    }
}

// Ranges of a reference station are those of the truth to a sixteenth of a cycle. Its phases go with them and
// differ from the truth by a whole number of cycles that never changes.
TEST(Reading, ServerObservationsAreWhatTheStationSaw) {
    const Truth truth({.seed = 3});
    std::map<std::pair<int, int>, double> cyclesAside;
    for (const std::int64_t at : {0, 500, 1'000, 61'000, 3'600'000}) {
        Epoch epoch = truth.at(at);
        std::erase_if(epoch.satellites, [](const Satellite& s) { return s.system != SatelliteSystem::kGps; });
        epoch.satellites.back().l2 = {};
        Piece piece;
        findFamily("oem4-server")->encodeEpoch(epoch, piece);
        const auto satellites = Routed("oem4", textOf(piece.bytes)).lines.at(0).at("satellites");
        ASSERT_EQ(satellites.size(), epoch.satellites.size());
        for (std::size_t i = 0; i < satellites.size(); ++i) {
            const auto& seen = satellites[i];
            EXPECT_EQ(seen.at("prn"), epoch.satellites[i].number);
            EXPECT_EQ(seen.contains("pseudorange_l2_m"), i + 1 < satellites.size());
            for (const int band : {1, 2}) {
                const Signal& signal = band == 1 ? epoch.satellites[i].l1 : epoch.satellites[i].l2;
                if (signal.pseudorange == 0.0) continue;
                SCOPED_TRACE(testing::Message() << seen << " at " << at);
                const std::string suffix = band == 1 ? "_l1_" : "_l2_";
                const double range = seen.at("pseudorange" + suffix + "m");
                const double aside = signal.carrierPhase - seen.at("phase" + suffix + "cycles").get<double>();
                EXPECT_NEAR(range, signal.pseudorange, kWavelengthL1 / 16 + 1e-4);
                EXPECT_NEAR(aside, std::round(aside), 1.0 / 256);
                const auto [known, isNew] =
                    cyclesAside.emplace(std::pair(epoch.satellites[i].number, band), aside);
                EXPECT_NEAR(known->second, aside, 1.0 / 128);
            }
        }
    }
}

// More satellites than a message has room for.
TEST(Reading, MessagesEndWhereTheyAreFull) {
    Epoch epoch = sampleEpoch();
    epoch.satellites.clear();
    for (int prn = 1; prn <= 32; ++prn)
        epoch.satellites.push_back({.number = prn, .used = true, .l1 = {2e7, 1e8, 0, 40, 1}});

    const struct {
        const char* family;
        const char* name;
        const char* list;
        std::size_t most;
    } cases[] = {
        {"oem4", "RANGECMP", "observations", 24}, {"oem4-server", "SERVEREPOCH", "satellites", 28},
        {"trimble", "GENOUT", "satellites", 31},  {"cmc", "VISIBILITY", "satellites", 12},
        {"csi", "BIN99", "satellites", 12},
    };

    for (const auto& c : cases) {
        if (c.family == std::string_view("trimble"))
            epoch.satellites.pop_back();  // 8 bytes each in one length byte
        Piece piece;
        findFamily(c.family)->encodeEpoch(epoch, piece);
        const Routed routed(c.family, textOf(piece.bytes));
        EXPECT_EQ(routed.counters().dropped, 0u) << c.family;
        const auto full = [&](const nlohmann::json& line) {
            return line.at("name") == c.name && line.contains(c.list) && line.at(c.list).size() == c.most;
        };
        EXPECT_TRUE(std::ranges::any_of(routed.lines, full)) << c.family;
    }
}

}  // namespace
}  // namespace vkcomm::sim
