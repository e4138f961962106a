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
constexpr std::size_t kBytesOfAnother = 512;  // in no record: worth a look
constexpr std::size_t kLongestFrame = 8192;
// So many bytes, for so long, and as many again, without anything that is understood: more than a receiver says when it
// starts, and longer than it rests.
constexpr std::size_t kStrangeBytes = 512;
constexpr auto kStrangeTime = 15000ms;

// "all" is no family but a mask; the family is guessed beside it.
LiveChoice withoutAll(LiveChoice choice) {
    if (!choice.family || choice.family->name != "all") return choice;
    if (!choice.mask) choice.mask = choice.family->decodeMask;
    choice.family = nullptr;
    return choice;
}

// Records that noise does not make.
bool isChecked(const RecordView& record) {
    constexpr LOG_TYPE kTypes[] = {LOG_NMEA,           LOG_OEM4_BINARY, LOG_OEM4_ASCII,
                                   LOG_TRIMBLE_PACKET, LOG_CMC_BINARY,  LOG_HEMISPHERE_BINARY,
                                   LOG_VAREK_REPLY,    LOG_REPLY_OK,    LOG_REPLY_ERROR,
                                   LOG_PORT_PROMPT};
    return record.source != RecordSource::kStream ||
           std::ranges::find(kTypes, record.type) != std::end(kTypes);
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
    else if (m_reader && mayBeAnother())
        lookAgain(bytes);
    watchUnderstanding(bytes);
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

std::uint32_t LiveStream::mask() const {
    if (m_choice.mask) return *m_choice.mask;
    return m_choice.family ? m_choice.family->decodeMask : guessedMask(m_family);
}

void LiveStream::makeReader() {
    m_decoder.vSetDecodeMask(mask());
    const bool isJavad = m_family && m_family->name == "javad";
    m_reader = isJavad ? makeJavadReader(m_decoder) : makeFrameReader(m_decoder);
    m_othersAtLook = 0;
}

// A receiver may send something else first, such as the texts of its start or sentences, and be known only later.
bool LiveStream::mayBeAnother() const { return !m_choice.family && (!m_family || m_family->name == "nmea"); }

void LiveStream::lookAgain(ByteSpan bytes) {
    m_looked.insert(m_looked.end(), bytes.begin(), bytes.end());
    const std::uint64_t others = m_reader->counters().dropped + m_reader->held();
    const bool isFull = m_looked.size() >= kLookedAgain;
    if (others >= m_othersAtLook + kBytesOfAnother || (isFull && !m_family)) {
        m_othersAtLook = others;
        const StreamCensus census(m_looked);
        if (census.isProof() && census.guess() != m_family) return take(*census.guess());
    }
    if (isFull)
        m_looked.erase(m_looked.begin(), m_looked.end() - static_cast<std::ptrdiff_t>(kLookedAgain / 2));
}

// The reader there is goes on unless it is one that does not find the family's messages.
void LiveStream::take(const ReceiverFamily& family) {
    m_family = &family;
    m_recognised = true;
    m_looked.clear();
    m_decoder.vSetDecodeMask(mask());
    if (family.name != "javad") return;
    dropReader();
    makeReader();
}

void LiveStream::watchUnderstanding(ByteSpan bytes) {
    if (m_strangeBytes == 0) m_strangeSince = m_clock.now();
    m_strangeBytes += bytes.size();
    const std::size_t held = m_reader ? m_reader->held() : 0;  // may become something
    const std::size_t strange = m_strangeBytes - std::min(held, m_strangeBytes);
    if (strange < kStrangeBytes) return;
    if (bringsCorrections(bytes)) return understand();
    if (m_clock.now() - m_strangeSince < kStrangeTime + lineTime(m_strangeBytes))
        m_strangeInTime = strange;
    else
        m_isStrange = strange >= m_strangeInTime + kStrangeBytes;
}

void LiveStream::understand() {
    m_strangeBytes = 0;
    m_strangeInTime = 0;
    m_isStrange = false;
}

bool LiveStream::bringsCorrections(ByteSpan bytes) {
    std::vector<CorrectionBlock> blocks;
    m_corrections.feed(textOf(bytes), blocks);
    return std::ranges::any_of(blocks, [](const CorrectionBlock& block) { return block.message >= 0; });
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
    if (isChecked(*record)) understand();
    return chosen(m_router.route(*record));
}

std::optional<RoutedRecord> LiveStream::chosen(const std::optional<RoutedRecord>& routed) {
    if (routed && m_router.adoptPositions(*routed, m_choice.family) && mayBeAnother())
        m_family = findFamily(
            routed->record.source == RecordSource::kCarried ? "maker" : m_router.familyOf(*routed->parser));
    return routed;
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
    m_leadIsStale = m_clock.now() - *m_leadSince >= m_choice.staleLead + lineTime(m_fedSinceLead);
}

// A frame of thousands of bytes takes a slow line longer than a false lead may stay.
std::chrono::milliseconds LiveStream::lineTime(std::size_t bytes) const {
    constexpr std::size_t kBitsPerByte = 10;
    if (!m_rate || *m_rate == 0) return 0ms;
    const std::size_t bits = std::min(bytes, kLongestFrame) * kBitsPerByte;
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
    understand();
    m_router.forgetPositions();
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
