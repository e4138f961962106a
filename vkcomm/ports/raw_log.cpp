#include "vkcomm/ports/raw_log.h"

#include <utility>

namespace vkcomm {

void RawLog::begin(ByteFiles& files, const std::wstring& path, unsigned int flags) {
    end();
    {
        const std::scoped_lock lock(m_lock);
        m_isBegun = true;  // before the outcome is known: an open may take its time
        m_status = {};
    }
    SystemError error;
    File file = files.open(path, flags | kFileCreate | kFileWrite, error);
    if (file && flags == kFileNoTruncate) file->seekToEnd();
    const std::scoped_lock lock(m_lock);
    if (!m_isBegun) return;  // ended meanwhile
    m_status.error = std::move(error);
    m_file = std::move(file);
}

void RawLog::end() {
    File closed;  // behind the lock
    const std::scoped_lock lock(m_lock);
    m_isBegun = false;
    m_file.swap(closed);
}

bool RawLog::isBegun() const {
    const std::scoped_lock lock(m_lock);
    return m_isBegun;
}

RawLogStatus RawLog::status() const {
    const std::scoped_lock lock(m_lock);
    return m_status;
}

RawLog::File RawLog::file() const {
    const std::scoped_lock lock(m_lock);
    return m_file;
}

void RawLog::write(const File& file, ByteSpan bytes) {
    SystemError error;
    const std::size_t written = file->write(bytes, error);
    const std::scoped_lock lock(m_lock);
    if (file != m_file) return;  // ended meanwhile: the status is another log's
    m_status.written += written;
    m_status.lost += bytes.size() - written;
    if (error && !m_status.error) m_status.error = std::move(error);
}

}  // namespace vkcomm
