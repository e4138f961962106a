// vkcomm_scenarios [--short] [NAME...]: runs the named scenarios, or all.
#include <cstdio>
#include <string_view>
#include <vector>

#include "bench/scenarios/scenarios.h"

namespace vkcomm::bench {

namespace {

struct Scenario {
    std::string_view name;
    const char* about;
    bool (*run)(Length length);
};

constexpr Scenario kScenarios[] = {
    {"latency", "from a byte on a pseudo-terminal to the record in the host's hands", portLatency},
    {"ports", "64 ports, each with 20 blocks of 1 kB a second", manyPorts},
    {"queue", "100,000 queued write requests", writeQueue},
    {"cycles", "ten thousand times open, talk, close", openAndClose},
    {"corrections", "messages of a caster, one by one and in a burst, to a receiver", corrections},
    {"roads", "more than the maker's slow roads carry", roads},
    {"relays", "200 relays, each with 2 kB a second", relays},
};

void print(const char* what, double value, const char* unit) {
    std::printf("  %-44s %12.6g %s", what, value, unit);
}

int complain(std::string_view name) {
    std::fprintf(stderr, "%.*s is no scenario; there are:\n", static_cast<int>(name.size()), name.data());
    for (const Scenario& each : kScenarios)
        std::fprintf(stderr, "  %-10s %s\n", each.name.data(), each.about);
    return 2;
}

}  // namespace

void figure(const char* what, double value, const char* unit) {
    print(what, value, unit);
    std::printf("\n");
}

void figure(const char* what, double value, const char* unit, double aim) {
    print(what, value, unit);
    std::printf(", aim %g %s\n", aim, value <= aim ? "met" : "MISSED");
}

bool expect(bool isSo, const char* what) {
    if (!isSo) std::printf("  FAILED: %s\n", what);
    return isSo;
}

int runScenarios(const std::vector<std::string_view>& names, Length length) {
    bool isGood = true;
    for (const std::string_view name : names) {
        const Scenario* found = nullptr;
        for (const Scenario& each : kScenarios)
            if (each.name == name) found = &each;
        if (!found) return complain(name);
        std::printf("%s: %s\n", found->name.data(), found->about);
        std::fflush(stdout);
        isGood = found->run(length) && isGood;
    }
    return isGood ? 0 : 1;
}

int runAll(Length length) {
    std::vector<std::string_view> names;
    for (const Scenario& each : kScenarios)
        names.push_back(each.name);
    return runScenarios(names, length);
}

}  // namespace vkcomm::bench

int main(int argc, char** argv) {
    using vkcomm::bench::Length;
    std::vector<std::string_view> names(argv + 1, argv + argc);
    const bool isShort = std::erase(names, "--short") > 0;
    const Length length = isShort ? Length::kShort : Length::kFull;
    return names.empty() ? vkcomm::bench::runAll(length) : vkcomm::bench::runScenarios(names, length);
}
