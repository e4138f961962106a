// The base of the stream decoder: received bytes, and one framed record with its identification.
//
// Threads: one thread feeds bytes (Set), one reads records (CNOut::Read, then Get, Size, Type, Id). A lock
// inside serialises the two for the length of one append or one record; it is never held while sleeping.
// SetRequestBufSpace hands out memory of the buffer itself and is for hosts that feed and read on one thread;
// a reader thread reads into memory of its own and calls Set. Nothing throws and nothing allocates.
//
// A decoder can be copied and assigned, also while it is being fed: the copy has the same bytes, record and
// settings and a lock of its own.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "vkcomm/decode/log_type.h"
#include "vkcomm/export.h"
#include "vkcomm/util/receive_buffer.h"

namespace vkcomm {

class VKCOMM_API CNOutUnknown {
public:
    enum RETURN {
        RETURN_NONE = 0,
        RETURN_COMPLETE = 1,
        RETURN_INCOMPLETE = 3,
        RETURN_REJECTED = 4,  // inside CopyStr only
    };

    // Bytes a record can hold. Longer frames are refused.
    static constexpr int kRecordSize = 8192;

    CNOutUnknown() = default;
    CNOutUnknown(const CNOutUnknown& other);
    CNOutUnknown& operator=(const CNOutUnknown& other);
    virtual ~CNOutUnknown() = default;

    // Drops what is buffered and forgets the record; settings and counters stay.
    void Clear();

    // Append received bytes (see CnBuffer). Bytes lost to an overflow are counted as dropped.
    BUFFER_SET_RETURN Set(const unsigned char* bytes, int len);
    BUFFER_SET_RETURN Set(unsigned char byte);
    // Single-threaded use only: the caller fills the returned memory before the next call on this object.
    unsigned char* SetRequestBufSpace(int n);
    // Bytes that are buffered and not yet part of a record.
    int iBytesInRxBuf() const;

    void ReSync(int n);
    // Goes back to the start of a frame whose last read was incomplete, else marks a new start here.
    void vSetStartAndOffset();
    // CnBuffer::Get from that start; the result is kept as the last read result. Bytes taken this way count
    // as dropped.
    RETURN eRead(unsigned char* out, int len, int advance);
    RETURN eRead(unsigned char* out, int max, unsigned char until, int* count, int advance);

    // The record of the last read that was complete: valid until the next read, on the reading thread. Text
    // records have a zero byte after Size bytes. Size keeps its older value where a frame does not settle it
    // (see CNOut).
    const unsigned char* Get() const { return m_record; }

    int Size() const { return m_size; }

    LOG_TYPE Type() const { return m_type; }

    unsigned int Id() const { return m_id; }

    // The same record as the stream had it: its bytes (for frames that settle no Size, the bytes consumed),
    // the position of its lead byte counted from the first byte ever fed, and how many bytes of the stream it
    // used up.
    ByteSpan RecordBytes() const { return {m_record, static_cast<std::size_t>(m_recordBytes)}; }

    std::uint64_t RecordOffset() const { return m_recordOffset; }

    int RecordConsumed() const { return m_recordConsumed; }

protected:
    // Copies a text line behind the start bytes of the record: plain characters up to and including end, a zero behind
    // them. A CR that is not followed by end, or by nothing yet, is completed (deliberate: such receivers never send
    // the LF). Complete; incomplete; or rejected, with the buffer moved one byte past its lead, when another byte comes
    // or when end would stand at 8191 or beyond. Only a complete line changes the record.
    RETURN CopyStr(CnBuffer& buffer, int start, unsigned char end);

    // The lock is held by whoever calls what follows.
    void beginFrame() {
        if (m_lastRead == RETURN_INCOMPLETE) {
            m_buffer.Sync();
            m_lastRead = RETURN_COMPLETE;
        } else {
            m_buffer.SetSync();
            m_looked = 0;
        }
    }

    // The frame cannot be complete before it has that many bytes; text true: or before a byte arrives that is
    // not plain text. From awaitArrival until then reads answer "incomplete" without looking.
    void waitFor(int frameBytes, bool text) {
        m_waitBytes = frameBytes;
        m_waitText = text;
    }

    void awaitArrival() { m_worthReading.store(false, std::memory_order_release); }

    void wake() { m_worthReading.store(true, std::memory_order_release); }

    mutable std::mutex m_lock;
    std::atomic<bool> m_worthReading{true};

    unsigned char m_record[kRecordSize] = {};
    CnBuffer m_buffer;
    RETURN m_lastRead = RETURN_NONE;
    unsigned int m_id = 0;
    LOG_TYPE m_type = LOG_NONE;
    int m_size = 0;

    // Of the last record that was accepted, whatever rejected lines have left in the record since.
    int m_acceptedSize = 0;
    unsigned char m_acceptedSecond = 0;

    int m_recordBytes = 0;
    int m_recordConsumed = 0;
    std::uint64_t m_recordOffset = 0;
    std::uint64_t m_received = 0;  // bytes ever fed
    std::uint64_t m_dropped = 0;
    int m_looked = 0;  // bytes of the incomplete frame that were searched for its end mark

private:
    void copyFrom(const CNOutUnknown& other);
    void noteArrival(const unsigned char* bytes, int len);
    void lose(int bytes);

    template <typename Step>
    RETURN readRaw(Step step);
    int plainRun(ByteSpan text, bool isStream);

    // The bytes of a record that was read make room for new ones.
    void releaseRead() {
        if (m_lastRead == RETURN_COMPLETE) m_buffer.SetSync();
    }

    std::uint64_t m_plainBegin = 0;  // a stretch of the stream that is plain text, see plainRun
    std::uint64_t m_plainEnd = 0;
    int m_waitBytes = 0;
    bool m_waitText = false;
};

}  // namespace vkcomm
