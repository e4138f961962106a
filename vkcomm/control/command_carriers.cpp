#include "vkcomm/control/command_carriers.h"

#include "vkcomm/frames/board_frames.h"
#include "vkcomm/frames/maker_frame.h"
#include "vkcomm/frames/send_hex.h"
#include "vkcomm/frames/text_compiler.h"
#include "vkcomm/frames/text_lines.h"

namespace vkcomm {

namespace {

constexpr int kMakerDelay = 50;

CommandSteps single(std::string what, ByteSpan bytes, int delay) {
    if (bytes.empty()) return {};
    CommandStep step;
    step.what = std::move(what);
    step.bytes.assign(bytes.begin(), bytes.end());
    step.delay = delay;
    return {std::move(step)};
}

std::string withoutLineEnd(std::string_view text) {
    while (text.ends_with('\r') || text.ends_with('\n'))
        text.remove_suffix(1);
    return std::string(text);
}

CommandSteps line(std::string_view text, const std::string& sent, int delay) {
    return single(withoutLineEnd(text), bytesOf(sent), delay);
}

bool passesThroughNovatel(GPSOEMTYPE dialect) {
    return dialect == OEM_NOVATEL || dialect == OEM_CMC || dialect == OEM_TYPE_3;
}

// The full frames leave at once and the queue drains behind each; only the last one has the delay.
CommandSteps framed(GPSOEMTYPE dialect, const std::string& what, ByteSpan bytes, int delay) {
    CommandSteps steps;
    for (const Bytes& frame : makerFrames("RZ", dialect, bytes)) {
        append(steps, single(what, frame, 0));
        steps.back().wrapped = steps.back().drain = true;
    }
    steps.back().delay = delay;
    steps.back().drain = false;
    return steps;
}

}  // namespace

CommandSteps plainText(std::string_view text, int delay) { return line(text, std::string(text), delay); }

CommandSteps javadText(std::string_view text, int delay) { return line(text, javadLine(text), delay); }

CommandSteps starText(std::string_view text, int delay) { return line(text, starLine(text), delay); }

CommandSteps makerText(GPSOEMTYPE dialect, std::string_view text, int delay) {
    if (delay <= 0) delay = kMakerDelay;
    const Bytes frame = compileMakerText(text, dialect);
    CommandSteps steps = passesThroughNovatel(dialect) ? line(text, passThroughLine(frame), delay)
                                                       : single(withoutLineEnd(text), frame, delay);
    for (CommandStep& step : steps)
        step.wrapped = true;
    return steps;
}

CommandSteps novatelText(GPSOEMTYPE type, std::string_view text, int delay) {
    if (setupFamily(type) != SetupFamily::kNovatel) return {};
    if (boardInside(type) == SetupFamily::kNone) return plainText(text, delay);
    if (text.size() > kLongestMakerPayload) return {};
    return makerText(type, "RZ,S" + std::string(text), delay);
}

CommandSteps trimbleSteps(GPSOEMTYPE portType, const TrimbleCommand& command, int delay) {
    const Bytes packet = trimblePacket(command.type, command.data);
    if (packet.empty()) return {};
    CommandSteps steps = boardInside(portType) == SetupFamily::kTrimble
                             ? framed(portType, command.what, packet, delay)
                             : single(command.what, packet, delay);
    steps.front().factoryReset = command.factoryReset;
    if (command.type == kApplicationFile) steps.front().fields = applicationFileFields(command.data);
    return steps;
}

CommandSteps cmcSteps(GPSOEMTYPE type, unsigned char id, bool repeated, ByteSpan data, int delay) {
    const Bytes message = cmcMessage(id, repeated, data);
    if (message.empty()) return {};
    const std::string what = "message " + integerText(id & 0x7F);
    if (type == OEM_CMC) return single(what, message, delay);
    return boardInside(type) == SetupFamily::kCmc ? framed(type, what, message, delay) : CommandSteps();
}

}  // namespace vkcomm
