// Runs the benchmarks and ends with a table of figures and their aims. Speeds are ratios to reference loops in
// the same run, so that they mean something on any machine.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <utility>

namespace {

struct Ratio {
    const char* name;
    const char* reference;
    double aim;                   // 0: none, for information
    const char* other = nullptr;  // given: the reference is the mean of both
};

constexpr Ratio kRatios[] = {
    {"decodeNmeaFamily/4096", "referenceLineWalk", 0.34},
    {"decodeNmeaFamily/64", "referenceLineWalk", 0.17},
    {"decodeNmeaFamily/1", "referenceMemcpy", 0.0},
    {"decodeNmeaWholeMask/4096", "decodeNmeaFamily/4096", 0.7},
    {"decodeOem4Family/4096", "referenceFrameWalk", 0.5},
    {"decodeOem4Family/64", "referenceFrameWalk", 0.25},
    {"decodeOem4Family/1", "referenceMemcpy", 0.0},
    {"decodeOem4WholeMask/4096", "decodeOem4Family/4096", 0.7},
    {"decodeMixedWholeMask/4096", "decodeNmeaFamily/4096", 0.7, "decodeOem4Family/4096"},
    {"parseOem4Mix/4096", "frameOem4Mix/4096", 1 / 1.5},  // one and a half times the time of framing
    {"base64Encode", "referenceCopy", 0.0},
    {"base64Decode", "referenceCopy", 0.0},
};

struct Figure {
    const char* name;
    const char* counter;
    const char* unit;
    double aim;
    bool atMost;
};

constexpr Figure kFigures[] = {
    {"processOem4", "allocs", "allocations a record", 0.0, true},
    {"processGsof", "allocs", "allocations a record", 0.0, true},
    {"processCmc", "allocs", "allocations a record", 0.0, true},
    {"processBin", "allocs", "allocations a record", 0.0, true},
    {"ggaOem4", "items_per_second", "sentences a second", 1e6, false},
    {"ggaTrimble", "items_per_second", "sentences a second", 1e6, false},
    {"ggaJavad", "items_per_second", "sentences a second", 1e6, false},
    {"ggaCmc", "items_per_second", "sentences a second", 1e6, false},
    {"base64Encode", "bytes_per_second", "bytes a second", 1e9, false},
    {"base64Decode", "bytes_per_second", "bytes a second", 1e9, false},
};

const char* verdict(bool met) { return met ? "met" : "MISSED"; }

class FigureReporter : public benchmark::ConsoleReporter {
public:
    FigureReporter() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            for (const auto& [counter, value] : run.counters)
                m_counters[{run.benchmark_name(), counter}] = value;
    }

    void Finalize() override {
        ConsoleReporter::Finalize();
        std::printf("\n%-28s %10s %24s %8s %8s\n", "", "MB/s", "against", "ratio", "aim");
        for (const Ratio& row : kRatios)
            print(row);
        for (const Figure& row : kFigures)
            print(row);
    }

private:
    double rateOf(const char* name) { return m_counters[{name, "bytes_per_second"}]; }

    void print(const Ratio& row) {
        const double rate = rateOf(row.name);
        const double first = rateOf(row.reference);
        const double second = row.other ? rateOf(row.other) : first;
        if (rate == 0.0 || first == 0.0 || second == 0.0) return;
        const double ratio = rate / ((first + second) / 2);
        std::printf("%-28s %10.1f %24s %8.3f ", row.name, rate / 1e6,
                    row.other ? "mean of both families" : row.reference, ratio);
        if (row.aim > 0.0)
            std::printf("%8.2f %s\n", row.aim, verdict(ratio >= row.aim));
        else
            std::printf("%8s\n", "-");
    }

    void print(const Figure& row) const {
        const auto found = m_counters.find({row.name, row.counter});
        if (found == m_counters.end()) return;
        const double value = found->second;
        std::printf("%-28s %10.3g %-33s %8.3g %s\n", row.name, value, row.unit, row.aim,
                    verdict(row.atMost ? value <= row.aim : value >= row.aim));
    }

    std::map<std::pair<std::string, std::string>, double> m_counters;
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    FigureReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
