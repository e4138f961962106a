// Any bytes as any OEM4 log, the first byte choosing which: no crash and no read beyond the bytes that the
// log needs; with one byte less nothing changes; span and pointer form do the same, and a null pointer
// nothing; the bits of a compressed range follow from what it expands to; the GGA sentence is well-formed in
// every state.
#include <cmath>
#include <cstring>
#include <tuple>
#include <type_traits>
#include <vector>

#include "fuzz/parser_laws.h"
#include "vkcomm/formats/oem4_format.h"

namespace {

using namespace vkcomm;
using vkcomm::fuzz::require;

// What an operation can change.
struct State {
    CNOEM4Format parser;
    REFSTATIONB_DATA station;
    PASSCOMB_LOG passed;
    tag_PellEpoch epoch;
    tag_PellStation pell;
};

static_assert(std::is_trivially_copyable_v<State>);

// Something of every area.
auto digest(const State& s) {
    const CNOEM4Format& p = s.parser;
    return std::tuple(p.Header().milliseconds, p.Bestpos().solutionStatus, p.Position().seconds,
                      p.Version().type, p.Psrdop().satellites, p.Ranges().count,
                      p.Ranges().slots[3].pseudorange, p.Satellites().raw, p.Ephemeris().prn,
                      p.Message915().body, p.Message915().tail16, s.epoch.seconds, s.epoch.satelliteCount,
                      s.pell.station, s.station.bytes, s.passed.bytes);
}

// The bytes that the logs take; more than the frame has when it ends before it tells how many.

std::size_t bestposNeeds(ByteSpan frame) { return frame.size() < 28 || frame[6] >= 128 ? 28 : 100; }

std::size_t rangesNeed(ByteSpan frame) {
    return frame.size() < 32 ? 32 : 32 + 24 * std::min<std::size_t>(loadLe<std::uint32_t>(&frame[28]), 24);
}

std::size_t satellitesNeed(ByteSpan frame) {
    return frame.size() < 34 ? 34 : 34 + 12 * std::min<std::size_t>(frame[28], 24);
}

// PRN bytes without a satellite count as one.
std::size_t epochNeeds(ByteSpan frame) {
    if (frame.size() < 29 || frame[28] > 28) return 29;
    std::size_t at = 44;
    for (int turn = 0; turn < frame[28]; ++turn) {
        if (at >= frame.size()) return at + 1;
        at += frame[at] > 0 && frame[at] < 63 ? std::size_t{22} : std::size_t{1};
    }
    return at;
}

std::size_t needs915(ByteSpan frame) {
    return frame.size() >= 52 && (frame[48] == 12 || frame[48] == 16) ? std::size_t{52} + frame[48] : 52;
}

template <std::size_t Size>
std::size_t fixed(ByteSpan) {
    return Size;
}

struct Operation {
    std::size_t (*needs)(ByteSpan);
    void (*onSpan)(State&, ByteSpan);
    void (*onPointer)(State&, const unsigned char*);

    template <typename Run>
    Operation(std::size_t (*size)(ByteSpan), Run run) : needs(size), onSpan(run), onPointer(run) {}
};

const Operation kOperations[] = {
    {bestposNeeds, [](State& s, auto f) { s.parser.vProcessBestposB(f); }},
    {fixed<56>, [](State& s, auto f) { s.parser.vProcessPsrDOPB(f); }},
    {rangesNeed, [](State& s, auto f) { s.parser.vProcessRangeCMPB(f); }},
    {satellitesNeed, [](State& s, auto f) { s.parser.vProcessSatMsgB(f); }},
    {fixed<140>, [](State& s, auto f) { s.parser.vProcessVerDataB(f); }},
    {fixed<130>, [](State& s, auto f) { s.parser.vProcessRawEphemB(f); }},
    {epochNeeds, [](State& s, auto f) { s.parser.vProcessMessage912(f, s.epoch); }},
    {fixed<28>, [](State& s, auto f) { s.parser.vProcessMessage913(f, s.pell); }},
    {needs915, [](State& s, auto f) { s.parser.vProcessMessage915(f); }},
    {fixed<69>, [](State& s, auto f) { s.parser.vProcessRefStationB(f, s.station); }},
    {fixed<112>, [](State& s, auto f) { s.parser.vProcessPasscom2B(f, s.passed); }},
    {fixed<24>, [](State& s, auto f) { s.parser.ProcessRangeCMPData(3, f); }},
};

// A state in which nothing is zero any more.
State soiled() {
    State state;
    std::vector<unsigned char> bytes(1024, 0x31);
    bytes[28] = 24;
    bytes[48] = 16;
    for (const Operation& operation : kOperations)
        operation.onSpan(state, bytes);
    return state;
}

void requireNoChange(const Operation& operation, ByteSpan frame) {
    State state = soiled();
    std::array<unsigned char, sizeof(State)> before;
    std::memcpy(before.data(), &state, sizeof(State));
    operation.onSpan(state, frame);
    require(std::memcmp(before.data(), &state, sizeof(State)) == 0);
}

// The fields of the record, worked out from the observation.
void requireRange(const RangeObservation& range, const unsigned char* record) {
    if ((record[17] & 63) == 63) return;
    require(range.prn == (record[17] & 63) && range.trackingStatus == (record[0] & 31u));
    require(range.pseudorange * 128.0 == static_cast<double>(loadLe<std::uint64_t>(record + 4) >> 28));
    require(range.lockTime * 32.0f == static_cast<float>(loadLe<std::uint32_t>(record + 18) & 0x1F'FFFFu));
    require(range.cn0 - 20.0f == static_cast<float>(loadLe<std::uint16_t>(record + 20) >> 5 & 31));
    const double wavelength = range.trackingStatus == 4 ? kWavelengthL1 : kWavelengthL2;
    const bool locked = range.trackingStatus == 4 || range.trackingStatus == 11;
    require(std::isfinite(range.accumulatedDoppler) == locked);
    if (!locked) return;
    require(std::abs(range.accumulatedDoppler + range.pseudorange / wavelength) <= 4'194'304.01);
    const double sent = loadLe<std::uint32_t>(record + 12) / 256.0;
    require(std::fmod(range.accumulatedDoppler - sent, 8'388'608.0) == 0.0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const Operation& operation = kOperations[data[0] % std::size(kOperations)];
    const ByteSpan frame(data + 1, size - 1);
    const std::size_t needed = operation.needs(frame);
    if (frame.size() < needed) {
        requireNoChange(operation, frame);
        return 0;
    }
    // In memory of their own, so that reading beyond does not go unseen.
    requireNoChange(operation, std::vector<unsigned char>(data + 1, data + needed));
    const std::vector<unsigned char> enough(data + 1, data + 1 + needed);
    State bySpan = soiled(), byPointer = bySpan;
    operation.onSpan(bySpan, enough);
    operation.onPointer(byPointer, enough.data());
    require(digest(bySpan) == digest(byPointer));
    operation.onPointer(byPointer, nullptr);
    require(digest(bySpan) == digest(byPointer));
    if (operation.needs == rangesNeed)
        for (std::size_t i = 0; i < bySpan.parser.Ranges().count; ++i)
            requireRange(bySpan.parser.Ranges().slots[i], &enough[32 + 24 * i]);
    fuzz::requireGga(bySpan.parser.strGetGPGGA());
    return 0;
}
