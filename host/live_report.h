// What a live receiver is doing, as a screen, a line for people or a JSON object.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
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
    // of the messages, bytes and errors. From three seconds on it says how old position and last record are.
    std::string screen(ReceiverSession& session, std::chrono::milliseconds now) const;
    // One line with the most important of it.
    std::string line(ReceiverSession& session) const;
    // Everything as one JSON object and a line end; "position_age_s" and "record_age_s" count from the last position
    // and the last record.
    std::string json(ReceiverSession& session, std::chrono::milliseconds now) const;

    std::uint64_t records() const { return m_records; }

    std::uint64_t positions() const { return m_positions; }

    // The record just counted brought a position, or the word that there is none.
    void countPosition(std::chrono::milliseconds now) {
        ++m_positions;
        m_lastPosition = now;
    }

private:
    using Time = std::optional<std::chrono::milliseconds>;

    const std::chrono::milliseconds m_start;
    Time m_lastRecord;
    Time m_lastPosition;
    std::map<MessageKind, RateMeter> m_messages;
    std::uint64_t m_records = 0;
    std::uint64_t m_positions = 0;
    std::uint64_t m_losses = 0;
    std::string m_lastEvent;
};

// "RTK fixed" and its like, for the quality of a GGA sentence.
std::string_view qualityText(int quality);

}  // namespace vkcomm
