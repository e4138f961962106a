// The parsers: what they add to framing, what they ask of the heap, and how fast sentences are made.
#include <cstring>
#include <functional>
#include <string>

#include "bench/streams.h"
#include "host/genout_reassembler.h"
#include "host/javad_framer.h"
#include "sim/oem4_encoder.h"
#include "sim/oem4_log.h"
#include "vkcomm/decode/record_ids.h"
#include "vkcomm/formats/cmc_format.h"
#include "vkcomm/formats/csi_format.h"
#include "vkcomm/formats/oem4_format.h"
#include "vkcomm/formats/trimble_format.h"

namespace vkcomm::bench {
namespace {

// ---- decoding and parsing a mixed OEM4 stream

unsigned idOf(ByteSpan log) { return loadLe<std::uint16_t>(log.data() + 4); }

// BESTPOS, PSRDOP and a RANGECMP of sixteen observations, on two frequencies, every second.
Input positionsAndRanges() {
    constexpr std::size_t kSatellites = 8;
    Input input;
    const sim::Truth truth({});
    for (int second = 0; second < kSeconds; ++second) {
        sim::Epoch epoch = truth.at(second * 1000);
        epoch.satellites.resize(kSatellites);  // the first of them are those of GPS
        sim::Piece piece;
        sim::encodeOem4(epoch, piece);
        for (std::size_t i = 0; i < piece.frames.size(); ++i) {
            const unsigned id = idOf(piece.frameBytes(i));
            if (id != kOem4Bestpos && id != kOem4Psrdop && id != kOem4Rangecmp) continue;
            input.bytes.insert(input.bytes.end(), piece.frameBytes(i).begin(), piece.frameBytes(i).end());
            ++input.frames;
        }
    }
    return input;
}

const Input& oem4Mix() {
    static const Input input = positionsAndRanges();
    return input;
}

void frameOem4Mix(benchmark::State& state) {
    decodeIn(state, oem4Mix(), maskOf("oem4"),
             [](const CNOut& record) { benchmark::DoNotOptimize(record.Get()); });
}

void parseOem4Mix(benchmark::State& state) {
    CNOEM4Format parser;
    decodeIn(state, oem4Mix(), maskOf("oem4"), [&parser](const CNOut& record) {
        switch (record.Id()) {
        case kOem4Bestpos: parser.vProcessBestposB(record.RecordBytes()); break;
        case kOem4Psrdop: parser.vProcessPsrDOPB(record.RecordBytes()); break;
        case kOem4Rangecmp: parser.vProcessRangeCMPB(record.RecordBytes()); break;
        default: break;
        }
    });
    benchmark::DoNotOptimize(parser.Position());
}

// ---- what every operation asks of the heap

struct Operation {
    std::string name;
    Bytes input;
    std::function<void(ByteSpan)> process;
};

// Each runs once to get its memory, then counts; one that goes on asking is named.
void countAllocations(benchmark::State& state, const std::vector<Operation>& operations) {
    for (const Operation& operation : operations)
        operation.process(operation.input);
    std::uint64_t allocated = 0;
    for (auto _ : state)
        for (const Operation& operation : operations) {
            const std::uint64_t before = allocations();
            operation.process(operation.input);
            if (allocations() == before) continue;
            allocated += allocations() - before;
            state.SetLabel(operation.name + " asks for memory");
        }
    const auto records = state.iterations() * static_cast<std::int64_t>(operations.size());
    state.SetItemsProcessed(records);
    state.counters["allocs"] = static_cast<double>(allocated) / static_cast<double>(records);
}

// The first frame of a simulated recording that has that byte at an offset.
Bytes frameWith(const char* family, std::size_t at, unsigned value) {
    const sim::Piece piece = sim::makeRecording({.family = family, .seconds = 200});
    for (std::size_t i = 0; i < piece.frames.size(); ++i) {
        const ByteSpan frame = piece.frameBytes(i);
        if (frame.size() > at && frame[at] == (value & 0xFF)) return {frame.begin(), frame.end()};
    }
    std::abort();
}

Bytes oem4Log(unsigned id) { return frameWith(id < kOem4ServerEpoch ? "oem4" : "oem4-server", 4, id); }

// A body of zeros, for what is copied or counted only.
Bytes blankLog(unsigned id) {
    const Bytes body(120);
    sim::Piece piece;
    sim::addOem4Log(static_cast<std::uint16_t>(id), {}, body, piece);
    return piece.bytes;
}

void processOem4(benchmark::State& state) {
    CNOEM4Format p;
    REFSTATIONB_DATA station;
    PASSCOMB_LOG passed;
    tag_PellEpoch epoch;
    tag_PellStation server;
    countAllocations(
        state,
        {{"BestposB", oem4Log(kOem4Bestpos), [&](ByteSpan b) { p.vProcessBestposB(b); }},
         {"PsrDOPB", oem4Log(kOem4Psrdop), [&](ByteSpan b) { p.vProcessPsrDOPB(b); }},
         {"RangeCMPB", oem4Log(kOem4Rangecmp), [&](ByteSpan b) { p.vProcessRangeCMPB(b); }},
         {"SatMsgB", blankLog(0), [&](ByteSpan b) { p.vProcessSatMsgB(b); }},
         {"VerDataB", oem4Log(kOem4Version), [&](ByteSpan b) { p.vProcessVerDataB(b); }},
         {"RefStationB", blankLog(kOem4Refstation), [&](ByteSpan b) { p.vProcessRefStationB(b, station); }},
         {"Passcom2B", blankLog(kOem4Passcom2), [&](ByteSpan b) { p.vProcessPasscom2B(b, passed); }},
         {"RawEphemB", oem4Log(kOem4Rawephem), [&](ByteSpan b) { p.vProcessRawEphemB(b); }},
         {"Message912", oem4Log(kOem4ServerEpoch), [&](ByteSpan b) { p.vProcessMessage912(b, epoch); }},
         {"Message913", oem4Log(kOem4ServerStation),
          [&](ByteSpan b) { p.vProcessMessage913(b.subspan(28), server); }},
         {"Message915", oem4Log(kOem4ServerMessage915), [&](ByteSpan b) { p.vProcessMessage915(b); }}});
}

Bytes trimblePacket(unsigned type) { return frameWith("trimble", 2, type); }

ByteSpan dataOf(ByteSpan packet) { return packet.subspan(4, packet.size() - 6); }

void processGsof(benchmark::State& state) {
    CTrimbleFormat p;
    GenoutReassembler pages;
    countAllocations(
        state,
        {{"Genout", trimblePacket(kTrimbleGenout),
          [&](ByteSpan b) {
              if (pages.add(b)) p.vProcessGenout(pages.report());
          }},
         {"RawData", Bytes(40, 1), [&](ByteSpan b) { p.vProcessRawData(b); }},
         {"Retsvdata", trimblePacket(kTrimbleRetsvdata),
          [&](ByteSpan b) { p.vProcessRetsvdata(dataOf(b).subspan(2)); }},
         {"Recstat1", trimblePacket(kTrimbleRecstat1), [&](ByteSpan b) { p.vProcessRecstat1(dataOf(b)); }},
         {"Retopt", trimblePacket(kTrimbleRetopt), [&](ByteSpan b) { p.vProcessRetopt(dataOf(b)); }}});
}

Bytes cmcMessage(unsigned number) { return frameWith("cmc", 1, number); }

void processCmc(benchmark::State& state) {
    CCMCFormat p;
    countAllocations(state, {{"20", cmcMessage(20), [&](ByteSpan b) { p.vProcress20Dat(b); }},
                             {"30", cmcMessage(30), [&](ByteSpan b) { p.vProcess30Dat(b); }},
                             {"33", cmcMessage(33), [&](ByteSpan b) { p.vProcess33Dat(b); }},
                             {"45", cmcMessage(45), [&](ByteSpan b) { p.vProcess45Dat(b); }},
                             {"49", cmcMessage(49), [&](ByteSpan b) { p.vProcess49Dat(b); }},
                             {"75", cmcMessage(75), [&](ByteSpan b) { p.vProcess75Dat(b); }}});
}

Bytes binMessage(unsigned number) { return frameWith("csi", 4, number); }

void processBin(benchmark::State& state) {
    CCSIFormat p;
    countAllocations(state, {{"1", binMessage(1), [&](ByteSpan b) { p.ProcessSBinaryMsg1(b); }},
                             {"2", binMessage(2), [&](ByteSpan b) { p.ProcessSBinaryMsg2(b); }},
                             {"99", binMessage(99), [&](ByteSpan b) { p.ProcessSBinaryMsg99(b); }},
                             {"96", binMessage(96), [&](ByteSpan b) { p.ProcessSBinaryMsg96(b); }}});
}

// ---- GGA sentences

template <typename Parser>
void makeSentences(benchmark::State& state, const Parser& parser) {
    for (auto _ : state)
        benchmark::DoNotOptimize(parser.strGetGPGGA());
    state.SetItemsProcessed(state.iterations());
}

void ggaOem4(benchmark::State& state) {
    CNOEM4Format parser;
    parser.vProcessBestposB(ByteSpan(oem4Log(kOem4Bestpos)));
    makeSentences(state, parser);
}

void ggaTrimble(benchmark::State& state) {
    GenoutReassembler pages;
    pages.add(trimblePacket(kTrimbleGenout));
    CTrimbleFormat parser;
    parser.vProcessGenout(pages.report());
    makeSentences(state, parser);
}

void ggaJavad(benchmark::State& state) {
    CJavadFormat parser;
    JavadFramer framer;
    framer.feed(sim::makeRecording({.family = "javad", .seconds = 1}).bytes);
    while (const auto message = framer.next())
        storeJavadMessage(parser, *message);
    makeSentences(state, parser);
}

void ggaCmc(benchmark::State& state) {
    CCMCFormat parser;
    parser.vProcress20Dat(ByteSpan(cmcMessage(20)));
    makeSentences(state, parser);
}

BENCHMARK(frameOem4Mix)->Arg(4096);
BENCHMARK(parseOem4Mix)->Arg(4096);
BENCHMARK(processOem4);
BENCHMARK(processGsof);
BENCHMARK(processCmc);
BENCHMARK(processBin);
BENCHMARK(ggaOem4);
BENCHMARK(ggaTrimble);
BENCHMARK(ggaJavad);
BENCHMARK(ggaCmc);

}  // namespace
}  // namespace vkcomm::bench
