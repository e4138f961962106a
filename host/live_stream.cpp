#include "host/live_stream.h"

#include <algorithm>

namespace vkcomm {

using namespace std::chrono_literals;

namespace {

// So much, or so long, is looked at before bytes of no known family are decoded all the same.
constexpr std::size_t kMostLooked = 8192;
constexpr auto kLongestLook = 3000ms;
constexpr std::size_t kEnoughSentences = 2048;
constexpr auto kEnoughTime = 1500ms;
constexpr auto kBetweenLooks = 100ms;  // where nothing else asks for one
constexpr std::size_t kLookedAgain = 4096;
constexpr std::size_t kLongestFrame = 8192;

// "all" is no family but a mask; the family is guessed beside it.
LiveChoice withoutAll(LiveChoice choice) {
    if (!choice.family || choice.family->name != "all") return choice;
    if (!choice.mask) choice.mask = choice.family->decodeMask;
    choice.family = nullptr;
    return choice;
}

DecoderCounters sum(DecoderCounters left, const DecoderCounters& right) {
    left.received += right.received;
    left.dropped += right.dropped;
    left.unknownSentences += right.unknownSentences;
    for (std::size_t type = 0; type < kLogTypeCount; ++type) {
        left.records[type] += right.records[type];
        left.rejected[type] += right.rejected[type];
    }
    return left;
}

}  // namespace

LiveStream::LiveStream(const LiveChoice& choice, Clock& clock)
    : m_choice(withoutAll(choice)), m_clock(clock), m_family(m_choice.family) {
    m_decoder.vSetClock(m_unhurried);
}

void LiveStream::feed(ByteSpan bytes) {
    if (bytes.empty()) return;
    m_paused = false;
    m_fedSinceLead += bytes.size();
    m_pending.insert(m_pending.end(), bytes.begin(), bytes.end());
    if (!m_reader && m_pending.size() > m_lookedAt + m_lookedAt / 8)
        look();
    else if (m_reader && !m_family)
        lookAgain(bytes);
}

void LiveStream::watch() {
    if (!m_reader && !m_pending.empty() && m_clock.now() - m_lastLook >= kBetweenLooks) look();
    if (m_reader) watchLead();
}

// The beginning of a stream is looked at again as it grows, until it is recognised.
void LiveStream::look() {
    m_lastLook = m_clock.now();
    if (!m_lookingSince) m_lookingSince = m_lastLook;
    m_lookedAt = m_pending.size();
    const StreamCensus census(m_pending);
    m_proven = census.isProof();
    m_recognised = isSure(census);
    if (m_recognised) return begin(census);
    if (m_doubtful) {
        if (m_pending.size() < kMostLooked) return;
        const std::size_t half = m_pending.size() / 2;
        m_droppedLooking += half;
        m_pending.erase(m_pending.begin(), m_pending.begin() + static_cast<std::ptrdiff_t>(half));
        m_lookedAt = m_pending.size();
    } else if (m_pending.size() >= kMostLooked || m_clock.now() - *m_lookingSince >= kLongestLook) {
        begin(census);
    }
}

bool LiveStream::isSure(const StreamCensus& census) const {
    if (m_choice.family && !StreamCensus::canTell(*m_choice.family)) return true;
    if (!census.guess() || (m_doubtful && !census.isProof())) return false;
    // Receivers of every family may send sentences too, and send them first.
    return census.guess()->name != "nmea" || m_choice.family || m_pending.size() >= kEnoughSentences ||
           m_clock.now() - *m_lookingSince >= kEnoughTime;
}

void LiveStream::begin(const StreamCensus& census) {
    if (!m_choice.family) m_family = census.guess();
    makeReader();
}

void LiveStream::makeReader() {
    m_decoder.vSetDecodeMask(m_choice.mask     ? *m_choice.mask
                             : m_choice.family ? m_choice.family->decodeMask
                                               : guessedMask(m_family));
    const bool isJavad = m_family && m_family->name == "javad";
    m_reader = isJavad ? makeJavadReader(m_decoder) : makeFrameReader(m_decoder);
}

// A receiver may send something else first, such as the texts of its start, and be known only later.
void LiveStream::lookAgain(ByteSpan bytes) {
    m_looked.insert(m_looked.end(), bytes.begin(), bytes.end());
    if (m_looked.size() < kLookedAgain) return;
    const StreamCensus census(m_looked);
    m_looked.erase(m_looked.begin(), m_looked.end() - static_cast<std::ptrdiff_t>(kLookedAgain / 2));
    if (!census.guess()) return;
    m_family = census.guess();
    m_recognised = true;
    m_looked.clear();
    if (m_family->name != "javad") return;  // the reader there is finds the others' frames
    dropReader();
    makeReader();
}

// False when there is nothing to feed. A CR at the end waits for its LF unless the line has paused.
bool LiveStream::feedReader() {
    std::size_t size = std::min<std::size_t>(m_pending.size(), kLargestChunk);
    if (size == m_pending.size() && size > 0 && m_pending.back() == '\r' && !m_paused) --size;
    if (size == 0) return false;
    m_reader->feed(ByteSpan(m_pending).first(size));
    m_pending.erase(m_pending.begin(), m_pending.begin() + static_cast<std::ptrdiff_t>(size));
    return true;
}

std::optional<RoutedRecord> LiveStream::routed(const std::optional<RecordView>& record) {
    if (!record) return std::nullopt;
    m_leadSince.reset();
    m_leadIsStale = false;
    return chosen(m_router.route(*record));
}

std::optional<RoutedRecord> LiveStream::chosen(const std::optional<RoutedRecord>& routed) {
    if (routed) choosePositions(*routed);
    return routed;
}

// The records tell whose positions count: those of a receiver's own records, of a maker's receiver those of the
// board inside, outrank those of its sentences.
void LiveStream::choosePositions(const RoutedRecord& routed) {
    if (!routed.parser || (routed.use != RecordUse::kPosition && routed.use != RecordUse::kNoFix)) return;
    const std::string_view name = m_router.familyOf(*routed.parser);
    const bool isSentence = name == "nmea";
    const bool isCarried = routed.record.source == RecordSource::kCarried;
    const bool mayCount = !m_choice.family || isSentence || isCarried || name == m_choice.family->name;
    const int rank = isSentence ? 1 : 2;
    if (!mayCount || rank <= m_positionRank) return;
    m_positionRank = rank;
    m_router.setReceiver(name);
    if (!m_choice.family && (!m_family || m_family->name == "nmea"))
        m_family = findFamily(isCarried ? "maker" : name);
}

std::optional<RoutedRecord> LiveStream::next() {
    if (!m_reader) return std::nullopt;
    if (auto carried = chosen(m_router.nextCarried())) return carried;
    do {
        if (auto record = routed(m_reader->next())) return record;
    } while (feedReader() || giveUpStaleLead());
    return std::nullopt;
}

std::optional<RoutedRecord> LiveStream::nextAtEnd() {
    m_paused = true;
    if (!m_reader) {
        const StreamCensus census(m_pending);
        if (m_pending.empty() || (m_doubtful && !census.isProof())) return std::nullopt;
        begin(census);
    }
    if (auto record = next()) return record;
    if (auto record = routed(m_reader->nextAtEnd())) return record;
    return chosen(m_router.nextCarriedAtEnd());
}

void LiveStream::watchLead() {
    if (m_choice.staleLead <= 0ms || m_reader->held() == 0) {
        m_leadSince.reset();
        return;
    }
    if (!m_leadSince) {
        m_leadSince = m_clock.now();
        m_fedSinceLead = 0;
    }
    m_leadIsStale = m_clock.now() - *m_leadSince >= m_choice.staleLead + lineTime();
}

// A frame of thousands of bytes takes a slow line longer than a false lead may stay.
std::chrono::milliseconds LiveStream::lineTime() const {
    constexpr std::size_t kBitsPerByte = 10;
    if (!m_rate || *m_rate == 0) return 0ms;
    const std::size_t bits = std::min(m_fedSinceLead, kLongestFrame) * kBitsPerByte;
    return std::chrono::milliseconds(1000 * bits / *m_rate);
}

// Of one false lead after another, all that have waited as long go at once; a frame that has begun to come since
// is left alone.
bool LiveStream::giveUpStaleLead() {
    const bool isOld = m_reader->held() > m_fedSinceLead;
    if (!m_leadIsStale || !isOld || !m_reader->giveUpLead()) {
        if (m_leadIsStale) m_leadSince.reset();
        m_leadIsStale = false;
        return false;
    }
    ++m_leadsGivenUp;
    return true;
}

void LiveStream::restart() {
    dropReader();
    m_before.received += m_pending.size();
    m_before.dropped += m_pending.size();
    m_pending.clear();
    m_looked.clear();
    m_lookingSince.reset();
    m_lookedAt = 0;
    m_positionRank = 0;
    m_proven = false;
    m_recognised = false;
    m_family = m_choice.family;
}

// What the reader holds is dropped; the counters go on.
void LiveStream::dropReader() {
    const std::size_t pending = m_pending.size();
    m_before = counters();
    m_before.received -= pending;
    m_before.dropped += m_reader ? m_reader->held() : 0;
    m_droppedLooking = 0;
    m_reader.reset();
    m_decoder = CNOut();
    m_decoder.vSetClock(m_unhurried);
    m_leadSince.reset();
    m_leadIsStale = false;
}

DecoderCounters LiveStream::counters() const {
    DecoderCounters counters = m_reader ? sum(m_before, m_reader->counters()) : m_before;
    counters.received += m_pending.size() + m_droppedLooking;
    counters.dropped += m_droppedLooking;
    return counters;
}

}  // namespace vkcomm
