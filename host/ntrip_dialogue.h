// What an NTRIP client says and when: the whole course of getting corrections from a caster, without a socket.
//
// It is told what happens on the connection and how late it is, and tells what to do on it, which corrections came
// and what there is to report. It connects again when a connection fails or a stream ends, after a pause that grows
// and is never quite the same, because casters ban clients that hammer.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/caster_url.h"
#include "host/ntrip_reply.h"
#include "host/rtcm3_scanner.h"

namespace vkcomm {

struct NtripOptions {
    using Milliseconds = std::chrono::milliseconds;

    // Absent: asks as version 2 first, and as version 1 when that gets no sensible answer.
    std::optional<NtripVersion> version;
    Milliseconds ggaEvery{10'000};     // 0: no position is ever sent
    Milliseconds connectTime{15'000};  // for the name and the connection
    Milliseconds replyTime{15'000};    // for the head of the reply; for the next piece of a source table
    Milliseconds silence{60'000};      // a stream that brings nothing for this long is dead
    Milliseconds hintAfter{10'000};    // a new stream that brings nothing for this long may want a position
    Milliseconds firstPause{2'000};    // before the next try; doubled each time, give or take a quarter
    Milliseconds lastPause{60'000};
    Milliseconds steadyAfter{10'000};  // corrections for this long let the pauses begin anew
    // Ask again also when the caster has said that it will not serve this request.
    bool keepTrying = false;
    std::uint32_t seed = 0;  // of the pauses; 0: any
};

enum class NtripState : std::uint8_t {
    kIdle,
    kConnecting,
    kAsked,      // the head of the reply is awaited
    kStreaming,  // corrections come, or are awaited
    kTable,      // a source table comes
    kPausing,    // until the next try
    kOver,
};

// A short lower-case name, such as "streaming".
std::string_view stateName(NtripState state);

enum class NtripFailure : std::uint8_t {
    kNone,
    kNoHost,        // the name does not resolve to an IPv4 address
    kNoConnection,  // refused, unreachable or too slow
    kNoReply,       // connected, but no whole reply in time
    kClosedEarly,   // closed before the reply was whole
    kMalformed,     // not a caster's reply, or one without end
    kUnauthorized,
    kNotFound,
    kUnknownMount,  // the source table came instead of a stream
    kRedirected,
    kRefused,  // any other refusal
    kBadChunk,
    kStreamEnded,
    kStreamBroken,
    kSilent,
};

// A short lower-case name, such as "unauthorized".
std::string_view failureName(NtripFailure failure);

enum class NtripNotice : std::uint8_t {
    kConnecting,
    kAccepted,       // the caster serves the mount point
    kStreaming,      // the first corrections of a connection
    kWantsPosition,  // nothing comes and no position was sent
    kFailed,         // the next try comes after the pause
    kTable,          // the source table that was asked for is there
    kGivenUp,        // trying again would not help
};

struct NtripEvent {
    NtripNotice notice{};
    NtripFailure failure = NtripFailure::kNone;
    std::chrono::milliseconds pause{};  // until the next try, for kFailed
    std::string text;                   // for people; never holds a password
};

struct NtripTotals {
    std::uint64_t bytes = 0;    // of corrections
    std::uint64_t streams = 0;  // connections that brought some
    std::uint64_t failures = 0;
    std::uint64_t positions = 0;                      // sent up
    std::optional<std::chrono::milliseconds> lastAt;  // when corrections came last
};

// What is to be done with the connection.
struct NtripStep {
    enum class Kind : std::uint8_t { kConnect, kSend, kDisconnect } kind{};

    std::string bytes{};
};

struct NtripOutput {
    std::vector<NtripStep> steps;
    std::vector<CorrectionBlock> blocks;
    std::vector<NtripEvent> events;
};

// One thread at a time. Times are those of one clock that never goes back.
class NtripDialogue {
public:
    using Milliseconds = std::chrono::milliseconds;
    // A GGA sentence of where the receiver is; empty while it has no fix.
    using Position = std::function<std::string()>;

    // A longer source table is malformed.
    static constexpr std::size_t kLongestTable = std::size_t{4} << 20;

    // An empty mount point asks for the source table, once.
    NtripDialogue(const CasterUrl& caster, const NtripOptions& options);

    // --- What happens
    void start(Milliseconds now);
    void connected(Milliseconds now, const Position& position);
    void received(std::string_view bytes, Milliseconds now);
    // The peer has closed.
    void closed(Milliseconds now);
    // The connection could not be made or has broken; the words are the system's.
    void failed(NtripFailure failure, std::string_view words, Milliseconds now);
    // To be called at dueAt or before, again and again.
    void passTime(Milliseconds now, const Position& position);

    // The reader held bytes back on purpose: they are no silence.
    void heldBack(Milliseconds now) { m_quietSince = now; }

    void stop();

    // --- What comes of it; each output is given once.
    NtripOutput takeOutput() { return std::exchange(m_output, {}); }

    // Nothing: no need before something happens.
    std::optional<Milliseconds> dueAt() const;

    NtripState state() const { return m_state; }

    const CasterUrl& caster() const { return m_caster; }

    const NtripTotals& totals() const { return m_totals; }

    // Messages in the corrections.
    const Rtcm3Scanner& scanner() const { return m_scanner; }

    // As much of the source table as has come.
    const std::string& table() const { return m_table; }

private:
    void connect(Milliseconds now);
    void judgeReply(Milliseconds now);
    void takeStream(std::string_view body, Milliseconds now);
    void takeTable(std::string_view body, Milliseconds now);
    void endTable(Milliseconds now);
    void sendPosition(Milliseconds now, const Position& position);
    void fail(NtripFailure failure, std::string_view words, Milliseconds now);
    bool isFinal(NtripFailure failure) const;
    bool tryOtherVersion(NtripFailure failure);
    Milliseconds nextPause();
    Milliseconds uneven(Milliseconds pause);
    void enter(NtripState state, Milliseconds now);
    void hangUp();
    void tell(NtripNotice notice, std::string text);

    bool wantsTable() const { return m_caster.mount.empty(); }

    const CasterUrl m_caster;
    const NtripOptions m_options;
    std::minstd_rand m_random;
    NtripState m_state = NtripState::kIdle;
    NtripVersion m_version;
    bool m_versionSure;
    unsigned int m_versionsTried = 1;  // in vain; no more than 3 are counted
    NtripReply m_reply;
    Rtcm3Scanner m_scanner;
    std::string m_table;
    bool m_streamsBefore = false;  // this mount point has brought corrections
    bool m_hasBytes = false;       // and so has this connection
    bool m_sentPosition = false;
    bool m_hinted = false;
    bool m_holds = false;         // the scanner may hold the beginning of a message
    Milliseconds m_since{};       // in this state
    Milliseconds m_quietSince{};  // nothing was received since
    Milliseconds m_nextPosition{};
    Milliseconds m_pause{};  // of the next failure, before it is made uneven
    Milliseconds m_resumeAt{};
    NtripTotals m_totals;
    NtripOutput m_output;
};

}  // namespace vkcomm
