#include "vkcomm/frames/maker_frame.h"

#include <algorithm>

#include "vkcomm/util/checksums.h"

namespace vkcomm {

Bytes makerFrame(std::string_view letters, unsigned char selector, ByteSpan payload) {
    if (letters.size() < 2 || payload.size() > kLongestMakerPayload) return {};
    const ByteSpan command = bytesOf(letters);
    Bytes frame = {'$', '$', command[0], command[1], selector, static_cast<unsigned char>(payload.size())};
    frame.insert(frame.end(), payload.begin(), payload.end());
    frame.push_back(xorOf(ByteSpan(frame).subspan(2)));
    frame.insert(frame.end(), {'\r', '\n'});
    return frame;
}

std::vector<ByteSpan> makerPieces(ByteSpan bytes) {
    std::vector<ByteSpan> pieces;
    for (; !bytes.empty(); bytes = bytes.subspan(pieces.back().size()))
        pieces.push_back(bytes.first(std::min(bytes.size(), kMakerPayload)));
    return pieces;
}

std::vector<Bytes> makerFrames(std::string_view letters, GPSOEMTYPE dialect, ByteSpan bytes) {
    std::vector<ByteSpan> pieces = makerPieces(bytes);
    const bool needsRest = bytes.size() > kMakerPayload && bytes.size() % kMakerPayload == 0;
    if (pieces.empty() || needsRest) pieces.emplace_back();
    std::vector<Bytes> frames;
    frames.reserve(pieces.size());
    for (const ByteSpan piece : pieces)
        frames.push_back(makerFrame(letters, makerSelector(dialect), piece));
    return frames;
}

std::vector<Bytes> correctionFrames(GPSOEMTYPE dialect, ByteSpan bytes) {
    const bool toBoard = boardInside(dialect) == SetupFamily::kCmc;
    std::vector<Bytes> frames;
    for (const ByteSpan piece : makerPieces(bytes))
        frames.push_back(makerFrame(toBoard ? "RZ" : "VD", correctionSelector(dialect), piece));
    return frames;
}

}  // namespace vkcomm
