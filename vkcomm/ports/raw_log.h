// The raw log of a port: a copy of what its COM reader receives. This is part of the library's inside.
#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "vkcomm/platform/byte_file.h"
#include "vkcomm/ports/port_status.h"

namespace vkcomm {

// Any thread. No lock is held while the file is written, so that a slow disk never keeps anybody from ending the
// log; the file is closed when that write returns.
class RawLog {
public:
    using File = std::shared_ptr<ByteFile>;

    // Ends a log that is being kept, then begins one; flags of platform/byte_file.h. When the file cannot be
    // opened nothing is kept, but isBegun says otherwise (deliberate: hosts ask whether they have begun one).
    void begin(ByteFiles& files, const std::wstring& path, unsigned int flags);
    void end();

    bool isBegun() const;
    RawLogStatus status() const;

    // Where to write now, null for nowhere. Taken when bytes arrive and written later, so that bytes of one log
    // never get into the next.
    File file() const;
    void write(const File& file, ByteSpan bytes);

private:
    mutable std::mutex m_lock;
    File m_file;
    RawLogStatus m_status;
    bool m_isBegun = false;
};

}  // namespace vkcomm
