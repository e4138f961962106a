// Runs the benchmarks and ends with a table of ratios, so that a figure means something on any machine.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>

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
};

class RatioReporter : public benchmark::ConsoleReporter {
public:
    RatioReporter() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            const auto rate = run.counters.find("bytes_per_second");
            if (rate != run.counters.end()) m_rates[run.benchmark_name()] = rate->second.value;
        }
    }

    void Finalize() override {
        ConsoleReporter::Finalize();
        std::printf("\n%-28s %10s %24s %8s %8s\n", "", "MB/s", "against", "ratio", "aim");
        for (const Ratio& row : kRatios) {
            const double rate = m_rates[row.name];
            const double first = m_rates[row.reference];
            const double second = row.other ? m_rates[row.other] : first;
            if (rate == 0.0 || first == 0.0 || second == 0.0) continue;
            const double reference = (first + second) / 2;
            std::printf("%-28s %10.1f %24s %8.3f ", row.name, rate / 1e6,
                        row.other ? "mean of both families" : row.reference, rate / reference);
            if (row.aim > 0.0)
                std::printf("%8.2f %s\n", row.aim, rate / reference >= row.aim ? "met" : "MISSED");
            else
                std::printf("%8s\n", "-");
        }
    }

private:
    std::map<std::string, double> m_rates;
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
