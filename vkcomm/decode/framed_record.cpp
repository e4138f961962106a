#include "vkcomm/decode/framed_record.h"

#include <algorithm>
#include <cstring>

#include "vkcomm/util/plain_text.h"

namespace vkcomm {

namespace {

// The longest text record, its terminating zero not counted.
constexpr int kLongestText = CNOutUnknown::kRecordSize - 1;

}  // namespace

CNOutUnknown::CNOutUnknown(const CNOutUnknown& other) {
    const std::scoped_lock lock(other.m_lock);
    copyFrom(other);
}

CNOutUnknown& CNOutUnknown::operator=(const CNOutUnknown& other) {
    if (this == &other) return *this;
    const std::scoped_lock lock(m_lock, other.m_lock);
    copyFrom(other);
    return *this;
}

void CNOutUnknown::copyFrom(const CNOutUnknown& other) {
    std::memcpy(m_record, other.m_record, sizeof m_record);
    m_buffer = other.m_buffer;
    m_lastRead = other.m_lastRead;
    m_id = other.m_id;
    m_type = other.m_type;
    m_size = other.m_size;
    m_recordBytes = other.m_recordBytes;
    m_recordConsumed = other.m_recordConsumed;
    m_recordOffset = other.m_recordOffset;
    m_received = other.m_received;
    m_dropped = other.m_dropped;
    m_acceptedSize = other.m_acceptedSize;
    m_acceptedSecond = other.m_acceptedSecond;
    m_looked = other.m_looked;
    m_plainBegin = other.m_plainBegin;
    m_plainEnd = other.m_plainEnd;
    m_waitBytes = other.m_waitBytes;
    m_waitText = other.m_waitText;
    m_worthReading = other.m_worthReading.load();
}

void CNOutUnknown::Clear() {
    const std::scoped_lock lock(m_lock);
    lose(m_buffer.iAmount());
    m_buffer.Clear();
    m_id = 0;
    m_type = LOG_NONE;
    m_size = m_acceptedSize = 0;
    m_acceptedSecond = 0;
    m_recordBytes = 0;
    m_lastRead = RETURN_NONE;
}

inline void CNOutUnknown::noteArrival(const unsigned char* bytes, int len) {
    if (m_worthReading.load(std::memory_order_relaxed)) return;
    const bool lengthReached = static_cast<int>(m_buffer.frame().size()) >= m_waitBytes;
    if (lengthReached || (m_waitText && findTextEnd(bytes, bytes + len) != bytes + len)) wake();
}

BUFFER_SET_RETURN CNOutUnknown::Set(const unsigned char* bytes, int len) {
    const std::scoped_lock lock(m_lock);
    if (len < 0 || (!bytes && len > 0)) return BUFFER_SET_OVERFLOW;
    releaseRead();
    m_received += static_cast<std::uint64_t>(len);
    const int buffered = m_buffer.iAmount();
    const BUFFER_SET_RETURN result = m_buffer.Set(bytes, len);
    if (result == BUFFER_SET_OK) {
        noteArrival(bytes, len);
    } else {
        lose(buffered + len);
    }
    return result;
}

BUFFER_SET_RETURN CNOutUnknown::Set(unsigned char byte) {
    const std::scoped_lock lock(m_lock);
    releaseRead();
    ++m_received;
    const int buffered = m_buffer.iAmount();
    m_buffer.Set(byte);
    if (m_buffer.iAmount() != buffered + 1) lose(buffered);
    noteArrival(&byte, 1);
    return BUFFER_SET_OK;
}

unsigned char* CNOutUnknown::SetRequestBufSpace(int n) {
    const std::scoped_lock lock(m_lock);
    releaseRead();
    const int buffered = m_buffer.iAmount();
    unsigned char* space = m_buffer.SetRequestBufSpace(n);
    if (!space) return nullptr;
    m_received += static_cast<std::uint64_t>(n);
    if (m_buffer.iAmount() != buffered + n) lose(buffered);
    wake();
    return space;
}

int CNOutUnknown::iBytesInRxBuf() const {
    const std::scoped_lock lock(m_lock);
    return m_buffer.iAmount();
}

void CNOutUnknown::ReSync(int n) {
    const std::scoped_lock lock(m_lock);
    m_buffer.ReSync(n);
    wake();
}

void CNOutUnknown::vSetStartAndOffset() {
    const std::scoped_lock lock(m_lock);
    beginFrame();
    wake();
}

CNOutUnknown::RETURN CNOutUnknown::eRead(unsigned char* out, int len, int advance) {
    return readRaw([&] { return m_buffer.Get(out, len, advance); });
}

CNOutUnknown::RETURN CNOutUnknown::eRead(unsigned char* out, int max, unsigned char until, int* count,
                                         int advance) {
    return readRaw([&] { return m_buffer.Get(out, max, until, count, advance); });
}

template <typename Step>
CNOutUnknown::RETURN CNOutUnknown::readRaw(Step step) {
    const std::scoped_lock lock(m_lock);
    beginFrame();
    const int before = m_buffer.iAmount();
    m_lastRead = step() == BUFFER_GET_OK ? RETURN_COMPLETE : RETURN_INCOMPLETE;
    m_dropped += static_cast<std::uint64_t>(before - m_buffer.iAmount());
    wake();
    return m_lastRead;
}

CNOutUnknown::RETURN CNOutUnknown::CopyStr(CnBuffer& buffer, int start, unsigned char end) {
    // byte k of the record is text[k - start]
    const ByteSpan arrived = buffer.frame().subspan(static_cast<std::size_t>(buffer.iTaken()));
    const unsigned char* const text = arrived.data();
    const int available = static_cast<int>(arrived.size());
    int run = plainRun(arrived, &buffer == &m_buffer);
    if (isPlainText(end)) run = static_cast<int>(std::find(text, text + run, end) - text);

    if (run == available && start + run < kLongestText) return RETURN_INCOMPLETE;
    const bool carriage = run < available && text[run] == '\r';
    const int endAt = start + run + (carriage ? 1 : 0);
    if (endAt >= kLongestText || (text[run] != end && !carriage)) {
        buffer.ReSync(1);
        return RETURN_REJECTED;
    }
    const bool endArrived = carriage && run + 1 < available && text[run + 1] == end;
    std::memcpy(m_record + start, text, static_cast<std::size_t>(run) + 1);
    m_record[endAt] = end;
    m_record[endAt + 1] = 0;
    m_size = endAt + 1;
    buffer.Get(nullptr, run + 1 + (endArrived ? 1 : 0), 1);
    return RETURN_COMPLETE;
}

// How many bytes at the front of text, which reaches to the end of what has arrived, are plain. Remembers the stretch
// that it looked through last, so that neither a line that arrives in pieces nor one rejected lead after another makes
// it look twice.
int CNOutUnknown::plainRun(ByteSpan text, bool isStream) {
    const unsigned char* const last = text.data() + text.size();
    if (!isStream) return static_cast<int>(findTextEnd(text.data(), last) - text.data());
    const std::uint64_t at = m_received - text.size();
    const bool isKnown = at >= m_plainBegin && at < m_plainEnd;
    const std::uint64_t known = isKnown ? m_plainEnd - at : 0;
    const unsigned char* const stop = findTextEnd(text.data() + known, last);
    if (!isKnown) m_plainBegin = at;
    m_plainEnd = at + static_cast<std::uint64_t>(stop - text.data());
    return static_cast<int>(stop - text.data());
}

void CNOutUnknown::lose(int bytes) {
    m_dropped += static_cast<std::uint64_t>(bytes);
    m_looked = 0;
    wake();
}

}  // namespace vkcomm
