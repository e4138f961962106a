// What a caster may send, as answer to a request for a stream and for a source table, and again when it is asked anew:
// no crash, no growth without bound, the same outcome however the bytes are cut, an end in time, no correction lost or
// invented, and nothing for people that is long, holds control characters or repeats the password.
#include <algorithm>

#include "fuzz/parser_laws.h"
#include "host/byte_text.h"
#include "host/ntrip_dialogue.h"

namespace {

using namespace vkcomm;
using namespace std::chrono_literals;
using vkcomm::fuzz::require;

constexpr std::string_view kPassword = "Zq7!";
constexpr std::size_t kLongestText = 1500;
constexpr int kMostAlarms = 1000;

struct Outcome {
    std::string corrections;
    std::string table;
    std::vector<NtripFailure> failures;
    NtripState state;

    friend bool operator==(const Outcome&, const Outcome&) = default;
};

void look(NtripDialogue& dialogue, Outcome& outcome) {
    const NtripOutput output = dialogue.takeOutput();
    for (const CorrectionBlock& block : output.blocks)
        outcome.corrections += block.bytes;
    for (const NtripEvent& event : output.events) {
        if (event.failure != NtripFailure::kNone) outcome.failures.push_back(event.failure);
        require(
            std::ranges::none_of(event.text, [](char c) { return static_cast<unsigned char>(c) < 0x20; }));
        require(event.text.size() < kLongestText && event.text.find(kPassword) == std::string::npos);
    }
}

// Nothing comes any more: until the connection is given up, or longer, until the next one is to be made.
enum class Until { kGivenUp, kNextTry };

void waitLong(NtripDialogue& dialogue, std::chrono::milliseconds& now, Until until) {
    for (int alarms = 0; dialogue.state() != NtripState::kOver; ++alarms) {
        const bool isPausing = dialogue.state() == NtripState::kPausing;
        if (isPausing && until == Until::kGivenUp) return;
        require(alarms < kMostAlarms && dialogue.dueAt());
        now = std::max(now, *dialogue.dueAt());
        dialogue.passTime(now, [] { return std::string("GGA"); });
        if (isPausing) return;
    }
}

Outcome answered(const char* mount, std::string_view bytes, std::size_t piece) {
    CasterUrl caster;
    caster.host = "caster";
    caster.mount = mount;
    caster.user = "me";
    caster.password = kPassword;
    NtripOptions options;
    options.seed = 1;
    NtripDialogue dialogue(caster, options);
    Outcome outcome{};
    std::chrono::milliseconds now = 1s;
    const auto connection = [&] {
        dialogue.connected(now, [] { return std::string(); });
        for (std::string_view rest = bytes; !rest.empty(); rest.remove_prefix(std::min(piece, rest.size())))
            dialogue.received(rest.substr(0, piece), now);
        look(dialogue, outcome);
    };
    dialogue.start(now);
    connection();
    dialogue.closed(now);
    waitLong(dialogue, now, Until::kNextTry);
    connection();
    waitLong(dialogue, now, Until::kGivenUp);
    look(dialogue, outcome);
    outcome.table = dialogue.table();
    outcome.state = dialogue.state();
    require(outcome.corrections.size() == dialogue.totals().bytes);
    require(outcome.state == NtripState::kPausing || outcome.state == NtripState::kOver);
    return outcome;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1) return 0;
    const std::size_t piece = data[0] + 1U;
    const std::string_view bytes = textOf(ByteSpan(data, size).subspan(1));
    for (const char* mount : {"M", ""}) {
        const Outcome whole = answered(mount, bytes, bytes.size());
        require(answered(mount, bytes, piece) == whole);
        require(answered(mount, bytes, 1) == whole);
        require(whole.corrections.size() <= 2 * bytes.size() && whole.table.size() <= bytes.size());
    }
    return 0;
}
