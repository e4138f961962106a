// Any bytes as any OEM4 log, the first byte choosing which: no crash and no read beyond the end; a frame that
// is too short changes nothing, byte for byte; from one that is not, pointer and span form store values that
// follow from it; and the GGA sentence is well-formed whatever the state.
#include <cmath>
#include <cstring>
#include <memory>
#include <type_traits>

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

template <typename T>
void requireSame(const unsigned char* at, const T& bytes, std::size_t size) {
    require(std::memcmp(at, bytes.data(), size) == 0);
}

void checkHeader(const State& state, ByteSpan frame) {
    const Oem4Header& header = state.parser.Header();
    require(header.messageId == loadLe<std::uint16_t>(&frame[4]) &&
            header.week == loadLe<std::uint16_t>(&frame[14]));
    require(header.milliseconds == loadLe<std::uint32_t>(&frame[16]));
}

void checkBestpos(const State& state, ByteSpan frame) {
    checkHeader(state, frame);
    const BestposBody& body = state.parser.Bestpos();
    require(frame[6] >= 128 ||
            (body.positionType == loadLe<std::uint32_t>(&frame[32]) && body.signalMask == frame[99]));
    require(state.parser.Position().satellitesUsed == body.satellitesUsed);
}

void checkRange(const RangeObservation& range, const unsigned char* record) {
    if ((record[17] & 63) == 63) return;
    require(range.prn == (record[17] & 63) && range.trackingStatus == (record[0] & 31u));
    require(range.pseudorange >= 0.0 && range.pseudorange < 536'870'912.0);
    require(range.cn0 >= 20.0f && range.cn0 <= 51.0f && range.lockTime >= 0.0f && range.lockTime < 65536.0f);
    const bool locked = range.trackingStatus == 4 || range.trackingStatus == 11;
    require(std::isfinite(range.accumulatedDoppler) == locked);
    const double wavelength = range.trackingStatus == 4 ? 0.1902936727984 : 0.2442102134246;
    require(!locked || std::abs(range.accumulatedDoppler + range.pseudorange / wavelength) <= 4'194'304.01);
}

void checkRanges(const State& state, ByteSpan frame) {
    const RangeData& ranges = state.parser.Ranges();
    require(ranges.count == std::min(loadLe<std::uint32_t>(&frame[28]), 24u));
    for (std::size_t i = 0; i < ranges.count; ++i)
        checkRange(ranges.slots[i], &frame[32 + 24 * i]);
}

void checkSatellites(const State& state, ByteSpan frame) {
    const SatelliteMessage& message = state.parser.Satellites();
    require(message.count == std::min<std::size_t>(frame[28], 24));
    requireSame(&frame[28], message.raw, 6 + 12 * message.count);
    for (std::size_t i = 0; i < 24; ++i) {
        const bool sent = i < message.count;
        require(message.table[i].byte0 == (sent ? frame[34 + 12 * i] : 0));
        require(message.table[i].byte9 == static_cast<float>(sent ? frame[43 + 12 * i] : 0));
    }
}

void checkEphemeris(const State& state, ByteSpan frame) {
    checkHeader(state, frame);
    const CEphemeris& e = state.parser.Ephemeris();
    for (const double angle : {e.m0, e.omega0, e.omega, e.i0})
        require(std::abs(angle) < 3.1416);
    require(e.prn == loadLe<std::uint32_t>(&frame[28]) && e.e >= 0.0 && e.e < 0.5);
    require(e.health < 64 && e.iodc < 1024 && e.uraIndex < 16);
}

void checkEpoch(const State& state, ByteSpan frame) {
    const tag_PellEpoch& e = state.epoch;
    require(e.satelliteCount <= 28 && e.satelliteCount <= frame[28]);
    for (std::size_t i = 0; i < e.satelliteCount; ++i) {
        require(e.prn[i] > 0 && e.prn[i] < 63 && e.l1Present[i] != 0);
        require(std::isfinite(e.l1Phase[i]) && std::isfinite(e.l2Phase[i]));
        require(e.l2Present[i] != 0 || e.l2Pseudorange[i] == 0.0);
    }
}

void check915(const State& state, ByteSpan frame) {
    const ServerMessage915& message = state.parser.Message915();
    requireSame(&frame[28], message.body, 24);
    if (frame[48] == 12) requireSame(&frame[52], message.tail12, 12);
    if (frame[48] == 16) requireSame(&frame[52], message.tail16, 16);
}

// The bytes that 912 takes, PRN bytes without a satellite counting as one; more than the frame has when it
// ends early.
std::size_t epochNeeds(ByteSpan frame) {
    if (frame[28] > 28) return 29;
    std::size_t at = 44;
    for (int turn = 0; turn < frame[28]; ++turn) {
        if (at >= frame.size()) return at + 1;
        at += frame[at] > 0 && frame[at] < 63 ? std::size_t{22} : std::size_t{1};
    }
    return at;
}

template <std::size_t Size>
std::size_t fixed(ByteSpan) {
    return Size;
}

struct Operation {
    std::size_t head;                // bytes that tell how many the frame needs
    std::size_t (*needs)(ByteSpan);  // asked only when head bytes are there
    void (*run)(State&, ByteSpan);
    void (*point)(State&, const unsigned char*);
    void (*check)(const State&, ByteSpan);

    template <typename Run>
    constexpr Operation(std::size_t bytes, std::size_t (*of)(ByteSpan), Run form,
                        void (*law)(const State&, ByteSpan))
        : head(bytes), needs(of), run(form), point(form), check(law) {}
};

// clang-format off
const Operation kOperations[] = {
    {28, [](ByteSpan f) -> std::size_t { return f[6] < 128 ? 100 : 28; },
     [](State& s, auto f) { s.parser.vProcessBestposB(f); }, checkBestpos},
    {0, fixed<56>, [](State& s, auto f) { s.parser.vProcessPsrDOPB(f); }, checkHeader},
    {32, [](ByteSpan f) { return 32 + 24 * std::size_t{std::min(loadLe<std::uint32_t>(&f[28]), 24u)}; },
     [](State& s, auto f) { s.parser.vProcessRangeCMPB(f); }, checkRanges},
    {29, [](ByteSpan f) { return 34 + 12 * std::min<std::size_t>(f[28], 24); },
     [](State& s, auto f) { s.parser.vProcessSatMsgB(f); }, checkSatellites},
    {0, fixed<140>, [](State& s, auto f) { s.parser.vProcessVerDataB(f); }, checkHeader},
    {0, fixed<130>, [](State& s, auto f) { s.parser.vProcessRawEphemB(f); }, checkEphemeris},
    {29, epochNeeds, [](State& s, auto f) { s.parser.vProcessMessage912(f, s.epoch); }, checkEpoch},
    {0, fixed<28>, [](State& s, auto f) { s.parser.vProcessMessage913(f, s.pell); },
     [](const State& s, ByteSpan f) { require(s.pell.station == loadLe<std::uint32_t>(f.data())); }},
    {52, [](ByteSpan f) -> std::size_t { return f[48] == 12 || f[48] == 16 ? 52 + f[48] : 52; },
     [](State& s, auto f) { s.parser.vProcessMessage915(f); }, check915},
    {0, fixed<69>, [](State& s, auto f) { s.parser.vProcessRefStationB(f, s.station); },
     [](const State& s, ByteSpan f) { requireSame(f.data(), s.station.bytes, 69); }},
    {0, fixed<112>, [](State& s, auto f) { s.parser.vProcessPasscom2B(f, s.passed); },
     [](const State& s, ByteSpan f) { requireSame(f.data(), s.passed.bytes, 112); }},
};

// clang-format on

// A state in which nothing is zero any more.
void soil(State& state) {
    std::string bytes(1024, '\x31');
    bytes[48] = 16;
    for (const Operation& operation : kOperations)
        operation.run(state, {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const Operation& operation = kOperations[data[0] % std::size(kOperations)];
    const ByteSpan frame(data + 1, size - 1);

    const auto state = std::make_unique<State>();
    soil(*state);
    const auto before = std::make_unique<State>();
    std::memcpy(static_cast<void*>(before.get()), state.get(), sizeof(State));
    operation.run(*state, frame);
    if (frame.size() < operation.head || frame.size() < operation.needs(frame)) {
        require(std::memcmp(before.get(), state.get(), sizeof(State)) == 0);
    } else {
        operation.check(*state, frame);
        // The pointer form of 912 may read the bytes of satellites that the frame need not have.
        if (operation.check == checkEpoch) return 0;
        operation.point(*before, frame.data());
        operation.check(*before, frame);
    }
    fuzz::requireGga(state->parser.strGetGPGGA());
    return 0;
}
