// What a live receiver is doing, as a screen, a line for people or a JSON object.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "host/rate_meter.h"
#include "host/receiver_session.h"

namespace vkcomm {

// Counts what comes and remembers the last events. One thread at a time.
class LiveReport {
public:
    explicit LiveReport(std::chrono::milliseconds now) : m_start(now) {}

    void count(const RoutedRecord& record, std::chrono::milliseconds now);
    void note(const SessionEvent& event);

    // A screen of text lines: address and state, time, position, quality, DOPs, sigmas, satellites with bars, rates
    // of the messages, bytes and errors.
    std::string screen(ReceiverSession& session, std::chrono::milliseconds now) const;
    // One line with the most important of it.
    std::string line(ReceiverSession& session) const;
    // Everything as one JSON object and a line end.
    std::string json(ReceiverSession& session, std::chrono::milliseconds now) const;

    std::uint64_t records() const { return m_records; }

    std::uint64_t positions() const { return m_positions; }

    // Once a position was counted.
    void countPosition() { ++m_positions; }

private:
    const std::chrono::milliseconds m_start;
    std::map<MessageKind, RateMeter> m_messages;
    std::uint64_t m_records = 0;
    std::uint64_t m_positions = 0;
    std::uint64_t m_losses = 0;
    std::string m_lastEvent;
};

// "RTK fixed" and its like, for the quality of a GGA sentence.
std::string_view qualityText(int quality);

}  // namespace vkcomm
