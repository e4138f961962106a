#include "vkcomm/util/receive_buffer.h"

#include <algorithm>
#include <cstring>

namespace vkcomm {

namespace {

std::size_t size(int count) { return static_cast<std::size_t>(count); }

}  // namespace

BUFFER_SET_RETURN CnBuffer::Set(unsigned char byte) {
    vReArrangeBuf();
    if (m_end == kCapacity) Clear();
    m_data[m_end++] = byte;
    return BUFFER_SET_OK;
}

BUFFER_SET_RETURN CnBuffer::Puts(const char* text) {
    if (!text) return BUFFER_SET_OVERFLOW;
    const std::size_t length = std::min(std::strlen(text) + 1, size(kCapacity) + 1);
    return Set(reinterpret_cast<const unsigned char*>(text), static_cast<int>(length));
}

unsigned char* CnBuffer::SetRequestBufSpace(int n) {
    if (n < 0 || n > kCapacity) return nullptr;
    vReArrangeBuf();
    if (n > kCapacity - m_end) Clear();
    unsigned char* space = m_data + m_end;
    m_end += n;
    return space;
}

BUFFER_GET_RETURN CnBuffer::Read(unsigned char* out) const {
    if (m_cursor == m_end) return BUFFER_GET_SHORT;
    *out = m_data[m_cursor];
    return BUFFER_GET_OK;
}

BUFFER_GET_RETURN CnBuffer::Get(unsigned char* out, int max, unsigned char until, int* count, int advance) {
    if (max == 0) return BUFFER_GET_OK;
    if (max < 0 || iAmount() == 0) return BUFFER_GET_SHORT;
    const unsigned char* first = m_data + m_cursor;
    const unsigned char* last = first + std::min(max, iAmount());
    const unsigned char* found = std::find(first, last, until);
    const unsigned char* stop = found == last ? last : found + 1;
    if (out) std::copy(first, stop, out);
    if (found == last) return BUFFER_GET_SHORT;
    if (count) *count = static_cast<int>(stop - first);
    if (advance) m_cursor += static_cast<int>(stop - first);
    return BUFFER_GET_OK;
}

int CnBuffer::bGetThenRearrange(unsigned char* out, int len) {
    const bool got = Get(out, len, 1) == BUFFER_GET_OK;
    SetSync();
    vReArrangeBuf();
    return got;
}

void CnBuffer::moveToFront() {
    std::memmove(m_data, m_data + m_sync, size(m_end - m_sync));
    m_cursor -= m_sync;
    m_end -= m_sync;
    m_sync = 0;
}

}  // namespace vkcomm
