#include "host/ntrip_dialogue.h"

#include <algorithm>
#include <array>

#include "host/shown_text.h"
#include "host/source_table.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

using namespace std::chrono_literals;

namespace {

constexpr auto kFarAway = std::chrono::milliseconds::max();
// A stream that pauses within a message for this long is passed on as it is.
constexpr auto kFlushAfter = 1000ms;
// How soon a receiver without a fix is asked again for its position.
constexpr auto kPositionPause = 500ms;
// A source table that comes slowly may take this many times as long as a reply.
constexpr int kTableReplies = 10;
// A caster that does not understand one version is asked in the other after this part of a pause.
constexpr int kOtherVersionSooner = 4;
constexpr std::size_t kMostMountsShown = 5;
constexpr std::size_t kMostNameShown = 40;
constexpr std::size_t kMostWordsShown = 300;
constexpr std::string_view kLastLine = "ENDSOURCETABLE";

constexpr std::array<std::string_view, 7> kStateNames = {
    "idle", "connecting", "asked", "streaming", "source-table", "pausing", "over",
};

struct FailureRow {
    std::string_view name;
    bool isFinal;  // asking again does not help
    std::string_view text;
};

constexpr std::array<FailureRow, 15> kFailures = {{
    {"none", false, ""},
    {"no-host", false, "the caster's name does not resolve to an IPv4 address"},
    {"no-connection", false, "no connection to the caster"},
    {"no-reply", false, "the caster does not answer the request"},
    {"closed-early", false, "the caster closed before it had answered"},
    {"malformed", true, "this is no caster's answer"},
    {"unauthorized", true, "the caster does not accept this user and password"},
    {"not-found", true, "the caster does not know the mount point"},
    {"unknown-mount", true, "the caster does not know the mount point"},
    {"redirected", true, "the caster has moved; use its new address"},
    {"refused", false, "the caster refuses"},
    {"bad-chunk", false, "the caster's stream is damaged"},
    {"stream-ended", false, "the caster has closed the stream"},
    {"stream-broken", false, "the connection has broken"},
    {"silent", false, "the caster sends nothing any more"},
}};

const FailureRow& rowOf(NtripFailure failure) { return kFailures[static_cast<std::size_t>(failure)]; }

struct ReplyFailure {
    NtripOutcome outcome;
    NtripFailure failure;
};

constexpr ReplyFailure kReplyFailures[] = {
    {NtripOutcome::kUnauthorized, NtripFailure::kUnauthorized},
    {NtripOutcome::kNotFound, NtripFailure::kNotFound},
    {NtripOutcome::kRedirected, NtripFailure::kRedirected},
    {NtripOutcome::kRefused, NtripFailure::kRefused},
    {NtripOutcome::kMalformed, NtripFailure::kMalformed},
};

// What a server answers to a version of the protocol that it does not speak.
constexpr long kNotUnderstood[] = {400, 405, 406, 426, 501, 505};

bool isNotUnderstood(std::string_view statusLine) {
    const long status = parseInteger(statusLine.substr(std::min(statusLine.find(' '), statusLine.size())));
    return std::ranges::find(kNotUnderstood, status) != std::end(kNotUnderstood);
}

std::size_t commonStart(std::string_view one, std::string_view other) {
    const auto isSame = [](char a, char b) { return (a | 0x20) == (b | 0x20); };
    return static_cast<std::size_t>(std::ranges::mismatch(one, other, isSame).in1 - one.begin());
}

// Those in the table that begin most like the one that was asked for.
std::string similarMounts(const std::string& table, const std::string& mount) {
    std::vector<SourceEntry> streams = parseSourceTable(table).streams;
    std::ranges::stable_sort(streams, std::ranges::greater{},
                             [&mount](const SourceEntry& each) { return commonStart(each.mount, mount); });
    std::string text;
    for (std::size_t i = 0; i < std::min(streams.size(), kMostMountsShown); ++i)
        text += (i > 0 ? ", " : "it offers ") + shownText(streams[i].mount, kMostNameShown);
    if (streams.size() > kMostMountsShown)
        text += " and " + std::to_string(streams.size() - kMostMountsShown) + " others";
    return text;
}

// Where the last line of the table begins, at from or behind it.
std::size_t lastLine(const std::string& table, std::size_t from) {
    std::size_t at = table.find(kLastLine, from);
    while (at != table.npos && at > 0 && table[at - 1] != '\n')
        at = table.find(kLastLine, at + 1);
    return at;
}

// Words from outside as people may see them.
std::string wordsOf(const CasterUrl& caster, std::string_view words) {
    return shownText(caster.withoutPassword(std::string(words)), kMostWordsShown);
}

std::string secondsText(std::chrono::milliseconds time) {
    std::string text;
    appendFixed(text, static_cast<double>(time.count()) / 1000.0, 1);
    return text + " s";
}

}  // namespace

std::string_view stateName(NtripState state) { return kStateNames[static_cast<std::size_t>(state)]; }

std::string_view failureName(NtripFailure failure) { return rowOf(failure).name; }

NtripDialogue::NtripDialogue(const CasterUrl& caster, const NtripOptions& options)
    : m_caster(caster), m_options(options),
      m_random(options.seed != 0 ? options.seed : std::random_device()()),
      m_version(options.version.value_or(NtripVersion::k2)), m_versionSure(options.version.has_value()),
      m_pause(options.firstPause) {}

// --- what happens ------------------------------------------------------------------------------------------

void NtripDialogue::start(Milliseconds now) {
    if (m_state == NtripState::kIdle || m_state == NtripState::kOver) connect(now);
}

void NtripDialogue::connect(Milliseconds now) {
    m_reply = {};
    m_table.clear();
    m_hasBytes = m_sentPosition = m_hinted = false;
    enter(NtripState::kConnecting, now);
    m_output.steps.push_back({NtripStep::Kind::kConnect});
    tell(NtripNotice::kConnecting, "connecting to " + m_caster.shown());
}

void NtripDialogue::connected(Milliseconds now, const Position& position) {
    if (m_state != NtripState::kConnecting) return;
    const bool mayTell = m_version == NtripVersion::k2 && m_options.ggaEvery > 0ms && !wantsTable();
    const std::string gga = mayTell ? position() : "";
    m_sentPosition = !gga.empty();
    enter(NtripState::kAsked, now);
    m_output.steps.push_back({NtripStep::Kind::kSend, ntripRequest(m_caster, m_version, gga)});
}

void NtripDialogue::received(std::string_view bytes, Milliseconds now) {
    if (m_state != NtripState::kAsked && m_state != NtripState::kStreaming && m_state != NtripState::kTable)
        return;
    if (m_state != NtripState::kStreaming) m_quietSince = now;
    std::string body;
    m_reply.feed(bytes, body);
    if (m_state == NtripState::kAsked) judgeReply(now);
    if (m_state == NtripState::kStreaming) takeStream(body, now);
    if (m_state == NtripState::kTable) takeTable(body, now);
    if (m_state != NtripState::kStreaming && m_state != NtripState::kTable) return;
    if (m_reply.outcome() == NtripOutcome::kMalformed)
        return fail(NtripFailure::kBadChunk, m_reply.text(), now);
    if (m_reply.ended()) closed(now);
}

void NtripDialogue::judgeReply(Milliseconds now) {
    const NtripOutcome outcome = m_reply.headOutcome();
    if (outcome == NtripOutcome::kWaiting) return;
    const auto* failure = std::ranges::find(kReplyFailures, outcome, &ReplyFailure::outcome);
    if (failure != std::end(kReplyFailures)) return fail(failure->failure, m_reply.text(), now);
    m_versionSure = true;
    // Some casters announce their table as any other document.
    if (outcome == NtripOutcome::kSourceTable || wantsTable()) return enter(NtripState::kTable, now);
    enter(NtripState::kStreaming, now);
    m_nextPosition = now;
    tell(NtripNotice::kAccepted, m_caster.shown() + ": " + wordsOf(m_caster, m_reply.text()));
}

void NtripDialogue::takeStream(std::string_view body, Milliseconds now) {
    if (body.empty()) return;
    m_quietSince = now;
    if (!m_hasBytes) {
        m_hasBytes = m_streamsBefore = true;
        m_since = now;
        ++m_totals.streams;
        tell(NtripNotice::kStreaming, m_caster.shown() + ": corrections come");
    }
    if (now - m_since >= m_options.steadyAfter) m_pause = m_options.firstPause;
    m_totals.bytes += body.size();
    m_totals.lastAt = now;
    m_scanner.feed(body, m_output.blocks);
    m_holds = true;
}

void NtripDialogue::takeTable(std::string_view body, Milliseconds now) {
    const std::size_t lookFrom = m_table.size() - std::min(m_table.size(), kLastLine.size());
    m_table += body;
    if (const std::size_t last = lastLine(m_table, lookFrom); last != m_table.npos) {
        m_table.resize(last + kLastLine.size());
        return endTable(now);
    }
    if (m_table.size() > kLongestTable) fail(NtripFailure::kMalformed, "the source table does not end", now);
}

void NtripDialogue::endTable(Milliseconds now) {
    if (!wantsTable()) return fail(NtripFailure::kUnknownMount, similarMounts(m_table, m_caster.mount), now);
    if (m_table.empty()) return fail(NtripFailure::kClosedEarly, "no source table came", now);
    hangUp();
    enter(NtripState::kOver, now);
    tell(NtripNotice::kTable, m_caster.shown() + ": the source table is there");
}

void NtripDialogue::closed(Milliseconds now) {
    switch (m_state) {
    case NtripState::kConnecting: return fail(NtripFailure::kNoConnection, "", now);
    case NtripState::kAsked: return fail(NtripFailure::kClosedEarly, "", now);
    case NtripState::kStreaming: return fail(NtripFailure::kStreamEnded, "", now);
    case NtripState::kTable: return endTable(now);
    default: return;
    }
}

void NtripDialogue::failed(NtripFailure failure, std::string_view words, Milliseconds now) {
    const bool isActive =
        m_state != NtripState::kIdle && m_state != NtripState::kPausing && m_state != NtripState::kOver;
    const bool isEarly = failure == NtripFailure::kStreamBroken && m_state == NtripState::kAsked;
    if (isActive) fail(isEarly ? NtripFailure::kClosedEarly : failure, words, now);
}

void NtripDialogue::stop() {
    hangUp();
    enter(NtripState::kOver, {});
}

// --- time --------------------------------------------------------------------------------------------------

std::optional<NtripDialogue::Milliseconds> NtripDialogue::dueAt() const {
    switch (m_state) {
    case NtripState::kConnecting: return m_since + m_options.connectTime;
    case NtripState::kAsked: return m_since + m_options.replyTime;
    case NtripState::kTable:
        return std::min(m_quietSince + m_options.replyTime, m_since + kTableReplies * m_options.replyTime);
    case NtripState::kPausing: return m_resumeAt;
    case NtripState::kStreaming:
        return std::min({m_quietSince + m_options.silence, m_holds ? m_quietSince + kFlushAfter : kFarAway,
                         m_options.ggaEvery > 0ms ? m_nextPosition : kFarAway,
                         m_hasBytes || m_hinted ? kFarAway : m_since + m_options.hintAfter});
    default: return std::nullopt;
    }
}

void NtripDialogue::passTime(Milliseconds now, const Position& position) {
    const auto due = dueAt();
    if (!due || now < *due) return;
    switch (m_state) {
    case NtripState::kConnecting:
        return fail(NtripFailure::kNoConnection, "not within " + secondsText(m_options.connectTime), now);
    case NtripState::kAsked:
        return fail(NtripFailure::kNoReply, "not within " + secondsText(m_options.replyTime), now);
    case NtripState::kTable: return endTable(now);
    case NtripState::kPausing: return connect(now);
    default: break;
    }
    if (now - m_quietSince >= m_options.silence)
        return fail(NtripFailure::kSilent, "for " + secondsText(m_options.silence), now);
    if (m_holds && now - m_quietSince >= kFlushAfter) {
        m_scanner.flush(m_output.blocks);
        m_holds = false;
    }
    if (m_options.ggaEvery > 0ms && now >= m_nextPosition) sendPosition(now, position);
    if (m_hasBytes || m_hinted || now - m_since < m_options.hintAfter) return;
    m_hinted = true;
    if (!m_sentPosition)
        tell(NtripNotice::kWantsPosition,
             m_caster.shown() + ": nothing comes; this mount point may want a position, and none was sent "
                                "(it is sent once the receiver has a fix)");
}

void NtripDialogue::sendPosition(Milliseconds now, const Position& position) {
    const std::string gga = position();
    m_nextPosition = now + (gga.empty() ? kPositionPause : m_options.ggaEvery);
    if (gga.empty()) return;
    m_output.steps.push_back({NtripStep::Kind::kSend, gga});
    m_sentPosition = true;
    ++m_totals.positions;
}

// --- failing and trying again ------------------------------------------------------------------------------

void NtripDialogue::fail(NtripFailure failure, std::string_view words, Milliseconds now) {
    hangUp();
    ++m_totals.failures;
    NtripEvent event;
    event.failure = failure;
    event.text = m_caster.shown() + ": " + std::string(rowOf(failure).text);
    if (!words.empty()) event.text += " (" + wordsOf(m_caster, words) + ")";
    if (failure == NtripFailure::kUnauthorized && m_caster.password.empty())
        event.text += "; no password was given";
    const bool isSoon = tryOtherVersion(failure);
    if (!isSoon && isFinal(failure)) {
        event.notice = NtripNotice::kGivenUp;
        enter(NtripState::kOver, now);
    } else {
        event.notice = NtripNotice::kFailed;
        event.pause = isSoon ? uneven(m_options.firstPause / kOtherVersionSooner) : nextPause();
        event.text += "; trying again in " + secondsText(event.pause);
        m_resumeAt = now + event.pause;
        enter(NtripState::kPausing, now);
    }
    m_output.events.push_back(std::move(event));
}

// A mount point that has brought corrections may do so again, whatever the caster says while its base is away.
bool NtripDialogue::isFinal(NtripFailure failure) const {
    return !m_options.keepTrying && !m_streamsBefore && (wantsTable() || rowOf(failure).isFinal);
}

// True when the next try speaks, for the first time, a version that may do better; later tries are not sooner than others.
bool NtripDialogue::tryOtherVersion(NtripFailure failure) {
    const bool mayBeVersion = failure == NtripFailure::kNoReply || failure == NtripFailure::kClosedEarly ||
                              failure == NtripFailure::kMalformed ||
                              (failure == NtripFailure::kRefused && isNotUnderstood(m_reply.text()));
    if (m_versionSure || !mayBeVersion) return false;
    m_version = m_version == NtripVersion::k2 ? NtripVersion::k1 : NtripVersion::k2;
    m_versionsTried = std::min(m_versionsTried + 1, 3U);
    return m_versionsTried == 2;
}

NtripDialogue::Milliseconds NtripDialogue::nextPause() {
    const Milliseconds pause = uneven(m_pause);
    m_pause = std::min(2 * m_pause, m_options.lastPause);
    return pause;
}

NtripDialogue::Milliseconds NtripDialogue::uneven(Milliseconds pause) {
    const auto quarter = pause.count() / 4;
    std::uniform_int_distribution<long long> unevenness(-quarter, quarter);
    return Milliseconds(pause.count() + unevenness(m_random));
}

void NtripDialogue::enter(NtripState state, Milliseconds now) {
    m_state = state;
    m_since = m_quietSince = now;
}

void NtripDialogue::hangUp() {
    if (m_state == NtripState::kIdle || m_state == NtripState::kPausing || m_state == NtripState::kOver)
        return;
    m_scanner.flush(m_output.blocks);
    m_holds = false;
    m_output.steps.push_back({NtripStep::Kind::kDisconnect});
}

void NtripDialogue::tell(NtripNotice notice, std::string text) {
    m_output.events.push_back({notice, NtripFailure::kNone, {}, std::move(text)});
}

}  // namespace vkcomm
