// Any bytes as any OEM4 log, the first byte choosing which: no crash and no read beyond the end; a frame that
// is too short changes nothing, byte for byte; one that is not replaces its values wholly, so that written
// back they are the frame again; and the GGA sentence is well-formed whatever the state.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>

#include "vkcomm/formats/oem4_format.h"

namespace {

using namespace vkcomm;

void require(bool holds) {
    if (!holds) std::abort();
}

// What an operation can change.
struct State {
    CNOEM4Format parser;
    REFSTATIONB_DATA station;
    PASSCOMB_LOG passed;
    tag_PellEpoch epoch;
    tag_PellStation pell;
};

static_assert(std::is_trivially_copyable_v<State>);

// Compares a frame with values written back in order.
class Expected {
public:
    explicit Expected(const unsigned char* at) : m_at(at) {}

    template <typename T>
    Expected& le(T value) {
        unsigned char bytes[sizeof(T)];
        storeLe(bytes, value);
        return raw(bytes, sizeof(T));
    }

    template <typename Array>
    Expected& all(const Array& values) {
        return raw(values.data(), values.size());
    }

private:
    Expected& raw(const void* bytes, std::size_t size) {
        require(std::memcmp(m_at, bytes, size) == 0);
        m_at += size;
        return *this;
    }

    const unsigned char* m_at;
};

void checkHeader(const State& state, ByteSpan frame) {
    const Oem4Header& h = state.parser.Header();
    Expected(frame.data() + 3)
        .le(h.headerLength)
        .le(h.messageId)
        .le(h.messageType)
        .le(h.portAddress)
        .le(h.messageLength)
        .le(h.sequence)
        .le(h.idleTime)
        .le(h.timeStatus)
        .le(h.week)
        .le(h.milliseconds)
        .le(h.receiverStatus)
        .le(h.reserved)
        .le(h.softwareVersion);
}

void checkBestpos(const State& state, ByteSpan frame) {
    checkHeader(state, frame);
    if (frame[6] >= 128) return;
    const BestposBody& b = state.parser.Bestpos();
    Expected(frame.data() + 28).le(b.solutionStatus).le(b.positionType).le(b.latitude).le(b.longitude);
    Expected(frame.data() + 60).le(b.undulation).le(b.datum);
    Expected(frame.data() + 80)
        .all(b.baseStation)
        .le(b.differentialAge)
        .le(b.solutionAge)
        .le(b.satellitesTracked)
        .le(b.satellitesUsed)
        .le(b.satellitesL1)
        .le(b.satellitesL1L2)
        .le(b.reserved68)
        .le(b.extendedStatus)
        .le(b.reserved70)
        .le(b.signalMask);
    require(state.parser.Position().satellitesUsed == b.satellitesUsed);
}

void checkPsrdop(const State& state, ByteSpan frame) {
    checkHeader(state, frame);
    const PsrdopBody& d = state.parser.Psrdop();
    Expected(frame.data() + 28)
        .le(d.gdop)
        .le(d.pdop)
        .le(d.hdop)
        .le(d.htdop)
        .le(d.tdop)
        .le(d.elevationCutOff)
        .le(d.satellites);
}

void checkVersion(const State& state, ByteSpan frame) {
    checkHeader(state, frame);
    const VersionComponent& v = state.parser.Version();
    Expected(frame.data() + 32)
        .le(v.type)
        .all(v.model)
        .all(v.serialNumber)
        .all(v.hardware)
        .all(v.software)
        .all(v.boot)
        .all(v.compileDate)
        .all(v.compileTime);
}

void checkRange(const RangeObservation& range, const unsigned char* record) {
    if ((record[17] & 63) == 63) return;
    require(range.prn == (record[17] & 63));
    require(range.trackingStatus == (record[0] & 31u));
    require(range.pseudorange >= 0.0 && range.pseudorange < 536'870'912.0);
    require(range.cn0 >= 20.0f && range.cn0 <= 51.0f);
    require(range.lockTime >= 0.0f && range.lockTime < 65536.0f);
    const bool locked = range.trackingStatus == 4 || range.trackingStatus == 11;
    require(std::isfinite(range.accumulatedDoppler) == locked);
    if (!locked) return;
    const double wavelength = range.trackingStatus == 4 ? 0.1902936727984 : 0.2442102134246;
    require(std::abs(range.accumulatedDoppler + range.pseudorange / wavelength) <= 4'194'304.01);
}

void checkRanges(const State& state, ByteSpan frame) {
    const RangeData& ranges = state.parser.Ranges();
    require(ranges.count == std::min(loadLe<std::uint32_t>(frame.data() + 28), 24u));
    for (std::size_t i = 0; i < ranges.count; ++i)
        checkRange(ranges.slots[i], frame.data() + 32 + 24 * i);
}

void checkSatellites(const State& state, ByteSpan frame) {
    const SatelliteMessage& message = state.parser.Satellites();
    require(message.count == std::min<std::size_t>(frame[28], 24));
    Expected(frame.data() + 28)
        .all(std::string(message.raw.begin(), message.raw.begin() + 6 + 12 * message.count));
    for (std::size_t i = 0; i < 24; ++i) {
        const SatelliteEntry& e = message.table[i];
        const unsigned char* const record = frame.data() + 34 + 12 * i;
        if (i < message.count) {
            Expected(record).le(e.byte0).le(e.word1).le(e.byte3).le(e.byte4);
            require(e.byte5 == record[5] && e.byte9 == record[9]);
        } else {
            require(e.byte0 == 0 && e.word1 == 0 && e.byte9 == 0.0f);
        }
    }
}

void checkEphemeris(const State& state, ByteSpan frame) {
    checkHeader(state, frame);
    const CEphemeris& e = state.parser.Ephemeris();
    Expected(frame.data() + 28).le(e.prn).le(e.week).le(e.referenceSeconds);
    for (const double angle : {e.m0, e.omega0, e.omega, e.i0})
        require(std::abs(angle) < 3.1416);
    require(e.e >= 0.0 && e.e < 0.5);
    require(e.health < 64 && e.iodc < 1024 && e.uraIndex < 16);
}

void checkEpoch(const State& state, ByteSpan frame) {
    require(state.epoch.week == loadLe<std::uint16_t>(frame.data() + 14));
    require(state.epoch.satelliteCount <= 28 && state.epoch.satelliteCount <= frame[28]);
    for (std::size_t i = 0; i < state.epoch.satelliteCount; ++i) {
        require(state.epoch.prn[i] > 0 && state.epoch.prn[i] < 63 && state.epoch.l1Present[i] != 0);
        require(std::isfinite(state.epoch.l1Phase[i]) && std::isfinite(state.epoch.l2Phase[i]));
        require(state.epoch.l2Present[i] != 0 || state.epoch.l2Pseudorange[i] == 0.0);
    }
}

void checkStation(const State& state, ByteSpan body) {
    Expected(body.data()).le(state.pell.station).le(state.pell.x).le(state.pell.y).le(state.pell.z);
}

void check915(const State& state, ByteSpan frame) {
    checkHeader(state, frame);
    const ServerMessage915& message = state.parser.Message915();
    Expected(frame.data() + 28).all(message.body);
    if (frame[48] == 12) Expected(frame.data() + 52).all(message.tail12);
    if (frame[48] == 16) Expected(frame.data() + 52).all(message.tail16);
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

struct Operation {
    std::size_t head;                // bytes that tell how many the frame needs
    std::size_t (*needs)(ByteSpan);  // asked only when head bytes are there
    void (*run)(State&, ByteSpan);
    void (*point)(State&, const unsigned char*);
    void (*check)(const State&, ByteSpan);
};

template <std::size_t Size>
std::size_t fixed(ByteSpan) {
    return Size;
}

const Operation kOperations[] = {
    {28, [](ByteSpan f) -> std::size_t { return f[6] < 128 ? 100 : 28; },
     [](State& s, ByteSpan f) { s.parser.vProcessBestposB(f); },
     [](State& s, const unsigned char* f) { s.parser.vProcessBestposB(f); }, checkBestpos},
    {0, fixed<56>, [](State& s, ByteSpan f) { s.parser.vProcessPsrDOPB(f); },
     [](State& s, const unsigned char* f) { s.parser.vProcessPsrDOPB(f); }, checkPsrdop},
    {32,
     [](ByteSpan f) { return 32 + 24 * std::size_t{std::min(loadLe<std::uint32_t>(f.data() + 28), 24u)}; },
     [](State& s, ByteSpan f) { s.parser.vProcessRangeCMPB(f); },
     [](State& s, const unsigned char* f) { s.parser.vProcessRangeCMPB(f); }, checkRanges},
    {29, [](ByteSpan f) { return 34 + 12 * std::min<std::size_t>(f[28], 24); },
     [](State& s, ByteSpan f) { s.parser.vProcessSatMsgB(f); },
     [](State& s, const unsigned char* f) { s.parser.vProcessSatMsgB(f); }, checkSatellites},
    {0, fixed<140>, [](State& s, ByteSpan f) { s.parser.vProcessVerDataB(f); },
     [](State& s, const unsigned char* f) { s.parser.vProcessVerDataB(f); }, checkVersion},
    {0, fixed<130>, [](State& s, ByteSpan f) { s.parser.vProcessRawEphemB(f); },
     [](State& s, const unsigned char* f) { s.parser.vProcessRawEphemB(f); }, checkEphemeris},
    {29, epochNeeds, [](State& s, ByteSpan f) { s.parser.vProcessMessage912(f, s.epoch); }, nullptr,
     checkEpoch},
    {0, fixed<28>, [](State& s, ByteSpan f) { s.parser.vProcessMessage913(f, s.pell); },
     [](State& s, const unsigned char* f) { s.parser.vProcessMessage913(f, s.pell); }, checkStation},
    {52, [](ByteSpan f) -> std::size_t { return f[48] == 12 || f[48] == 16 ? 52 + f[48] : 52; },
     [](State& s, ByteSpan f) { s.parser.vProcessMessage915(f); },
     [](State& s, const unsigned char* f) { s.parser.vProcessMessage915(f); }, check915},
    {0, fixed<69>, [](State& s, ByteSpan f) { s.parser.vProcessRefStationB(f, s.station); },
     [](State& s, const unsigned char* f) { s.parser.vProcessRefStationB(f, s.station); },
     [](const State& s, ByteSpan f) { Expected(f.data()).all(s.station.bytes); }},
    {0, fixed<112>, [](State& s, ByteSpan f) { s.parser.vProcessPasscom2B(f, s.passed); },
     [](State& s, const unsigned char* f) { s.parser.vProcessPasscom2B(f, s.passed); },
     [](const State& s, ByteSpan f) { Expected(f.data()).all(s.passed.bytes); }},
};

// A state in which nothing is zero any more.
void soil(State& state) {
    unsigned char bytes[1024];
    std::memset(bytes, 0x31, sizeof bytes);
    bytes[48] = 16;
    for (const Operation& operation : kOperations)
        operation.run(state, ByteSpan(bytes));
}

void checkSentence(const std::wstring& sentence) {
    const auto count = [&](wchar_t c) { return std::count(sentence.begin(), sentence.end(), c); };
    require(sentence.starts_with(L"$GPGGA,") && sentence.ends_with(L"\r\n"));
    require(count(L',') == 14 && count(L'*') == 1 && count(L'$') == 1);
    require(std::none_of(sentence.begin(), sentence.end(), [](wchar_t c) { return c >= L'a' && c <= L'z'; }));
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
        if (operation.point) {
            operation.point(*state, frame.data());
            operation.check(*state, frame);
        }
    }
    checkSentence(state->parser.strGetGPGGA());
    return 0;
}
