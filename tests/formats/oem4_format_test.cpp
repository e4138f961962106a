#include "vkcomm/formats/oem4_format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <memory>
#include <type_traits>

#include "sim/oem4_encoder.h"
#include "tests/formats/oem4_frames.h"
#include "vkcomm/datum/process_settings.h"

namespace vkcomm::test {
namespace {

using testing::HasSubstr;

// The height error is a value of the whole process.
class Bestpos : public testing::Test {
protected:
    ~Bestpos() override { vSetHerror(0.0); }

    CNOEM4Format m_parser;
};

TEST_F(Bestpos, KeepsEveryField) {
    m_parser.vProcessBestposB(spanOf(kBestposWaas));
    const Oem4Header& header = m_parser.Header();
    EXPECT_EQ(header.headerLength, 28);
    EXPECT_EQ(header.messageId, 42);
    EXPECT_EQ(header.messageType, 2);
    EXPECT_EQ(header.portAddress, 190);
    EXPECT_EQ(header.messageLength, 72);
    EXPECT_EQ(header.sequence, 0);
    EXPECT_EQ(header.timeStatus, 180);
    EXPECT_EQ(header.week, 1562);
    EXPECT_EQ(header.milliseconds, 515220000u);
    EXPECT_EQ(header.receiverStatus, 4982816u);
    EXPECT_EQ(header.reserved, 24901);
    EXPECT_EQ(header.softwareVersion, 4807);

    const BestposBody& body = m_parser.Bestpos();
    EXPECT_EQ(body.solutionStatus, 0u);
    EXPECT_EQ(body.positionType, 18u);
    EXPECT_EQ(body.latitude, 35.87299418486539);
    EXPECT_EQ(body.longitude, 138.38966169772877);
    EXPECT_DOUBLE_EQ(body.height, 964.639897021465);
    EXPECT_FLOAT_EQ(body.undulation, 39.250259399f);
    EXPECT_EQ(body.datum, 61u);
    EXPECT_EQ(fixedText(body.baseStation), "129");
    EXPECT_EQ(body.differentialAge, 3.0f);
    EXPECT_EQ(body.solutionAge, 0.0f);
    EXPECT_EQ(body.satellitesTracked, 16);
    EXPECT_EQ(body.satellitesUsed, 9);
    EXPECT_EQ(body.satellitesL1, 0);
    EXPECT_EQ(body.satellitesL1L2, 0);
    EXPECT_EQ(body.extendedStatus, 6);
    EXPECT_EQ(body.signalMask, 3);
    // Corrections of 3 s: six tenths of 1.506901026, 0.919068158 and 2.124404669.
    EXPECT_FLOAT_EQ(body.latitudeSigma, 0.904140592f);
    EXPECT_FLOAT_EQ(body.longitudeSigma, 0.551440895f);
    EXPECT_FLOAT_EQ(body.heightSigma, 1.274642825f);

    const Oem4Position& position = m_parser.Position();
    EXPECT_NEAR(position.position.latitude, 0.626101861075, 1e-12);
    EXPECT_NEAR(position.position.longitude, 2.415355247346, 1e-12);
    EXPECT_EQ(position.position.height, body.height);
    EXPECT_EQ(position.week, 1562);
    EXPECT_EQ(position.seconds, 515220.0);
    EXPECT_EQ(position.type, 18);
    EXPECT_EQ(position.satellitesUsed, 9);
    EXPECT_EQ(position.satellitesTracked, 16);
}

TEST_F(Bestpos, TakesNoFixAsItIs) {
    m_parser.vProcessBestposB(dataOf(kBestposNoFix));
    EXPECT_EQ(m_parser.Bestpos().solutionStatus, 1u);
    EXPECT_EQ(m_parser.Bestpos().height, -6378053.700000763);
    EXPECT_EQ(m_parser.Bestpos().baseStation, (std::array<char, 4>{'\0', '0', '0', '0'}));
    EXPECT_EQ(fixedText(m_parser.Bestpos().baseStation), "");
    EXPECT_EQ(m_parser.Position().seconds, 4006.0);
}

TEST_F(Bestpos, ScalesSigmasInsideTheAgeWindowOnly) {
    struct Case {
        const char* name;
        float age;
        bool scaled;
    };

    const Case cases[] = {
        {"none", 0.0f, false},
        {"the least", std::nextafter(0.0f, 1.0f), true},
        {"just below", std::nextafter(5.0f, 0.0f), true},
        {"the end", 5.0f, false},
        {"negative", -1.0f, false},
        {"undefined", std::nanf(""), false},
    };
    for (const Case& c : cases) {
        m_parser.vProcessBestposB(spanOf(with(kBestposWaas, 28 + 56, c.age)));
        EXPECT_FLOAT_EQ(m_parser.Bestpos().heightSigma, c.scaled ? 1.274642825f : 2.124404669f) << c.name;
    }
}

TEST_F(Bestpos, ResponseKeepsTheBodyButLowersTheHeightAgain) {
    vSetHerror(0.25);
    m_parser.vProcessBestposB(spanOf(kBestposWaas));
    const double height = m_parser.Bestpos().height;
    EXPECT_DOUBLE_EQ(height, 964.639897021465 - 0.25);
    std::string response = with<std::uint8_t>(kBestposNoFix, 6, 0x82);
    response.resize(28);  // its body is never read
    m_parser.vProcessBestposB(spanOf(response));
    m_parser.vProcessBestposB(dataOf(response));
    EXPECT_DOUBLE_EQ(m_parser.Bestpos().height, height - 0.5);
    EXPECT_EQ(m_parser.Position().position.height, m_parser.Bestpos().height);
    EXPECT_EQ(m_parser.Bestpos().positionType, 18u);
    EXPECT_FLOAT_EQ(m_parser.Bestpos().heightSigma, 2.124404669f * 0.6f * 0.6f * 0.6f);
    EXPECT_EQ(m_parser.Position().week, 0) << "the time is that of the response";
    EXPECT_EQ(m_parser.Position().seconds, 4006.0);
}

TEST_F(Bestpos, NullFrameDerivesThePositionAlone) {
    vSetHerror(1.0);
    m_parser.vProcessBestposB(spanOf(kBestposWaas));
    m_parser.vProcessPsrDOPB(spanOf(with<std::uint32_t>(oem4(174, std::string(28, '\0')), 16, 1500)));
    const double height = m_parser.Bestpos().height;
    m_parser.vProcessBestposB(static_cast<const unsigned char*>(nullptr));
    EXPECT_EQ(m_parser.Bestpos().height, height);
    EXPECT_EQ(m_parser.Position().seconds, 1.5);
    m_parser.vSetZero();
    EXPECT_NE(m_parser.Position().position.latitude, 0.0) << "the position outlives the logs";
    m_parser.vProcessBestposB(static_cast<const unsigned char*>(nullptr));
    EXPECT_EQ(m_parser.Position().position.latitude, 0.0);
    EXPECT_EQ(m_parser.Position().satellitesUsed, 0);
}

class Oem4Gga : public Bestpos {
protected:
    std::string sentence() const { return gpgga(m_parser.strGetGPGGA()); }
};

TEST_F(Oem4Gga, SaysTheStoredState) {
    m_parser.vProcessPsrDOPB(spanOf(with(oem4(174, std::string(28, '\0')), 28 + 8, 1.26f)));
    m_parser.vProcessBestposB(spanOf(kBestposWaas));
    EXPECT_THAT(sentence(),
                HasSubstr("$GPGGA,230700.00,3552.3796511,N,13823.3797019,E,1,09,1.3,964.640,M,39.25,M,0,*"));
    vSetHerror(2.0);
    m_parser.vProcessBestposB(spanOf(kBestposWaas));
    EXPECT_THAT(sentence(), HasSubstr(",962.640,M,"));
}

TEST_F(Oem4Gga, DropsTheFractionAndTakesTheLastHeader) {
    m_parser.vProcessBestposB(spanOf(with<std::uint32_t>(kBestposWaas, 16, 45'296'789)));
    EXPECT_THAT(sentence(), HasSubstr("$GPGGA,123456.00,3552."));
    m_parser.vProcessPsrDOPB(spanOf(with<std::uint32_t>(oem4(174, std::string(28, '\0')), 16, 59'999)));
    EXPECT_THAT(sentence(), HasSubstr("$GPGGA,000059.00,3552."));
    m_parser.vProcessBestposB(spanOf(with<std::uint32_t>(kBestposWaas, 16, 0xFFFFFFFF)));
    EXPECT_THAT(sentence(), HasSubstr("$GPGGA,170247.00,3552."));
}

TEST_F(Oem4Gga, MapsThePositionType) {
    const auto qualityOf = [this](std::uint32_t type) {
        m_parser.vProcessBestposB(spanOf(with(kBestposWaas, 32, type)));
        return sentence().substr(sentence().find(",E,") + 3, 2);
    };
    for (const std::uint32_t type : {17u, 32u, 33u, 34u})
        EXPECT_EQ(qualityOf(type), "5,") << type;
    for (const std::uint32_t type : {48u, 49u, 50u})
        EXPECT_EQ(qualityOf(type), "4,") << type;
    for (const std::uint32_t type : {0u, 1u, 16u, 18u, 31u, 35u, 47u, 51u, 64u, 256u + 17u, 0xFFFFFFFFu})
        EXPECT_EQ(qualityOf(type), "1,") << type;
}

TEST_F(Oem4Gga, HasNoPositionWhenANumberIsNone) {
    m_parser.vProcessBestposB(spanOf(with(kBestposWaas, 28 + 8, std::nan(""))));
    EXPECT_THAT(sentence(), HasSubstr("$GPGGA,230700.00,,,,,0,09,0.0,,M,,M,0,*"));
}

// Every value that the simulator puts into its logs comes back out.
TEST(Oem4Format, ReadsWhatASimulatedReceiverSends) {
    const sim::Truth truth({});
    CNOEM4Format parser;
    for (const std::int64_t moment : {0, 1'000, 3'600'500, 86'400'000}) {
        const sim::Epoch epoch = truth.at(moment);
        sim::Piece piece;
        sim::encodeOem4Start(epoch, piece);
        sim::encodeOem4(epoch, piece);
        parser.vProcessVerDataB(piece.frameBytes(0));
        parser.vProcessBestposB(piece.frameBytes(1));
        parser.vProcessPsrDOPB(piece.frameBytes(3));
        parser.vProcessRangeCMPB(piece.frameBytes(4));

        EXPECT_EQ(parser.Version().type, 1u);
        EXPECT_EQ(fixedText(parser.Version().model), "SIMULATED");
        EXPECT_EQ(fixedText(parser.Version().boot), "3.000");
        EXPECT_EQ(fixedText(parser.Version().compileDate), "2024/Feb/28");
        EXPECT_EQ(fixedText(parser.Version().compileTime), "12:00:00");
        EXPECT_EQ(parser.Position().week, epoch.week);
        EXPECT_EQ(parser.Position().seconds, static_cast<double>(epoch.millisecondsOfWeek) / 1000.0);
        EXPECT_EQ(parser.Psrdop().hdop, static_cast<float>(epoch.dops.hdop));
        EXPECT_EQ(parser.Psrdop().tdop, static_cast<float>(epoch.dops.tdop));
        EXPECT_EQ(parser.Psrdop().satellites, static_cast<std::uint32_t>(epoch.satellitesUsed()));

        std::size_t slot = 0;
        for (const sim::Satellite& satellite : epoch.satellites) {
            if (satellite.system != sim::SatelliteSystem::kGps || slot + 1 >= parser.Ranges().count) continue;
            for (const sim::Signal* signal : {&satellite.l1, &satellite.l2}) {
                const RangeObservation& range = parser.Ranges().slots[slot++];
                EXPECT_EQ(range.prn, satellite.number);
                EXPECT_NEAR(range.pseudorange, signal->pseudorange, 1.0 / 256.0);
                EXPECT_NEAR(std::remainder(range.accumulatedDoppler + signal->carrierPhase, 8388608.0), 0.0,
                            1.0 / 256.0);
                EXPECT_NEAR(range.lockTime, std::min(signal->lockTime, 65535.96875), 1.0 / 32.0);
            }
        }
        EXPECT_GT(slot, 8u);
        EXPECT_EQ(parser.Ranges().count, slot);
    }
}

TEST(Message915, TailGoesByItsLength) {
    const auto frame = [](unsigned length, char fill) {
        std::string body(24, 'b');
        body[20] = chr(length);
        return oem4(915, body + std::string(16, fill));
    };
    CNOEM4Format parser;
    parser.vProcessMessage915(spanOf(frame(12, 'x')));
    EXPECT_THAT(parser.Message915().tail12, testing::Each('x'));
    EXPECT_THAT(parser.Message915().tail16, testing::Each(0));
    parser.vProcessMessage915(dataOf(frame(16, 'y')));
    parser.vProcessMessage915(dataOf(frame(13, 'z')));
    EXPECT_THAT(parser.Message915().tail12, testing::Each('x'));
    EXPECT_THAT(parser.Message915().tail16, testing::Each('y'));
    EXPECT_EQ(parser.Message915().body[20], 13);
    EXPECT_EQ(parser.Message915().body[23], 'b');
    EXPECT_EQ(parser.Header().messageId, 915);
}

TEST(RawCopies, TakeExactlyTheirBytes) {
    CNOEM4Format parser;
    std::string frame(112, '\0');
    for (std::size_t i = 0; i < frame.size(); ++i)
        frame[i] = chr(static_cast<unsigned>(i) + 1);
    REFSTATIONB_DATA station;
    PASSCOMB_LOG passed;
    parser.vProcessRefStationB(dataOf(frame), station);
    parser.vProcessPasscom2B(dataOf(frame), passed);
    EXPECT_EQ(0, std::memcmp(station.bytes.data(), frame.data(), 69));
    EXPECT_EQ(0, std::memcmp(passed.bytes.data(), frame.data(), 112));
}

// Everything a parser can change, the callers' records included, comparable byte for byte.
struct Everything {
    CNOEM4Format parser;
    REFSTATIONB_DATA station;
    PASSCOMB_LOG passed;
    tag_PellEpoch epoch;
    tag_PellStation pell;
};

static_assert(std::is_trivially_copyable_v<Everything>);

struct Operation {
    template <typename Run>
    Operation(const char* operation, std::string shortest, Run run)
        : name(operation), frame(std::move(shortest)), onSpan(run), onPointer(run) {}

    const char* name;
    std::string frame;  // the shortest that is accepted
    std::function<void(Everything&, ByteSpan)> onSpan;
    std::function<void(Everything&, const unsigned char*)> onPointer;
};

std::string shortened(std::string frame, std::size_t size) {
    frame.resize(size);
    return frame;
}

std::vector<Operation> operations() {
    std::string tail(40, '\0');
    tail[20] = 16;
    const std::string version = oem4(37, std::string(112, 'v'));
    return {
        {"BESTPOS", shortened(kBestposWaas, 100), [](auto& e, auto f) { e.parser.vProcessBestposB(f); }},
        {"BESTPOS response", shortened(with<std::uint8_t>(kBestposWaas, 6, 0x80), 28),
         [](auto& e, auto f) { e.parser.vProcessBestposB(f); }},
        {"PSRDOP", shortened(version, 56), [](auto& e, auto f) { e.parser.vProcessPsrDOPB(f); }},
        {"RANGECMP", shortened(kRangecmp, 80), [](auto& e, auto f) { e.parser.vProcessRangeCMPB(f); }},
        {"RANGECMP of 30", shortened(rangecmpOf(30, 30), 32 + 24 * 24),
         [](auto& e, auto f) { e.parser.vProcessRangeCMPB(f); }},
        {"RANGECMP record", hex(kRanges[0].record),
         [](auto& e, auto f) { e.parser.ProcessRangeCMPData(3, f); }},
        {"satellite message", shortened(satelliteMessage(3, 3), 34 + 36),
         [](auto& e, auto f) { e.parser.vProcessSatMsgB(f); }},
        {"VERSION", shortened(version, 140), [](auto& e, auto f) { e.parser.vProcessVerDataB(f); }},
        {"REFSTATION", shortened(version, 69),
         [](auto& e, auto f) { e.parser.vProcessRefStationB(f, e.station); }},
        {"PASSCOM2", shortened(version, 112),
         [](auto& e, auto f) { e.parser.vProcessPasscom2B(f, e.passed); }},
        {"RAWEPHEM", shortened(kRawephem11, 130), [](auto& e, auto f) { e.parser.vProcessRawEphemB(f); }},
        {"912", shortened(message912(2, bytesOf912({.prn = 1}) + bytesOf912({.prn = 2})), 44 + 44),
         [](auto& e, auto f) { e.parser.vProcessMessage912(f, e.epoch); }},
        {"912 of 29", shortened(message912(29, ""), 29),
         [](auto& e, auto f) { e.parser.vProcessMessage912(f, e.epoch); }},
        {"913", version.substr(0, 28), [](auto& e, auto f) { e.parser.vProcessMessage913(f, e.pell); }},
        {"915", shortened(oem4(915, tail), 68), [](auto& e, auto f) { e.parser.vProcessMessage915(f); }},
    };
}

// Whether run changes anything.
template <typename Run>
bool changes(Run run) {
    const auto before = std::make_unique<Everything>();
    const auto after = std::make_unique<Everything>();
    std::memcpy(static_cast<void*>(after.get()), before.get(), sizeof(Everything));
    run(*after);
    return std::memcmp(before.get(), after.get(), sizeof(Everything)) != 0;
}

// The first size bytes in memory of their own, so that reading beyond them does not go unseen.
std::vector<unsigned char> alone(const std::string& frame, std::size_t size) {
    return {frame.begin(), frame.begin() + static_cast<std::ptrdiff_t>(size)};
}

TEST(ShortFrames, ChangeNothing) {
    for (const Operation& operation : operations()) {
        const std::size_t enough = operation.frame.size();
        for (std::size_t size = 0; size <= enough; ++size) {
            const std::vector<unsigned char> bytes = alone(operation.frame, size);
            EXPECT_EQ(changes([&](Everything& e) { operation.onSpan(e, bytes); }), size == enough)
                << operation.name << ' ' << size;
        }
    }
}

TEST(PointerForms, ReadWhatTheyMustAndNoMore) {
    for (const Operation& operation : operations()) {
        const std::vector<unsigned char> bytes = alone(operation.frame, operation.frame.size());
        EXPECT_TRUE(changes([&](Everything& e) { operation.onPointer(e, bytes.data()); })) << operation.name;
    }
}

TEST(PointerForms, DoNothingWithNull) {
    for (const Operation& operation : operations()) {
        if (std::string_view(operation.name) == "satellite message") continue;  // clears its table
        EXPECT_FALSE(changes([&](Everything& e) { operation.onPointer(e, nullptr); })) << operation.name;
    }
}

}  // namespace
}  // namespace vkcomm::test
