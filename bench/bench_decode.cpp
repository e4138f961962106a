// Decoding speed, as bytes per second and as ratios to plain loops over the same bytes in the same run.
#include <benchmark/benchmark.h>

#include <cstring>

#include "bench/streams.h"
#include "vkcomm/decode/record_names.h"
#include "vkcomm/formats/nmea_format.h"
#include "vkcomm/util/checksums.h"

namespace vkcomm::bench {
namespace {

const Input& nmea() {
    static const Input input = recording("nmea");
    return input;
}

const Input& oem4() {
    static const Input input = recording("oem4");
    return input;
}

// Both in turns, some seconds of each, as a receiver that sends both would.
const Input& mixed() {
    static const Input input = [] {
        Input both;
        sim::RecordingWriter text = writer("nmea");
        sim::RecordingWriter binary = writer("oem4");
        for (sim::Piece piece; text.next(piece);) {
            both.add(piece);
            if (binary.next(piece)) both.add(piece);
        }
        return both;
    }();
    return input;
}

// ---- reference loops

void referenceMemcpy(benchmark::State& state) {
    const Bytes& bytes = nmea().bytes;
    Bytes copy(bytes.size());
    for (auto _ : state) {
        std::memcpy(copy.data(), bytes.data(), bytes.size());
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    }
    setBytes(state, bytes);
}

void referenceLineWalk(benchmark::State& state) {
    const Bytes& bytes = nmea().bytes;
    for (auto _ : state) {
        unsigned char check = 0;
        unsigned total = 0;
        for (const unsigned char byte : bytes) {
            if (byte == '\n') {
                total += check;
                check = 0;
            } else {
                check = static_cast<unsigned char>(check ^ byte);
            }
        }
        benchmark::DoNotOptimize(total);
    }
    setBytes(state, bytes);
}

void referenceFrameWalk(benchmark::State& state) {
    const Bytes& bytes = oem4().bytes;
    for (auto _ : state) {
        unsigned good = 0;
        for (std::size_t at = 0; at + 32 <= bytes.size();) {
            const std::size_t size = 32u + loadLe<std::uint16_t>(bytes.data() + at + 8);
            good += crc32Of({bytes.data() + at, size}) == 0;
            at += size;
        }
        benchmark::DoNotOptimize(good);
    }
    setBytes(state, bytes);
}

void referenceTableCrc(benchmark::State& state) {
    const Bytes& bytes = oem4().bytes;
    for (auto _ : state) {
        std::uint32_t crc = 0;
        for (const unsigned char byte : bytes)
            crc = CCrc32::m_ulCrcTable[(crc ^ byte) & 0xFF] ^ crc >> 8;
        benchmark::DoNotOptimize(crc);
    }
    setBytes(state, bytes);
}

// ---- the decoder

void parseNmea(CNmeaFormat& parser, const CNOut& record) {
    switch (nmeaFormatter(record.Id())) {
    case kNmeaGga: parser.bProcessGGA(record.RecordBytes()); break;
    case kNmeaGsa: parser.bProcessGSA(record.RecordBytes()); break;
    case kNmeaGst: parser.bProcessGST(record.RecordBytes()); break;
    case kNmeaRmc: parser.bProcessRMC(record.RecordBytes()); break;
    case kNmeaZda: parser.bProcessZDA(record.RecordBytes()); break;
    default: break;
    }
}

void decodeNmea(benchmark::State& state, std::uint32_t mask) {
    CNmeaFormat parser;
    decodeIn(state, nmea(), mask, [&parser](const CNOut& record) { parseNmea(parser, record); });
    benchmark::DoNotOptimize(parser.Fix());
}

void decodeNmeaFamily(benchmark::State& state) { decodeNmea(state, maskOf("nmea")); }

void decodeNmeaUnparsed(benchmark::State& state) {
    decodeIn(state, nmea(), maskOf("nmea"),
             [](const CNOut& record) { benchmark::DoNotOptimize(record.Get()); });
}

void decodeNmeaWholeMask(benchmark::State& state) { decodeNmea(state, kDecodeAll); }

void decodeOem4Family(benchmark::State& state) {
    decodeIn(state, oem4(), maskOf("oem4"),
             [](const CNOut& record) { benchmark::DoNotOptimize(record.Get()); });
}

void decodeOem4WholeMask(benchmark::State& state) {
    decodeIn(state, oem4(), kDecodeAll, [](const CNOut& record) { benchmark::DoNotOptimize(record.Get()); });
}

void decodeMixedWholeMask(benchmark::State& state) {
    CNmeaFormat parser;
    decodeIn(state, mixed(), kDecodeAll, [&parser](const CNOut& record) {
        if (record.Type() == LOG_NMEA) parseNmea(parser, record);
    });
}

BENCHMARK(referenceMemcpy);
BENCHMARK(referenceLineWalk);
BENCHMARK(referenceFrameWalk);
BENCHMARK(referenceTableCrc);
BENCHMARK(decodeNmeaFamily)->Arg(4096)->Arg(64)->Arg(1);
BENCHMARK(decodeOem4Family)->Arg(4096)->Arg(64)->Arg(1);
BENCHMARK(decodeNmeaUnparsed)->Arg(4096);
BENCHMARK(decodeNmeaWholeMask)->Arg(4096);
BENCHMARK(decodeOem4WholeMask)->Arg(4096);
BENCHMARK(decodeMixedWholeMask)->Arg(4096);

}  // namespace
}  // namespace vkcomm::bench
