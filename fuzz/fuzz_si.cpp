// Any frames of "SI" replies: no crash, no read outside; a frame ends the reply unless it is full or shorter
// than it says; words have no blank inside and never come from more than 128 bytes.
#include "fuzz/parser_laws.h"
#include "vkcomm/formats/si_reply.h"

namespace {

using namespace vkcomm;
using vkcomm::fuzz::require;

constexpr std::size_t kHead = 6;

void requireWords(const SiWords& words) {
    require(words.first.size() + words.second.size() <= 128);
    require(words.first.find(L' ') == words.first.npos && words.second.find(L' ') == words.second.npos);
    require(words.second.empty() || !words.first.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    SiReply reply;
    for (ByteSpan input(data, size); !input.empty();) {
        const std::size_t length = input.size() < kHead ? 0 : input[kHead - 1];
        const bool whole = input.size() >= kHead + length;
        const SiReply before = reply;
        const bool complete = reply.add(input);
        require(complete == (whole && length != 55));
        if (!complete) require(reply.words().first == before.words().first);
        requireWords(reply.words());
        fuzz::take(input, kHead + length);
    }
    return 0;
}
