// What a caster answers, taken apart as it arrives: the head, and the stream or source table behind it.
//
// Both versions of the protocol are understood whichever was asked for: "ICY 200 OK" with or without an empty
// line behind it, HTTP/1.0 and HTTP/1.1 with a body in chunks or not, "SOURCETABLE 200 OK" and "ERROR - ...".
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "host/caster_url.h"

namespace vkcomm {

enum class NtripOutcome {
    kWaiting,      // the head is not whole yet
    kStream,       // corrections follow
    kSourceTable,  // instead of a stream: the caster does not know the mount point
    kUnauthorized,
    kNotFound,
    kRedirected,
    kRefused,    // any other status of the caster
    kMalformed,  // no such protocol, or a head or chunk that cannot be
};

// A plain value; one thread at a time.
class NtripReply {
public:
    // A longer head is malformed.
    static constexpr std::size_t kLongestHead = 16384;

    // Takes bytes as they arrive, cut anywhere, and appends what belongs to the body to body. After a refusal
    // or malformed head nothing more is taken.
    NtripOutcome feed(std::string_view bytes, std::string& body);

    NtripOutcome outcome() const { return m_outcome; }

    // The same without regard to what stands behind the head.
    NtripOutcome headOutcome() const { return m_headOutcome; }

    // The caster's words: the status line, or the place a redirection names. Control characters are left out.
    const std::string& text() const { return m_text; }

    // True when the last chunk has come.
    bool ended() const { return m_chunk == Chunk::kEnd; }

private:
    enum class Chunk { kNone, kSize, kData, kDataEnd, kEnd };

    std::size_t readHead();
    std::size_t readHttpHead(std::string_view head);
    void settle(NtripOutcome outcome, std::string_view text);
    void appendAfterIcy(std::string_view bytes, std::string& body);
    void appendBody(std::string_view bytes, std::string& body);
    void readChunkLine(std::string_view& bytes);

    NtripOutcome m_outcome = NtripOutcome::kWaiting;
    NtripOutcome m_headOutcome = NtripOutcome::kWaiting;
    std::string m_held;  // bytes that cannot be judged yet
    std::string m_text;
    bool m_afterIcy = false;      // fields of a head, or its empty line, may still come
    std::size_t m_icyFields = 0;  // bytes of them
    Chunk m_chunk = Chunk::kNone;
    std::size_t m_chunkRest = 0;
};

enum class NtripVersion { k1, k2 };

// The request for the mount point, or for the source table when mount is empty. gga, if not empty, travels in
// the head of a version 2 request.
std::string ntripRequest(const CasterUrl& caster, NtripVersion version, std::string_view gga = {});

}  // namespace vkcomm
