// What a simulated caster understands and answers: NTRIP versions 1 and 2.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vkcomm::sim {

struct CasterMount {
    std::string name;
    bool needsPosition = false;  // sends nothing before it has got a GGA
};

// Text that a client has sent, taken apart.
struct CasterRequest {
    int version = 1;    // of NTRIP
    std::string mount;  // empty: the source table
    std::string userAgent;
    std::string authorization;  // the whole field
    std::string gga;            // the field of version 2; without line end
};

// The bytes of a request with the empty line at its end; 0 while that is missing.
std::size_t requestSize(std::string_view bytes);

// Nothing when it is no GET request, or the client does not call itself NTRIP.
std::optional<CasterRequest> parseCasterRequest(std::string_view request);

// Whether the Authorization field carries these in the Basic form.
bool isAuthorized(std::string_view authorization, std::string_view user, std::string_view password);

// A GGA sentence with a good checksum and a position (quality 1 or more).
bool isPosition(std::string_view line);

enum class CasterAnswer { kStream, kBadRequest, kUnauthorized, kNotFound };

// The head of an answer. An unknown mount point of version 1 is answered with the source table instead.
std::string casterHead(CasterAnswer answer, int version);

// The whole answer with the streams of the simulated reference station.
std::string sourceTableAnswer(std::span<const CasterMount> mounts, bool needsPassword, int version);

// A piece of a stream that goes in chunks.
std::string chunkOf(std::string_view bytes);
inline constexpr std::string_view kLastChunk = "0\r\n\r\n";

}  // namespace vkcomm::sim
