#include "vkcomm/formats/oem4_format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

    std::string sentence() const { return gpgga(m_parser.strGetGPGGA()); }

    CNOEM4Format m_parser;
};

const std::string kPsrdop = oem4(174, std::string(28, '\0'));
constexpr const unsigned char* kNull = nullptr;

TEST_F(Bestpos, KeepsEveryField) {
    m_parser.vProcessBestposB(spanOf(kBestposWaas));
    const Oem4Header& h = m_parser.Header();
    EXPECT_EQ(row(h.headerLength, h.messageId, h.messageType, h.portAddress, h.messageLength, h.sequence,
                  h.idleTime, h.timeStatus, h.week, h.milliseconds, h.receiverStatus, h.reserved,
                  h.softwareVersion),
              "28 42 2 190 72 0 0 180 1562 515220000 4982816 24901 4807");
    const BestposBody& b = m_parser.Bestpos();
    EXPECT_EQ(row(b.solutionStatus, b.positionType, b.latitude, b.longitude, b.height, b.undulation, b.datum),
              "0 18 35.87299418486539 138.38966169772877 964.639897021465 39.25026 61");
    // Corrections of 3 s: six tenths of 1.506901026, 0.919068158 and 2.124404669.
    EXPECT_EQ(row(b.latitudeSigma, b.longitudeSigma, b.heightSigma), "0.9041406 0.5514409 1.2746428");
    EXPECT_EQ(fixedText(b.baseStation), "129");
    EXPECT_EQ(row(b.differentialAge, b.solutionAge, b.satellitesTracked, b.satellitesUsed, b.satellitesL1,
                  b.satellitesL1L2, b.reserved68, b.extendedStatus, b.reserved70, b.signalMask),
              "3 0 16 9 0 0 0 6 0 3");
    const Oem4Position& p = m_parser.Position();
    EXPECT_NEAR(p.position.latitude, 0.626101861075, 1e-12);
    EXPECT_NEAR(p.position.longitude, 2.415355247346, 1e-12);
    EXPECT_EQ(p.position.height, b.height);
    EXPECT_EQ(row(p.week, p.seconds, p.type, p.satellitesUsed, p.satellitesTracked), "1562 515220 18 9 16");

    m_parser.vProcessBestposB(dataOf(kBestposNoFix));
    EXPECT_EQ(row(b.solutionStatus, b.height, p.seconds), "1 -6378053.700000763 4006");
    EXPECT_EQ(fixedText(b.baseStation), "") << "begins with a zero byte";
}

TEST_F(Bestpos, ScalesSigmasInsideTheAgeWindowOnly) {
    for (const float age : {0.0f, 5.0f, -1.0f, std::nanf("")}) {
        m_parser.vProcessBestposB(spanOf(with(kBestposWaas, 28 + 56, age)));
        EXPECT_FLOAT_EQ(m_parser.Bestpos().heightSigma, 2.124404669f) << age;
    }
    for (const float age : {std::nextafter(0.0f, 1.0f), std::nextafter(5.0f, 0.0f)}) {
        m_parser.vProcessBestposB(spanOf(with(kBestposWaas, 28 + 56, age)));
        EXPECT_FLOAT_EQ(m_parser.Bestpos().heightSigma, 1.274642825f) << age;
    }
}

TEST_F(Bestpos, ResponseKeepsTheBodyButLowersTheHeightAgain) {
    vSetHerror(0.25);
    m_parser.vProcessBestposB(spanOf(kBestposWaas));
    const double height = m_parser.Bestpos().height;
    EXPECT_DOUBLE_EQ(height, 964.639897021465 - 0.25);
    const std::string response = with(kBestposNoFix.substr(0, 28), 6, std::uint8_t{0x82});
    m_parser.vProcessBestposB(spanOf(response));
    m_parser.vProcessBestposB(dataOf(response));
    EXPECT_DOUBLE_EQ(m_parser.Bestpos().height, height - 0.5);
    EXPECT_EQ(m_parser.Position().position.height, m_parser.Bestpos().height);
    EXPECT_EQ(m_parser.Bestpos().positionType, 18u);
    EXPECT_FLOAT_EQ(m_parser.Bestpos().heightSigma, 2.124404669f * 0.6f * 0.6f * 0.6f);
    EXPECT_EQ(row(m_parser.Position().week, m_parser.Position().seconds), "0 4006")
        << "those of the response";
}

TEST_F(Bestpos, NullFrameDerivesThePositionAlone) {
    vSetHerror(1.0);
    m_parser.vProcessBestposB(spanOf(kBestposWaas));
    m_parser.vProcessPsrDOPB(spanOf(with<std::uint32_t>(kPsrdop, 16, 1500)));
    const double height = m_parser.Bestpos().height;
    m_parser.vProcessBestposB(kNull);
    EXPECT_EQ(m_parser.Bestpos().height, height);
    EXPECT_EQ(m_parser.Position().seconds, 1.5);
    m_parser.vSetZero();
    EXPECT_NE(m_parser.Position().position.latitude, 0.0) << "the position outlives the logs";
    m_parser.vProcessBestposB(kNull);
    EXPECT_EQ(m_parser.Position().position.latitude, 0.0);
    EXPECT_EQ(m_parser.Position().satellitesUsed, 0);
}

TEST_F(Bestpos, GgaSaysTheStoredState) {
    m_parser.vProcessPsrDOPB(spanOf(with(kPsrdop, 28 + 8, 1.26f)));
    vSetHerror(2.0);
    m_parser.vProcessBestposB(spanOf(kBestposWaas));
    EXPECT_THAT(sentence(),
                HasSubstr("$GPGGA,230700.00,3552.3796511,N,13823.3797019,E,1,09,1.3,962.640,M,39.25,M,0,*"));
    m_parser.vProcessBestposB(spanOf(with<std::uint32_t>(kBestposWaas, 16, 45'296'789)));
    EXPECT_THAT(sentence(), HasSubstr("$GPGGA,123456.00,3552.")) << "the fraction is dropped";
    m_parser.vProcessPsrDOPB(spanOf(with<std::uint32_t>(kPsrdop, 16, 59'999)));
    EXPECT_THAT(sentence(), HasSubstr("$GPGGA,000059.00,3552.")) << "any log's header tells the time";
    m_parser.vProcessBestposB(spanOf(with<std::uint32_t>(kBestposWaas, 16, 0xFFFFFFFF)));
    EXPECT_THAT(sentence(), HasSubstr("$GPGGA,170247.00,3552."));
    m_parser.vProcessBestposB(spanOf(with(kBestposWaas, 28 + 8, std::nan(""))));
    EXPECT_THAT(sentence(), HasSubstr("$GPGGA,230700.00,,,,,0,09,0.0,,M,,M,0,*"));
}

TEST_F(Bestpos, GgaQualityFollowsThePositionType) {
    const auto expectQuality = [this](char quality, std::initializer_list<std::uint32_t> types) {
        for (const std::uint32_t type : types) {
            m_parser.vProcessBestposB(spanOf(with(kBestposWaas, 32, type)));
            EXPECT_EQ(sentence()[sentence().find(",E,") + 3], quality) << type;
        }
    };
    expectQuality('5', {17, 32, 33, 34});
    expectQuality('4', {48, 49, 50});
    expectQuality('1', {0, 1, 16, 18, 31, 35, 47, 51, 64, 256 + 17, 0xFFFFFFFF});
}

// Every value that the simulator puts into its logs comes back out.
TEST(Oem4Format, ReadsWhatASimulatedReceiverSends) {
    const sim::Epoch epoch = sim::Truth({}).at(3'600'500);
    sim::Piece piece;
    sim::encodeOem4Start(epoch, piece);
    sim::encodeOem4(epoch, piece);
    CNOEM4Format parser;
    parser.vProcessVerDataB(piece.frameBytes(0));
    parser.vProcessPsrDOPB(piece.frameBytes(3));
    parser.vProcessRangeCMPB(piece.frameBytes(4));
    const VersionComponent& v = parser.Version();
    EXPECT_EQ(row(v.type, parser.Psrdop().satellites), row(1, epoch.satellitesUsed()));
    EXPECT_EQ(std::string(fixedText(v.model)) + '|' + std::string(fixedText(v.boot)), "SIMULATED|3.000");
    EXPECT_EQ(fixedText(v.compileDate), "2024/Feb/28");
    EXPECT_EQ(fixedText(v.compileTime), "12:00:00");
    EXPECT_EQ(parser.Psrdop().hdop, static_cast<float>(epoch.dops.hdop));
    EXPECT_EQ(parser.Psrdop().tdop, static_cast<float>(epoch.dops.tdop));
    std::size_t slot = 0;
    for (const sim::Satellite& satellite : epoch.satellites) {
        if (satellite.system != sim::SatelliteSystem::kGps || slot + 1 >= parser.Ranges().count) continue;
        for (const sim::Signal* signal : {&satellite.l1, &satellite.l2}) {
            const RangeObservation& range = parser.Ranges().slots[slot++];
            EXPECT_EQ(range.prn, satellite.number);
            EXPECT_NEAR(range.pseudorange, signal->pseudorange, 1.0 / 256.0);
            const double phase = range.accumulatedDoppler + signal->carrierPhase;
            EXPECT_NEAR(std::remainder(phase, 8388608.0), 0.0, 1.0 / 256.0);
        }
    }
    EXPECT_GT(slot, 8u);
    EXPECT_EQ(parser.Ranges().count, slot);
}

TEST(Message915, TailGoesByItsLength) {
    const auto frame = [](unsigned length, char fill) {
        return oem4(915, std::string(20, 'b') + chr(length) + "bbb" + std::string(16, fill));
    };
    CNOEM4Format parser;
    parser.vProcessMessage915(spanOf(frame(12, 'x')));
    EXPECT_THAT(parser.Message915().tail16, testing::Each(0));
    parser.vProcessMessage915(dataOf(frame(16, 'y')));
    parser.vProcessMessage915(spanOf(frame(13, 'z')));
    EXPECT_THAT(parser.Message915().tail12, testing::Each('x'));
    EXPECT_THAT(parser.Message915().tail16, testing::Each('y'));
    EXPECT_EQ(parser.Message915().body[20], 13);
    EXPECT_EQ(parser.Message915().body[23], 'b');
    EXPECT_EQ(parser.Header().messageId, 915);
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

TEST(RawCopies, TakeExactlyTheirBytes) {
    std::string frame(112, '\0');
    for (std::size_t i = 0; i < frame.size(); ++i)
        frame[i] = chr(static_cast<unsigned>(i) + 1);
    Everything e;
    e.parser.vProcessRefStationB(dataOf(frame), e.station);
    e.parser.vProcessPasscom2B(dataOf(frame), e.passed);
    EXPECT_EQ(0, std::memcmp(e.station.bytes.data(), frame.data(), 69));
    EXPECT_EQ(0, std::memcmp(e.passed.bytes.data(), frame.data(), 112));
}

struct Operation {
    template <typename Run>
    Operation(const char* operation, std::size_t shortest, const std::string& whole, Run run)
        : name(operation), frame(whole.substr(0, shortest)), onSpan(run), onPointer(run) {}

    const char* name;
    std::string frame;  // the shortest that is accepted
    std::function<void(Everything&, ByteSpan)> onSpan;
    std::function<void(Everything&, const unsigned char*)> onPointer;
};

std::vector<Operation> operations() {
    const std::string plain = oem4(37, std::string(112, 'v'));
    const std::string response = with(kBestposWaas, 6, std::uint8_t{0x80});
    const std::string two = bytesOf912({.prn = 1}) + bytesOf912({.prn = 2});
    const std::string tail(40, '\x10');
    const auto ranges = [](auto& e, auto f) { e.parser.vProcessRangeCMPB(f); };
    const auto server = [](auto& e, auto f) { e.parser.vProcessMessage912(f, e.epoch); };
    // clang-format off
    return {
        {"BESTPOS", 100, kBestposWaas, [](auto& e, auto f) { e.parser.vProcessBestposB(f); }},
        {"response", 28, response, [](auto& e, auto f) { e.parser.vProcessBestposB(f); }},
        {"PSRDOP", 56, plain, [](auto& e, auto f) { e.parser.vProcessPsrDOPB(f); }},
        {"RANGECMP", 80, kRangecmp, ranges},
        {"RANGECMP of 30", 32 + 24 * 24, rangecmpOf(30, 30), ranges},
        {"record", 24, hex(kRanges[0].record), [](auto& e, auto f) { e.parser.ProcessRangeCMPData(3, f); }},
        {"satellites", 34 + 36, satelliteMessage(3, 3), [](auto& e, auto f) { e.parser.vProcessSatMsgB(f); }},
        {"VERSION", 140, plain, [](auto& e, auto f) { e.parser.vProcessVerDataB(f); }},
        {"REFSTATION", 69, plain, [](auto& e, auto f) { e.parser.vProcessRefStationB(f, e.station); }},
        {"PASSCOM2", 112, plain, [](auto& e, auto f) { e.parser.vProcessPasscom2B(f, e.passed); }},
        {"RAWEPHEM", 130, kRawephem11, [](auto& e, auto f) { e.parser.vProcessRawEphemB(f); }},
        {"912", 44 + 44, message912(2, two), server},
        {"912 of 29", 29, message912(29, ""), server},
        {"913", 28, plain, [](auto& e, auto f) { e.parser.vProcessMessage913(f, e.pell); }},
        {"915", 68, oem4(915, tail), [](auto& e, auto f) { e.parser.vProcessMessage915(f); }},
    };
    // clang-format on
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

// Each frame in memory of its own, so that reading beyond it does not go unseen.
TEST(Oem4Format, FramesThatAreTooShortChangeNothing) {
    for (const Operation& operation : operations()) {
        const std::string& frame = operation.frame;
        for (std::size_t size = 0; size <= frame.size(); ++size) {
            const std::vector<unsigned char> bytes(frame.begin(),
                                                   frame.begin() + static_cast<std::ptrdiff_t>(size));
            EXPECT_EQ(changes([&](Everything& e) { operation.onSpan(e, bytes); }), size == frame.size())
                << operation.name << ' ' << size;
        }
        const std::vector<unsigned char> whole(frame.begin(), frame.end());
        EXPECT_TRUE(changes([&](Everything& e) { operation.onPointer(e, whole.data()); })) << operation.name;
        const bool clears = std::string_view(operation.name) == "satellites";
        EXPECT_TRUE(clears || !changes([&](Everything& e) { operation.onPointer(e, nullptr); }))
            << operation.name;
    }
}

}  // namespace
}  // namespace vkcomm::test
