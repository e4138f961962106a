// A caster, a relay and a receiver: corrections go one way, the position the other, and the fix tells whether they
// arrive. All of it over real connections and in real time.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "host/caster_relay.h"
#include "host/receiver_session.h"
#include "sim/caster.h"
#include "sim/live_simulator.h"

namespace vkcomm {
namespace {

using namespace std::chrono_literals;

// A port that was just given up may be taken for a moment, by a client that knocks there.
std::unique_ptr<sim::Caster> makeCaster(const sim::CasterOptions& options, std::uint16_t port = 0) {
    SystemError error;
    auto listener = openListener("127.0.0.1", port, error);
    for (int tries = 0; !listener && port != 0 && tries < 1000; ++tries) {
        systemClock().sleep(20ms);
        listener = openListener("127.0.0.1", port, error);
    }
    EXPECT_TRUE(listener) << error.message();
    auto caster = std::make_unique<sim::Caster>(options, std::move(listener), "127.0.0.1");
    caster->start();
    return caster;
}

CasterUrl urlOf(const sim::Caster& caster, const std::string& mount) {
    std::string error;
    std::string address = caster.address();
    const auto url = parseCasterUrl(address.insert(8, "user:pass@") + "/" + mount, error);
    EXPECT_TRUE(url) << error;
    return *url;
}

sim::CasterOptions withPassword() {
    sim::CasterOptions options;
    options.user = "user";
    options.password = "pass";
    return options;
}

// A simulated receiver and a session on it, as the command opens them.
class Rover {
public:
    explicit Rover(const std::string& family) {
        SystemError failure;
        sim::LiveOptions options{.family = family, .rateHz = 10, .isRover = true};
        options.rover = {.floatAfter = 200ms, .fixedAfter = 500ms, .lostAfter = 1500ms};
        m_simulator = std::make_unique<sim::LiveSimulator>(options, openTcpServer("127.0.0.1", 0, failure));
        std::string error;
        const auto url = parsePortUrl(m_simulator->address(), error);
        SessionOptions session;
        session.stream.family = findFamily(family);
        m_session = std::make_unique<ReceiverSession>(*url, session);
        EXPECT_TRUE(m_session->open(error)) << error;
        m_simulator->start();
    }

    CTrimblePort& port() { return m_session->port(); }

    sim::LiveSimulator& simulator() { return *m_simulator; }

    // Tells the relay where it is, and isLast how good each position is.
    void follow(CasterRelay* relay, const std::function<bool(int quality)>& isLast) {
        bool isOver = false;
        const SessionSteps steps{[&](const RoutedRecord& record) {
                                     const RecordRouter& router = m_session->stream().router();
                                     if (isOver || !router.isPosition(record)) return;
                                     const int quality = router.receiver().snapshot().quality;
                                     if (relay)
                                         relay->setPosition(quality > 0 ? router.receiver().gga() : "");
                                     isOver = isLast(quality);
                                 },
                                 {}};
        while (!isOver && m_session->pump(1s, steps)) {
        }
        EXPECT_TRUE(isOver);
    }

    void waitFor(int quality, CasterRelay* relay) {
        follow(relay, [quality](int now) { return now == quality; });
    }

private:
    std::unique_ptr<sim::LiveSimulator> m_simulator;
    std::unique_ptr<ReceiverSession> m_session;
};

constexpr int kSingle = 1, kFixed = 4, kFloat = 5;

TEST(ClosedLoop, TheFixFollowsTheCorrections) {
    struct Case {
        const char* family;
        const char* mount;
        std::optional<GPSOEMTYPE> type;
    };

    for (const Case& c : {Case{"nmea", "VRS", std::nullopt}, Case{"oem4", "SIM", OEM_NOVATEL},
                          Case{"maker", "VRS", OEM_VAREK_TRIMBLE_15}}) {
        SCOPED_TRACE(c.family);
        const auto caster = makeCaster(withPassword());
        Rover rover(c.family);
        CasterRelayOptions options;
        options.receiver = c.type;
        rover.waitFor(kSingle, nullptr);
        {
            CasterRelay relay(urlOf(*caster, c.mount), rover.port(), options);
            ASSERT_TRUE(relay.start());
            rover.waitFor(kFloat, &relay);
            rover.waitFor(kFixed, &relay);
            EXPECT_EQ(relay.status().relay.droppedBlocks, 0u);
            EXPECT_GT(caster->totals().positions, 0u);
        }
        rover.waitFor(kSingle, nullptr);
    }
}

TEST(ClosedLoop, TheWrongRoadLeadsNowhere) {
    const auto caster = makeCaster(withPassword());
    Rover rover("maker");
    CasterRelay relay(urlOf(*caster, "SIM"), rover.port(), {});
    ASSERT_TRUE(relay.start());
    while (rover.simulator().totals().bytesReceived < 100)
        systemClock().sleep(5ms);
    int left = 20;
    rover.follow(&relay, [&left](int quality) {
        EXPECT_EQ(quality, kSingle);
        return --left == 0;
    });
}

// The caster goes away in the middle of every stream, and comes back on the same port in the end.
TEST(ClosedLoop, EveryByteOfEveryConnectionArrives) {
    std::string bytes;
    for (int i = 0; i < 500; ++i)
        bytes += static_cast<char>(i * 7);
    sim::CasterOptions options = withPassword();
    options.file = std::make_shared<const std::string>(bytes);
    options.bytesPerSecond = 0.0;
    options.closeAfter = 123;
    auto caster = makeCaster(options);
    const CasterUrl url = urlOf(*caster, "SIM");
    Rover rover("nmea");
    CasterRelayOptions relaying;
    relaying.caster.firstPause = relaying.caster.lastPause = 20ms;
    CasterRelay relay(url, rover.port(), relaying);
    ASSERT_TRUE(relay.start());
    const auto arrived = [&] { return rover.simulator().totals().bytesReceived; };
    while (arrived() < 3 * 123)
        systemClock().sleep(5ms);
    caster.reset();
    options.closeAfter.reset();
    options.stallAfter = 400;
    caster = makeCaster(options, static_cast<std::uint16_t>(url.port));
    while (caster->totals().bytes < 400 || arrived() < relay.status().caster.bytes ||
           arrived() % 123 != 400 % 123)
        systemClock().sleep(5ms);
    relay.stop();
    const CasterRelayStatus status = relay.status();
    EXPECT_EQ(status.relay.sentBytes, arrived());
    EXPECT_EQ(status.caster.bytes, arrived()) << "no piece of a stream is lost";
    EXPECT_GE(status.caster.failures, status.caster.streams - 1);
}

TEST(ClosedLoop, WhatACasterRefusesIsToldAndOver) {
    struct Case {
        const char* mount;
        const char* password;
        const char* text;
    };

    const auto caster = makeCaster(withPassword());
    Rover rover("nmea");
    for (const Case& c : {Case{"SIM", "wrong", "401"}, Case{"NONE", "pass", "404"}}) {
        CasterUrl url = urlOf(*caster, c.mount);
        url.password = c.password;
        CasterRelay relay(url, rover.port(), {});
        ASSERT_TRUE(relay.start());
        while (!relay.isOver())
            systemClock().sleep(5ms);
        relay.stop();
        const auto events = relay.takeEvents();
        ASSERT_FALSE(events.empty());
        EXPECT_EQ(events.back().notice, NtripNotice::kGivenUp);
        EXPECT_THAT(events.back().text, testing::HasSubstr(c.text));
        EXPECT_THAT(events.back().text, testing::Not(testing::HasSubstr(c.password)));
    }
    EXPECT_EQ(rover.simulator().totals().bytesReceived, 0u);
}

}  // namespace
}  // namespace vkcomm
