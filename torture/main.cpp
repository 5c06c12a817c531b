// torture: plays every scenario with every fault.
#include "endurance.h"
#include "player.h"
#include "rig/folder.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <sstream>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kx3::torture {
namespace {

struct Options {
    std::uint64_t count = 0; ///< faulted runs to reach; the sweep over single faults is always complete
    std::uint64_t workers = 2;
    bool allocations = false;
    std::uint64_t seed = 1;
    std::string scenario;
    std::vector<Planned> plan;
    std::string digests; ///< file to compare the clean runs with; "-" prints them
    std::uint64_t flips = 0;
    std::uint64_t kills = 0;
    std::uint64_t soak = 0;
    std::uint64_t show = 20; ///< failures that each worker prints
};

/// What a worker tells its parent, in memory that both see.
struct Report {
    std::uint64_t runs;
    std::uint64_t failures;
    bool done;
    std::array<char, 400> current; ///< the case under way
};

class Worker {
  public:
    Worker(const Options &options, std::uint64_t number, Report &report)
        : options_(options), number_(number), report_(report) {}

    void work() {
        sweep();
        while (!options_.allocations && report_.runs * options_.workers < options_.count)
            combine();
    }

  private:
    void sweep() {
        for (const Scenario &scenario : allScenarios()) {
            const Outcome reference = players_.of(scenario).reference(scenario);
            if (options_.allocations)
                sweepAllocations(scenario, reference.allocations);
            else
                sweepCalls(scenario, reference.calls);
        }
    }

    void sweepAllocations(const Scenario &scenario, std::uint64_t allocations) {
        for (std::uint64_t k = 1; k <= allocations; ++k)
            for (const bool from : {false, true})
                runMine({&scenario, {{k, findFault("allocation"), from}}});
    }

    /// Long verifies make one call a byte, all alike: beyond `alike` of them some stand for all.
    void sweepCalls(const Scenario &scenario, const std::vector<Point> &calls) {
        constexpr std::size_t alike = 128;
        const auto compares = static_cast<std::size_t>(std::ranges::count(calls, Point::compare));
        const std::size_t stride = std::max<std::size_t>(1, compares / alike);
        std::size_t compare = 0;
        for (std::size_t k = 0; k < calls.size(); ++k) {
            if (calls[k] == Point::compare && compare++ % stride != 0 && compare != compares) continue;
            for (const Fault &fault : allFaults())
                if (fault.applies(calls[k]))
                    for (const bool from : {false, true})
                        runMine({&scenario, {{k + 1, &fault, from}}});
        }
    }

    void runMine(const Case &faulted) {
        if (next_++ % options_.workers == number_) run(faulted);
    }

    /// Two or three faults in one run, for a while on each scenario in turn.
    void combine() {
        constexpr int runsEach = 200;
        for (const Scenario &scenario : allScenarios()) {
            if (scenario.kind == Kind::note || report_.runs * options_.workers >= options_.count) continue;
            const std::vector<Point> calls = players_.of(scenario).reference(scenario).calls;
            for (int i = 0; i < runsEach; ++i)
                run({&scenario, randomPlan(calls)});
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

    void run(const Case &faulted) {
        constexpr unsigned hangs = 60;
        ::alarm(hangs); // seconds until the next one
        const std::string arguments = replayArguments(faulted);
        std::strncpy(report_.current.data(), arguments.c_str(), report_.current.size() - 1);
        bool struck = false;
        const std::string objection = players_.of(*faulted.scenario).play(faulted, struck);
        if (struck) ++report_.runs;
        if (objection.empty()) return;
        if (++report_.failures <= options_.show)
            std::fprintf(stderr, "FAILED: %s\n  torture %s\n", objection.c_str(), arguments.c_str());
    }

    const Options &options_;
    std::uint64_t number_;
    Report &report_;
    const test::Workplace workplace_;
    Players players_;
    std::uint64_t next_ = 0;
    std::mt19937_64 random_{options_.seed * 1000 + number_};
};

/// Whether the worker has ended as it should; says which case it was at when it has not.
bool endsWell(pid_t worker, const Report &report) {
    int status = 0;
    ::waitpid(worker, &status, 0);
    if (report.done && WIFEXITED(status) && WEXITSTATUS(status) == 0) return true;
    const bool isKilled = WIFSIGNALED(status);
    const char *end = !isKilled ? "ENDED" : WTERMSIG(status) == SIGALRM ? "HANGS" : "CRASHED";
    std::fprintf(stderr, "%s: torture %s\n", end, report.current.data());
    return false;
}

int runWorkers(const Options &options) {
    const auto start = std::chrono::steady_clock::now();
    void *memory =
        ::mmap(nullptr, options.workers * sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    const std::span<Report> reports(static_cast<Report *>(memory), options.workers);
    std::vector<pid_t> workers;
    for (std::uint64_t i = 0; i < options.workers; ++i) {
        workers.push_back(::fork());
        if (workers.back() != 0) continue;
        try {
            Worker(options, i, reports[i]).work();
            reports[i].done = true;
        } catch (const std::exception &error) {
            std::fprintf(stderr, "%s\n", error.what());
        }
        std::exit(0); // leaks are looked for, too
    }
    bool well = true;
    std::uint64_t runs = 0;
    std::uint64_t failures = 0;
    for (std::size_t i = 0; i < workers.size(); ++i) {
        well = endsWell(workers[i], reports[i]) && well;
        runs += reports[i].runs;
        failures += reports[i].failures;
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    std::printf("%llu faulted runs (%s), %llu failures, %.1f s\n", static_cast<unsigned long long>(runs),
                options.allocations ? "allocations" : "outside calls", static_cast<unsigned long long>(failures),
                seconds.count());
    return well && failures == 0 && runs >= options.count ? 0 : 1;
}

/// Digest of each clean run, one to a line: number of calls and a hash over all that goes out and
/// comes back.
std::string cleanDigests() {
    const test::Workplace workplace;
    Players players;
    std::string lines;
    for (const Scenario &scenario : allScenarios()) {
        if (scenario.kind == Kind::attach || scenario.kind == Kind::attachAlone) continue; // addresses, not values
        const Outcome &outcome = players.of(scenario).reference(scenario);
        std::array<char, 200> line{};
        std::snprintf(line.data(), line.size(), "%s %zu %016llx\n", scenario.name.c_str(), outcome.calls.size(),
                      static_cast<unsigned long long>(outcome.digest));
        lines += line.data();
    }
    return lines;
}

int compareDigests(const std::string &file) {
    const std::string now = cleanDigests();
    if (file == "-") return std::fputs(now.c_str(), stdout) < 0 ? 1 : 0;
    std::ostringstream then;
    then << std::ifstream(file).rdbuf();
    const bool same = then.str() == now;
    std::printf("%s\n", same ? "every clean run makes the calls that are on record"
                             : "clean runs differ from the record; see torture --digests -");
    return same ? 0 : 1;
}

int replay(const Options &options) {
    const auto scenario = std::ranges::find(allScenarios(), options.scenario, &Scenario::name);
    if (scenario == allScenarios().end()) throw std::runtime_error("no scenario " + options.scenario);
    const test::Workplace workplace;
    Player player(*scenario->target);
    bool struck = false;
    const std::string objection = player.play({&*scenario, options.plan}, struck);
    std::printf("%s%s\n", objection.empty() ? "all well" : objection.c_str(), struck ? "" : " (no fault struck)");
    return objection.empty() ? 0 : 1;
}

constexpr std::pair<std::string_view, std::uint64_t Options::*> numbers[] = {
    {"--count", &Options::count}, {"--workers", &Options::workers}, {"--seed", &Options::seed},
    {"--flips", &Options::flips}, {"--kill", &Options::kills},      {"--show", &Options::show},
    {"--soak", &Options::soak}};

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
            options.plan.push_back({std::stoull(value()), nullptr});
        else if (option == "--fault" && !options.plan.empty())
            options.plan.back().fault = findFault(value());
        else if (option == "--from" && !options.plan.empty())
            options.plan.back().fromThenOn = true;
        else
            throw std::runtime_error("unknown option " + std::string(option));
    }
    for (const Planned &planned : options.plan)
        if (planned.fault == nullptr) throw std::runtime_error("a call without a fault of the table");
    if (options.workers == 0) throw std::runtime_error("no workers");
    return options;
}

int run(const Options &options) {
    if (!options.scenario.empty()) return replay(options);
    if (!options.digests.empty()) return compareDigests(options.digests);
    if (options.flips != 0) return reportEveryFlip(options.flips);
    if (options.kills != 0) return killAtRandom(options.kills, options.seed);
    if (options.soak != 0) return soak(options.soak);
    return runWorkers(options);
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
