// Any text in any dialect: one frame of at most 256 bytes whose length and checksum hold, which the decoder reads
// when it has a command; a text field carries its bytes unchanged; what stands behind 1023 characters changes
// nothing; a pass-through line spells the frame out.
#include "fuzz/parser_laws.h"
#include "vkcomm/decode/stream_decoder.h"
#include "vkcomm/frames/receiver_type.h"
#include "vkcomm/frames/send_hex.h"
#include "vkcomm/frames/text_compiler.h"

namespace {

using namespace vkcomm;
using vkcomm::fuzz::require;

constexpr std::size_t kFraming = 9;
constexpr std::size_t kLongestText = 1023;
constexpr std::size_t kLongestPayload = 247;

bool hasCommand(ByteSpan frame) { return frame.size() >= kFraming; }

void requireFrame(ByteSpan frame) {
    require(frame.size() >= 5 && frame.size() <= 256 && frame[0] == '$' && frame[1] == '$');
    require(frame[frame.size() - 2] == '\r' && frame[frame.size() - 1] == '\n');
    require(xorOf(frame.first(frame.size() - 2)) == 0);
    if (hasCommand(frame)) require(frame[5] + kFraming == frame.size());
}

void requireRecord(ByteSpan frame) {
    CNOut decoder;
    decoder.Set(frame.data(), static_cast<int>(frame.size()));
    require(decoder.Read() == CNOut::RETURN_COMPLETE && decoder.Type() == LOG_VAREK_REPLY);
    require(decoder.RecordConsumed() == static_cast<int>(frame.size()));
}

void requirePassThrough(const Bytes& frame) {
    const std::string line = passThroughLine(frame);
    require(line.empty() == (frame.size() > 255));
    if (!line.empty()) require(line.ends_with("00000000\r\n") && line.starts_with("SENDHEX COM2 "));
}

void requireTextField(std::string_view text, GPSOEMTYPE dialect) {
    const Bytes frame = compileMakerText("VL,S" + std::string(text), dialect);
    const std::size_t carried = std::min({text.size(), kLongestPayload, kLongestText - 4});
    require(frame.size() == carried + kFraming);
    require(std::equal(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(carried), frame.begin() + 6,
                       [](char c, unsigned char byte) { return static_cast<unsigned char>(c) == byte; }));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteSpan input(data, size);
    const auto dialect = static_cast<GPSOEMTYPE>(static_cast<int>(fuzz::takeByte(input)) - 1);
    const std::string text(input.begin(), input.end());
    const Bytes frame = compileMakerText(text, dialect);
    requireFrame(frame);
    if (hasCommand(frame)) requireRecord(frame);
    requirePassThrough(frame);
    requireTextField(text, dialect);
    if (text.size() >= kLongestText) require(compileMakerText(text + "RZ,B1,SZZ", dialect) == frame);
    return 0;
}
