// Any bytes to any simulated receiver, cut anywhere: the same answers, state and refusals as uncut; no more is kept than
// the bound; settings are lines; what is no command comes out in order and never grows.
#include "fuzz/parser_laws.h"
#include "sim/commanded_receiver.h"

namespace {

using namespace vkcomm;
using namespace vkcomm::sim;
using vkcomm::fuzz::require;

constexpr const char* kFamilies[] = {"oem4", "trimble", "javad", "cmc", "csi", "maker", "nmea", "tsip"};

struct Effect {
    std::vector<unsigned char> answer, rest;
    std::string state;
    std::uint64_t obeyed, refused;

    friend bool operator==(const Effect&, const Effect&) = default;
};

Effect effectOf(const char* family, ByteSpan bytes, std::size_t piece) {
    const auto receiver = makeCommandedReceiver(family);
    Effect effect;
    while (!bytes.empty()) {
        const Reaction reaction = receiver->receive(fuzz::take(bytes, piece));
        effect.answer.insert(effect.answer.end(), reaction.answer.begin(), reaction.answer.end());
        effect.rest.insert(effect.rest.end(), reaction.rest.begin(), reaction.rest.end());
        require(receiver->held() < CommandedReceiver::kMostHeld);
        require(receiver->notes().size() <= CommandedReceiver::kMostNotes);
    }
    effect.state = receiver->state();
    effect.obeyed = receiver->obeyed();
    effect.refused = receiver->refused();
    return effect;
}

void requireLines(const std::string& state) {
    const auto isPlain = [](char c) { return c == '\n' || c == '\t' || (c >= ' ' && c <= '~'); };
    require(state.empty() || state.ends_with('\n'));
    require(std::all_of(state.begin(), state.end(), isPlain));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteSpan input(data, size);
    const char* family = kFamilies[fuzz::takeByte(input) % std::size(kFamilies)];
    const std::size_t piece = fuzz::takeByte(input) % 64 + 1;
    const Effect whole = effectOf(family, input, input.size());
    require(whole == effectOf(family, input, piece));
    requireLines(whole.state);
    return 0;
}
