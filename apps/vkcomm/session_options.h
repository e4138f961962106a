// Options that all verbs on live receivers have.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "apps/vkcomm/commands.h"
#include "host/receiver_session.h"
#include "sim/live_simulator.h"

namespace CLI {
class App;
}

namespace vkcomm {

struct SessionChoice {
    std::string url;
    std::string family;
    bool noReopen = false;
    std::string leadTimeout = "2s";
    std::string runFor;           // empty: until stopped
    bool simulatesRover = false;  // a simulated receiver's fix follows from the corrections it gets
};

void addSessionOptions(CLI::App& verb, SessionChoice& choice);

// "10s", "500ms", "2m", "1h"; a bare number counts seconds. Nothing for any other text.
std::optional<std::chrono::milliseconds> parseDuration(std::string_view text);

// What is wrong with such a value of an option; empty when nothing is.
std::string checkDuration(const std::string& text);

// A session, and the simulated receiver at its other end where its address asks for one.
struct OpenedSession {
    std::unique_ptr<sim::LiveSimulator> simulator;
    std::unique_ptr<ReceiverSession> session;
    int status = kDone;  // what the verb ends with when there is no session

    explicit operator bool() const { return session != nullptr; }

    ReceiverSession& operator*() const { return *session; }

    ReceiverSession* operator->() const { return session.get(); }
};

// What is chosen, open; nothing after complaining. Devices, if not null, must outlive it.
OpenedSession openSession(const SessionChoice& choice, CommDevices* devices = nullptr);

// Pumps until the end, the stop signal or the chosen time. False when the session ended because its device was lost.
bool pumpSession(ReceiverSession& session, const SessionChoice& choice, const SessionSteps& steps,
                 const std::function<void(std::chrono::milliseconds now)>& each);

}  // namespace vkcomm
