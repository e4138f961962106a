#include "host/relay_report.h"

#include "host/command_report.h"
#include "host/field_writer.h"
#include "host/live_report.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr std::size_t kMostTypes = 8;
constexpr double kKilo = 1000.0;

double secondsOf(std::chrono::milliseconds time) { return static_cast<double>(time.count()) / 1000.0; }

std::int64_t number(std::uint64_t count) { return static_cast<std::int64_t>(count); }

std::string sizeText(std::uint64_t bytes) {
    const double value = static_cast<double>(bytes);
    std::string text;
    if (value < kKilo)
        appendFormat(text, "%.0f bytes", value);
    else if (value < kKilo * kKilo)
        appendFormat(text, "%.1f kB", value / kKilo);
    else
        appendFormat(text, "%.1f MB", value / kKilo / kKilo);
    return text;
}

void appendMessages(std::string& text, const CasterRelayStatus& status) {
    std::size_t shown = 0;
    if (status.caster.bytes > 0) text += ' ';
    for (const auto& [message, count] : status.messages) {
        if (++shown > kMostTypes) break;
        appendFormat(text, " %d:%llu", message, static_cast<unsigned long long>(count));
    }
    if (status.messages.size() > kMostTypes)
        appendFormat(text, " +%llu types",
                     static_cast<unsigned long long>(status.messages.size() - kMostTypes));
    if (status.messages.empty() && status.caster.bytes > 0) text += " no RTCM 3";
    if (status.badChecks > 0)
        appendFormat(text, " %llu damaged", static_cast<unsigned long long>(status.badChecks));
}

void appendBlocks(std::string& text, const char* what, std::uint64_t blocks) {
    if (blocks > 0) appendFormat(text, "  %s %llu blocks", what, static_cast<unsigned long long>(blocks));
}

}  // namespace

std::string relayLine(const CasterRelayStatus& status, const ReceiverSnapshot& receiver) {
    std::string text(stateName(status.state));
    text += "  " + sizeText(status.caster.bytes);
    appendMessages(text, status);
    if (status.age) appendFormat(text, "  age %.1f s", secondsOf(*status.age));
    appendBlocks(text, "dropped", status.relay.droppedBlocks);
    appendBlocks(text, "lost", status.relay.lostBlocks);
    text += "  receiver: " + std::string(qualityText(receiver.quality));
    if (receiver.satellitesUsed) appendFormat(text, ", %d satellites", *receiver.satellitesUsed);
    return text;
}

std::string relayJson(const CasterRelayStatus& status, const ReceiverSnapshot& receiver,
                      std::chrono::system_clock::time_point now) {
    std::string text = "{";
    FieldWriter fields(text, LineFormat::kJson);
    fields.text("utc", utcText(now));
    fields.text("state", stateName(status.state));
    fields.text("failure", failureName(status.failure));
    fields.integer("bytes", number(status.caster.bytes));
    fields.beginList("messages");
    for (const auto& [message, count] : status.messages) {
        fields.beginItem();
        fields.integer("number", message);
        fields.integer("count", number(count));
        fields.endItem();
    }
    fields.endList();
    fields.integer("damaged", number(status.badChecks));
    if (status.age) fields.real("age_s", secondsOf(*status.age), 3);
    fields.integer("streams", number(status.caster.streams));
    fields.integer("failures", number(status.caster.failures));
    fields.integer("positions_sent", number(status.caster.positions));
    fields.integer("relayed_bytes", number(status.relay.sentBytes));
    fields.integer("relayed_blocks", number(status.relay.sentBlocks));
    fields.integer("dropped_bytes", number(status.relay.droppedBytes));
    fields.integer("dropped_blocks", number(status.relay.droppedBlocks));
    fields.integer("lost_bytes", number(status.relay.lostBytes));
    fields.integer("lost_blocks", number(status.relay.lostBlocks));
    fields.integer("quality", receiver.quality);
    if (receiver.satellitesUsed) fields.integer("satellites_used", *receiver.satellitesUsed);
    return text + "}\n";
}

}  // namespace vkcomm
