#include "vkcomm/decode/framed_record.h"

#include <algorithm>
#include <cstring>

#include "vkcomm/util/plain_text.h"

namespace vkcomm {

namespace {

// The longest text record, its terminating zero not counted.
constexpr int kLongestText = CNOutUnknown::kRecordSize - 1;

CNOutUnknown::RETURN readResult(BUFFER_GET_RETURN got) {
    return got == BUFFER_GET_OK ? CNOutUnknown::RETURN_COMPLETE : CNOutUnknown::RETURN_INCOMPLETE;
}

}  // namespace

CNOutUnknown::CNOutUnknown() = default;

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
    m_textCopied = other.m_textCopied;
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
    m_size = 0;
    m_recordBytes = 0;
    m_lastRead = RETURN_NONE;
}

inline void CNOutUnknown::noteArrival(const unsigned char* bytes, int len) {
    if (m_worthReading.load(std::memory_order_relaxed)) return;
    const bool lengthReached = static_cast<int>(m_buffer.frame().size()) >= m_waitBytes;
    if (lengthReached || (m_waitText && findTextEnd(bytes, bytes + len) != bytes + len))
        m_worthReading.store(true, std::memory_order_release);
}

BUFFER_SET_RETURN CNOutUnknown::Set(const unsigned char* bytes, int len) {
    const std::scoped_lock lock(m_lock);
    if (len < 0 || (!bytes && len > 0)) return BUFFER_SET_OVERFLOW;
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
    ++m_received;
    const int buffered = m_buffer.iAmount();
    m_buffer.Set(byte);
    if (m_buffer.iAmount() != buffered + 1) lose(buffered);
    noteArrival(&byte, 1);
    return BUFFER_SET_OK;
}

unsigned char* CNOutUnknown::SetRequestBufSpace(int n) {
    const std::scoped_lock lock(m_lock);
    const int buffered = m_buffer.iAmount();
    unsigned char* space = m_buffer.SetRequestBufSpace(n);
    if (!space) return nullptr;
    m_received += static_cast<std::uint64_t>(n);
    if (m_buffer.iAmount() != buffered + n) lose(buffered);
    m_worthReading.store(true, std::memory_order_release);
    return space;
}

int CNOutUnknown::iBytesInRxBuf() const {
    const std::scoped_lock lock(m_lock);
    return m_buffer.iAmount();
}

void CNOutUnknown::ReSync(int n) {
    const std::scoped_lock lock(m_lock);
    m_buffer.ReSync(n);
    m_worthReading.store(true, std::memory_order_release);
}

void CNOutUnknown::vSetStartAndOffset() {
    const std::scoped_lock lock(m_lock);
    beginFrame();
}

CNOutUnknown::RETURN CNOutUnknown::eRead(unsigned char* out, int len, int advance) {
    const std::scoped_lock lock(m_lock);
    beginFrame();
    const int before = m_buffer.iAmount();
    m_lastRead = readResult(m_buffer.Get(out, len, advance));
    m_dropped += static_cast<std::uint64_t>(before - m_buffer.iAmount());
    return m_lastRead;
}

CNOutUnknown::RETURN CNOutUnknown::eRead(unsigned char* out, int max, unsigned char until, int* count,
                                         int advance) {
    const std::scoped_lock lock(m_lock);
    beginFrame();
    const int before = m_buffer.iAmount();
    m_lastRead = readResult(m_buffer.Get(out, max, until, count, advance));
    m_dropped += static_cast<std::uint64_t>(before - m_buffer.iAmount());
    return m_lastRead;
}

CNOutUnknown::RETURN CNOutUnknown::CopyStr(CnBuffer& buffer, int start, unsigned char end) {
    const ByteSpan arrived = buffer.frame().subspan(static_cast<std::size_t>(buffer.iTaken()));
    // byte k of the record is text[k - start]
    const unsigned char* const text = arrived.data();
    const int available = start + static_cast<int>(arrived.size());
    const int resume = std::max(start, m_textCopied);
    const unsigned char* const last = text + (std::min(available, kLongestText) - start);
    const unsigned char* const first = text + (resume - start);
    const unsigned char* stop = findTextEnd(first, last);
    if (isPlainText(end)) stop = std::find(first, stop, end);

    std::memcpy(m_record + resume, first, static_cast<std::size_t>(stop - first));
    m_size = start + static_cast<int>(stop - text);
    if (m_size == available && m_size < kLongestText) {
        m_textCopied = m_size;
        return RETURN_INCOMPLETE;
    }
    const bool carriage = stop != last && *stop == '\r';
    const int endAt = carriage ? m_size + 1 : m_size;
    if (stop == last || endAt >= kLongestText || (*stop != end && !carriage)) {
        buffer.ReSync(1);
        return RETURN_REJECTED;
    }
    const bool endArrived = carriage && m_size + 1 < available && stop[1] == end;
    buffer.Get(nullptr, static_cast<int>(stop - text) + 1 + (endArrived ? 1 : 0), 1);
    m_record[m_size] = *stop;
    m_record[endAt] = end;
    m_record[endAt + 1] = 0;
    m_size = endAt + 1;
    return RETURN_COMPLETE;
}

void CNOutUnknown::beginFrame() {
    if (m_lastRead == RETURN_INCOMPLETE) {
        m_buffer.Sync();
        m_lastRead = RETURN_COMPLETE;
    } else {
        m_buffer.SetSync();
        m_textCopied = 0;
    }
}

void CNOutUnknown::waitFor(int frameBytes, bool text) {
    m_waitBytes = frameBytes;
    m_waitText = text;
}

void CNOutUnknown::awaitArrival() { m_worthReading.store(false, std::memory_order_release); }

void CNOutUnknown::lose(int bytes) {
    m_dropped += static_cast<std::uint64_t>(bytes);
    m_textCopied = 0;
    m_worthReading.store(true, std::memory_order_release);
}

}  // namespace vkcomm
