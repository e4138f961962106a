// The bytes of a live port turned into routed records, as they come.
//
// What vkcomm decode makes of a recording this makes of the same bytes from a port: the family is recognised
// from the first records unless it is given, and a line is not taken for ended at a CR while its LF may be on the way.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

#include "host/decode_stream.h"
#include "host/receiver_family.h"
#include "host/record_router.h"
#include "host/rtcm3_scanner.h"
#include "host/stream_census.h"

namespace vkcomm {

struct LiveChoice {
    const ReceiverFamily* family = nullptr;  // null: recognised
    std::optional<std::uint32_t> mask;       // instead of the family's
    // A lead byte whose frame stays incomplete for this long, without a record meanwhile, is given up: it was
    // none. The time the line needs for the bytes that have come since does not count. 0: never.
    std::chrono::milliseconds staleLead{2000};
};

// One thread at a time.
class LiveStream {
public:
    LiveStream(const LiveChoice& choice, Clock& clock);

    void feed(ByteSpan bytes);

    // Bits per second of the line, ten for a byte; nothing: fast.
    void setRate(std::optional<unsigned int> rate) { m_rate = rate; }

    // Call when nothing has come for a moment (some tens of milliseconds): a line that ends in a CR has ended.
    void pause() { m_paused = true; }

    // Call every second or more often, before next.
    void watch();

    // The next record, valid until the next call of this object; nothing when more bytes are needed.
    std::optional<RoutedRecord> next();
    // next when no more bytes will come.
    std::optional<RoutedRecord> nextAtEnd();

    // While on, bytes of no known family are dropped instead of being decoded as well as can be: the rate may
    // be wrong.
    void setDoubtful(bool on) { m_doubtful = on; }

    // Drops what is held and recognises anew what comes; counters go on.
    void restart();

    // True once records have come that a wrong rate cannot make.
    bool isProven() const { return m_proven; }

    // True once the family is known: a little later, as receivers of every family may send sentences first.
    bool isRecognised() const { return m_recognised; }

    // True when bytes keep coming of which nothing is understood, no checked record, answer or correction (RTCM 3),
    // as after a change of the rate at the other end. Silence alone is not strange, nor what a receiver says at its start.
    bool isStrange() const { return m_isStrange; }

    // Given or recognised; null while neither. A receiver that sends sentences first is "nmea" until it sends its own.
    const ReceiverFamily* family() const { return m_family; }

    const RecordRouter& router() const { return m_router; }

    std::uint64_t leadsGivenUp() const { return m_leadsGivenUp; }

    DecoderCounters counters() const;

private:
    void look();
    bool isSure(const StreamCensus& census) const;
    void begin(const StreamCensus& census);
    bool mayBeAnother() const;
    void lookAgain(ByteSpan bytes);
    void take(const ReceiverFamily& family);
    std::uint32_t mask() const;
    void makeReader();
    void dropReader();
    bool feedReader();
    std::optional<RoutedRecord> routed(const std::optional<RecordView>& record);
    std::optional<RoutedRecord> chosen(const std::optional<RoutedRecord>& routed);
    void watchUnderstanding(ByteSpan bytes);
    void understand();
    bool bringsCorrections(ByteSpan bytes);
    void watchLead();
    std::chrono::milliseconds lineTime(std::size_t bytes) const;
    bool giveUpStaleLead();

    const LiveChoice m_choice;
    Clock& m_clock;
    UnhurriedClock m_unhurried;
    CNOut m_decoder;
    std::unique_ptr<RecordReader> m_reader;  // null while looking
    RecordRouter m_router;
    const ReceiverFamily* m_family;
    std::vector<unsigned char> m_pending;  // not decoded yet
    std::vector<unsigned char> m_looked;   // the last bytes of a stream that may be of another family
    std::uint64_t m_othersAtLook = 0;      // bytes that were in no record then
    std::optional<unsigned int> m_rate;
    std::optional<std::chrono::milliseconds> m_lookingSince;
    std::chrono::milliseconds m_lastLook{};
    std::size_t m_lookedAt = 0;  // bytes that were pending then
    std::optional<std::chrono::milliseconds> m_leadSince;
    std::size_t m_fedSinceLead = 0;  // bytes
    bool m_leadIsStale = false;
    std::size_t m_strangeBytes = 0;   // since the last thing that was understood
    std::size_t m_strangeInTime = 0;  // of these, those from before it has taken long
    std::chrono::milliseconds m_strangeSince{};
    bool m_isStrange = false;
    Rtcm3Scanner m_corrections;
    bool m_proven = false;
    bool m_recognised = false;
    bool m_doubtful = false;
    bool m_paused = false;
    std::uint64_t m_leadsGivenUp = 0;
    std::uint64_t m_droppedLooking = 0;
    DecoderCounters m_before;  // of readers that restart has ended
};

}  // namespace vkcomm
