// torture: plays every scenario with every fault.
#include "endurance.h"
#include "player.h"
#include "rig/folder.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <random>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kx3::torture {
namespace {

struct Options {
    std::uint64_t count = 0; ///< faulted runs to reach; the sweep over single faults is always complete
    std::uint64_t parts = 1; ///< that share the work
    std::uint64_t part = 1;  ///< which of them this is
    std::uint64_t seed = 1;
    std::uint64_t show = 20; ///< failures that are printed
    std::uint64_t flips = 0;
    std::uint64_t kills = 0;
    std::uint64_t soak = 0;
    bool allocations = false;
    std::string digests; ///< file to compare the clean runs with; "-" prints them
    std::string scenario;
    std::vector<Planned> plan;
};

/// The case under way, in memory that survives this process.
using CaseText = std::array<char, 400>;

class Sweep {
  public:
    Sweep(const Options &options, CaseText &current) : options_(options), current_(current) {}

    int run() {
        for (const Scenario &scenario : allScenarios()) {
            const Trace reference = player_.reference(scenario).trace;
            if (options_.allocations)
                failAllocations(scenario, reference.allocations);
            else
                failCalls(scenario, reference.calls);
        }
        while (!options_.allocations && !enough())
            combine();
        std::printf("%llu faulted runs (%s), %llu failures\n", static_cast<unsigned long long>(runs_),
                    options_.allocations ? "allocations" : "outside calls", static_cast<unsigned long long>(failures_));
        return failures_ == 0 ? 0 : 1;
    }

  private:
    [[nodiscard]] bool enough() const { return runs_ * options_.parts >= options_.count; }

    void failAllocations(const Scenario &scenario, std::uint64_t allocations) {
        for (std::uint64_t k = 1; k <= allocations; ++k)
            onceAndFromThenOn(scenario, k, *findFault("allocation"));
    }

    /// Long verifies make one call a byte, all alike: beyond `alike` of them some stand for all.
    void failCalls(const Scenario &scenario, const std::vector<Point> &calls) {
        constexpr std::size_t alike = 128;
        const auto compares = static_cast<std::size_t>(std::ranges::count(calls, Point::compare));
        const std::size_t stride = std::max<std::size_t>(1, compares / alike);
        std::size_t compare = 0;
        for (std::size_t k = 0; k < calls.size(); ++k) {
            if (calls[k] == Point::compare && compare++ % stride != 0 && compare != compares) continue;
            for (const Fault &fault : allFaults())
                if (fault.applies(calls[k])) onceAndFromThenOn(scenario, k + 1, fault);
        }
    }

    void onceAndFromThenOn(const Scenario &scenario, std::uint64_t call, const Fault &fault) {
        for (const bool fromThenOn : {false, true})
            if (next_++ % options_.parts == options_.part - 1) play({&scenario, {{call, &fault, fromThenOn}}});
    }

    /// Two or three faults in one run, for a while on each scenario in turn.
    void combine() {
        constexpr int runsEach = 200;
        for (const Scenario &scenario : allScenarios()) {
            if (scenario.kind == Kind::note || enough()) continue;
            const std::vector<Point> calls = player_.reference(scenario).trace.calls;
            for (int i = 0; i < runsEach; ++i)
                play({&scenario, randomPlan(calls)});
        }
    }

    std::vector<Planned> randomPlan(const std::vector<Point> &calls) {
        std::vector<Planned> plan(2 + random_() % 2);
        for (Planned &planned : plan) {
            do
                planned.fault = &allFaults()[random_() % allFaults().size()];
            while (std::ranges::none_of(calls, [&](Point point) { return planned.fault->applies(point); }));
            planned.call = 1 + random_() % calls.size();
            planned.fromThenOn = random_() % 4 == 0;
        }
        return plan;
    }

    void play(const Case &faulted) {
        constexpr unsigned hangs = 60; // seconds until the next run
        ::alarm(hangs);
        const std::string arguments = faulted.arguments();
        std::strncpy(current_.data(), arguments.c_str(), current_.size() - 1);
        const std::optional<std::string> objection = player_.play(faulted);
        if (!objection) return;
        ++runs_;
        if (!objection->empty() && ++failures_ <= options_.show)
            std::fprintf(stderr, "FAILED: %s\n  torture %s\n", objection->c_str(), arguments.c_str());
    }

    const Options &options_;
    CaseText &current_;
    Player player_;
    std::uint64_t next_ = 0;
    std::uint64_t runs_ = 0;
    std::uint64_t failures_ = 0;
    std::mt19937_64 random_{options_.seed * 1000 + options_.part};
};

/// Sweep in a process of its own, and say where it was when it does not come to its end.
int sweep(const Options &options) {
    void *memory = ::mmap(nullptr, sizeof(CaseText), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    CaseText &current = *static_cast<CaseText *>(memory);
    const pid_t child = ::fork();
    if (child == 0) return Sweep(options, current).run();
    int status = 0;
    ::waitpid(child, &status, 0);
    if (status == 0) return 0;
    const bool hangs = WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM;
    std::fprintf(stderr, "%s: torture %s\n", hangs ? "HANGS" : "last case", current.data());
    return 1;
}

/// Digest of each clean run, one to a line: number of calls and a hash over all that goes out and
/// comes back.
std::string cleanDigests() {
    Player player;
    std::string lines;
    for (const Scenario &scenario : allScenarios()) {
        if (scenario.kind == Kind::attach || scenario.kind == Kind::attachAlone) continue; // addresses, not values
        const Trace &trace = player.reference(scenario).trace;
        std::array<char, 200> line{};
        std::snprintf(line.data(), line.size(), "%s %zu %016llx\n", scenario.name.c_str(), trace.calls.size(),
                      static_cast<unsigned long long>(trace.digest));
        lines += line.data();
    }
    return lines;
}

int compareDigests(const std::string &file) {
    const std::vector<char> then = test::slurp(file);
    const test::Workplace workplace;
    const std::string now = cleanDigests();
    if (file == "-") return std::fputs(now.c_str(), stdout) < 0 ? 1 : 0;
    const bool same = std::ranges::equal(then, now);
    std::printf("%s\n", same ? "every clean run makes the calls that are on record"
                             : "clean runs differ from the record; see torture --digests -");
    return same ? 0 : 1;
}

int replay(const Options &options) {
    const auto scenario = std::ranges::find(allScenarios(), options.scenario, &Scenario::name);
    if (scenario == allScenarios().end()) throw std::runtime_error("no scenario " + options.scenario);
    const std::optional<std::string> objection = Player().play({&*scenario, options.plan});
    std::printf("%s\n", !objection ? "no fault struck" : objection->empty() ? "all well" : objection->c_str());
    return objection && objection->empty() ? 0 : 1;
}

constexpr std::pair<std::string_view, std::uint64_t Options::*> numbers[] = {
    {"--count", &Options::count}, {"--parts", &Options::parts}, {"--part", &Options::part},
    {"--seed", &Options::seed},   {"--show", &Options::show},   {"--flips", &Options::flips},
    {"--kill", &Options::kills},  {"--soak", &Options::soak}};

Options parse(std::span<char *const> arguments) {
    Options options;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const std::string_view option = arguments[i];
        const auto value = [&] {
            if (++i == arguments.size()) throw std::runtime_error("no value behind " + std::string(option));
            return std::string(arguments[i]);
        };
        const auto *const number = std::ranges::find(numbers, option, [](const auto &row) { return row.first; });
        if (number != std::end(numbers))
            options.*number->second = std::stoull(value());
        else if (option == "--allocations")
            options.allocations = true;
        else if (option == "--scenario")
            options.scenario = value();
        else if (option == "--digests")
            options.digests = value();
        else if (option == "--call")
            options.plan.push_back({std::stoull(value())});
        else if (option == "--fault" && !options.plan.empty())
            options.plan.back().fault = findFault(value());
        else if (option == "--from" && !options.plan.empty())
            options.plan.back().fromThenOn = true;
        else
            throw std::runtime_error("unknown option " + std::string(option));
    }
    if (std::ranges::count(options.plan, nullptr, &Planned::fault) != 0)
        throw std::runtime_error("a call without a fault of the table");
    if (options.part == 0 || options.part > options.parts) throw std::runtime_error("no such part");
    return options;
}

int run(const Options &options) {
    if (!options.digests.empty()) return compareDigests(options.digests);
    const test::Workplace workplace;
    if (!options.scenario.empty()) return replay(options);
    if (options.flips != 0) return reportEveryFlip(options.flips);
    if (options.kills != 0) return killAtRandom(options.kills, options.seed);
    if (options.soak != 0) return soak(options.soak);
    return sweep(options);
}

} // namespace
} // namespace kx3::torture

int main(int argc, char **argv) {
    try {
        return kx3::torture::run(kx3::torture::parse({argv, static_cast<std::size_t>(argc)}));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "torture: %s\n", error.what());
        return 2;
    }
}
