// The fixed-capacity byte buffer between a port and the decoder.
//
// Received bytes are appended at the end; the decoder reads from the front and sets a sync mark where a frame
// begins, so that a frame that is incomplete can be read again from its start once more bytes have arrived.
//
// A plain value: no lock, no allocation, copying copies everything. The owner serialises access (CNOutUnknown
// does). Lengths below zero and null sources change nothing and report failure.
#pragma once

#include <algorithm>
#include <cstring>

#include "vkcomm/export.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

enum BUFFER_SET_RETURN {
    BUFFER_SET_OK = 0,
    BUFFER_SET_OVERFLOW = 1,  // everything buffered, and the block, is gone
};

enum BUFFER_GET_RETURN {
    BUFFER_GET_OK = 0,
    BUFFER_GET_SHORT = 1,  // not enough bytes, or the terminator is not among them
};

class VKCOMM_API CnBuffer {
public:
    static constexpr int kCapacity = 16384;

    // Sync mark, read cursor and end to 0; the bytes stay as they are.
    void Clear() { m_sync = m_cursor = m_end = 0; }

    // Compacts, then appends len bytes. When they do not fit the whole buffer is cleared and nothing is
    // stored.
    BUFFER_SET_RETURN Set(const unsigned char* bytes, int len) {
        if (len < 0 || (!bytes && len > 0)) return BUFFER_SET_OVERFLOW;
        vReArrangeBuf();
        if (len > kCapacity - m_end) {
            Clear();
            return BUFFER_SET_OVERFLOW;
        }
        if (len == 1)  // a call less for hosts that feed byte by byte
            m_data[m_end] = *bytes;
        else if (len > 0)
            std::memcpy(m_data + m_end, bytes, static_cast<std::size_t>(len));
        m_end += len;
        return BUFFER_SET_OK;
    }

    // Compacts, then appends one byte. When it does not fit the buffer is cleared first and the byte kept
    // (deliberate: unlike the block form this never fails).
    BUFFER_SET_RETURN Set(unsigned char byte);
    // Appends the text and its terminating zero.
    BUFFER_SET_RETURN Puts(const char* text);
    // Compacts, makes room for n bytes (clearing the buffer when they do not fit) and counts them as
    // received. The caller fills the returned address at once; it stays valid until the next call. Null, and
    // nothing changes, for n below 0 or above the capacity.
    unsigned char* SetRequestBufSpace(int n);

    // The byte at the read cursor; the cursor stays.
    BUFFER_GET_RETURN Read(unsigned char* out) const;

    // Copies len bytes from the read cursor (out null: none are copied) and moves it when advance is
    // non-zero.
    BUFFER_GET_RETURN Get(unsigned char* out, int len, int advance) {
        if (len < 0 || len > iAmount()) return BUFFER_GET_SHORT;
        if (out && len > 0) std::memcpy(out, m_data + m_cursor, static_cast<std::size_t>(len));
        if (advance) m_cursor += len;
        return BUFFER_GET_OK;
    }

    // Copies up to max bytes from the read cursor, until included. Success only if until was among them: then
    // *count (if given) is the number copied and the cursor moves when advance is non-zero. On failure bytes
    // may have been copied, the cursor and *count stay. A max of 0 succeeds at once.
    BUFFER_GET_RETURN Get(unsigned char* out, int max, unsigned char until, int* count, int advance);

    void SetSync() { m_sync = m_cursor; }

    void Sync() { m_cursor = m_sync; }

    // Read cursor to n bytes after the sync mark, at most to the end of the data.
    void ReSync(int n) { m_cursor = m_sync + std::clamp(n, 0, m_end - m_sync); }

    // Gets len bytes, marks the place behind them and compacts; non-zero when the get succeeded.
    int bGetThenRearrange(unsigned char* out, int len);

    // Bytes between the read cursor and the end.
    int iAmount() const { return m_end - m_cursor; }

    // Everything from the sync mark to the end, in place; valid until the next change.
    ByteSpan frame() const {
        return {m_data + m_sync, static_cast<std::size_t>(m_end) - static_cast<std::size_t>(m_sync)};
    }

    // How far the read cursor is behind the sync mark's byte.
    int iTaken() const { return m_cursor - m_sync; }

private:
    void vReArrangeBuf() {
        if (m_sync != 0) moveToFront();
    }

    void moveToFront();

    // 0 <= m_sync <= m_cursor <= m_end <= kCapacity
    int m_sync = 0;
    int m_cursor = 0;
    int m_end = 0;
    unsigned char m_data[kCapacity] = {};
};

}  // namespace vkcomm
