// Any stream, given to the framer whole and in pieces: the same messages, every byte accounted for, every
// message right; whatever they hold, the parser keeps a state that makes a sentence. Any text as a status
// text or reply.
#include <algorithm>
#include <vector>

#include "fuzz/parser_laws.h"
#include "host/javad_framer.h"

namespace {

using namespace vkcomm;
using vkcomm::fuzz::require;

struct Stream {
    std::vector<std::uint64_t> offsets;
    CJavadFormat parser;
};

Stream frame(ByteSpan input, std::size_t piece) {
    Stream stream;
    JavadFramer framer;
    std::uint64_t end = 0;
    const auto use = [&](const JavadMessage& message) {
        require(message.offset >= end);
        end = message.offset + message.bytes.size();
        require(std::ranges::equal(
            message.bytes, input.subspan(static_cast<std::size_t>(message.offset), message.bytes.size())));
        stream.offsets.push_back(message.offset);
        storeJavadMessage(stream.parser, message);
    };
    for (ByteSpan rest = input; !rest.empty();) {
        framer.feed(fuzz::take(rest, piece));
        while (const auto message = framer.next())
            use(*message);
        require(framer.held() < 5 + 0xFFF);
    }
    while (const auto message = framer.nextAtEnd())
        use(*message);
    require(framer.held() == 0);
    require(framer.messageBytes() + framer.separators() + framer.dropped() == input.size());
    return stream;
}

template <typename Status>
void requireBounded(const std::vector<Status>& satellites, ByteSpan text, std::size_t fields) {
    require(satellites.size() * fields <= text.size() + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteSpan input(data, size);
    const std::size_t piece = fuzz::takeByte(input) + 1;
    const Stream whole = frame(input, input.size() + 1);
    const Stream pieces = frame(input, piece);
    require(whole.offsets == pieces.offsets);
    require(whole.parser.strGetGPGGA() == pieces.parser.strGetGPGGA());
    fuzz::requireGga(whole.parser.strGetGPGGA());

    std::vector<JAVAD_GPS_STATUS> gps;
    std::vector<JAVAD_GLONASS_STATUS> glonass;
    CJavadFormat parser;
    parser.vProcressGS(input, gps);
    parser.vProcressNS(input, glonass);
    requireBounded(gps, input, 7);
    requireBounded(glonass, input, 8);
    require(parser.strProcessRECmd(input).size() <= input.size());
    return 0;
}
