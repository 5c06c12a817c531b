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

/// What a process does of a sweep.
struct Share {
    bool allocations = false;
    std::uint64_t count = 0; ///< faulted runs to reach in all; the sweep over single faults is always complete
    std::uint64_t seed = 1;
    std::uint64_t part = 1; ///< from 1
    std::uint64_t parts = 1;
};

/// The case under way, in memory that survives this process.
using CaseText = std::array<char, 400>;

class Sweep {
  public:
    Sweep(const Share &share, CaseText &current) : share_(share), current_(current) {}

    int run() {
        for (const Scenario &scenario : allScenarios()) {
            const Trace reference = player_.reference(scenario).trace;
            failCalls(scenario,
                      share_.allocations ? std::vector(reference.allocations, Point::allocation) : reference.calls);
        }
        while (!share_.allocations && !enough())
            combine();
        std::printf("%llu faulted runs (%s), %llu failures\n", static_cast<unsigned long long>(runs_),
                    share_.allocations ? "allocations" : "outside calls", static_cast<unsigned long long>(failures_));
        return failures_ == 0 ? 0 : 1;
    }

  private:
    [[nodiscard]] bool enough() const { return runs_ * share_.parts >= share_.count; }

    /// Long verifies make one call a byte, all alike: beyond `alike` of them some stand for all.
    void failCalls(const Scenario &scenario, const std::vector<Point> &calls) {
        constexpr std::size_t alike = 128;
        const auto compares = static_cast<std::size_t>(std::ranges::count(calls, Point::compare));
        const std::size_t stride = std::max<std::size_t>(1, compares / alike);
        std::size_t compare = 0;
        for (std::size_t k = 0; k < calls.size(); ++k) {
            if (calls[k] == Point::compare && compare++ % stride != 0 && compare != compares) continue;
            for (const Fault &fault : allFaults())
                for (const bool fromThenOn : {false, true})
                    if (fault.applies(calls[k]) && next_++ % share_.parts == share_.part - 1)
                        play({&scenario, {{k + 1, &fault, fromThenOn}}});
        }
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
        constexpr std::uint64_t mostShown = 20;
        if (!objection->empty() && ++failures_ <= mostShown)
            std::fprintf(stderr, "FAILED: %s\n  torture %s\n", objection->c_str(), arguments.c_str());
    }

    const Share share_;
    CaseText &current_;
    Player player_;
    std::uint64_t next_ = 0;
    std::uint64_t runs_ = 0;
    std::uint64_t failures_ = 0;
    std::mt19937_64 random_{share_.seed * 1000 + share_.part};
};

/// Sweep in a process of its own, and say where it was when it does not come to its end.
int sweep(const Share &share) {
    void *memory = ::mmap(nullptr, sizeof(CaseText), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    CaseText &current = *static_cast<CaseText *>(memory);
    const pid_t child = ::fork();
    if (child == 0) return Sweep(share, current).run();
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

/// Words: scenario, then for each fault its call, its name and, for one from there on, "from".
int replay(std::span<char *const> words) {
    const auto scenario = std::ranges::find(allScenarios(), std::string_view(words[0]), &Scenario::name);
    if (scenario == allScenarios().end()) throw std::runtime_error(std::string("no scenario ") + words[0]);
    Case faulted{&*scenario, {}};
    for (std::size_t i = 1; i < words.size(); ++i) {
        if (words[i] == std::string_view("from") && i > 1) {
            faulted.plan.back().fromThenOn = true;
            continue;
        }
        const Fault *fault = i + 1 < words.size() ? findFault(words[i + 1]) : nullptr;
        if (fault == nullptr) throw std::runtime_error(std::string("no fault of the table behind ") + words[i]);
        faulted.plan.push_back({std::stoull(words[i++]), fault});
    }
    const std::optional<std::string> objection = Player().play(faulted);
    std::printf("%s\n", !objection ? "no fault struck" : objection->empty() ? "all well" : objection->c_str());
    return objection && objection->empty() ? 0 : 1;
}

int run(std::span<char *const> words) {
    const std::string_view what = words.size() < 2 ? "" : words[1];
    const auto number = [&](std::size_t i, std::uint64_t otherwise) {
        return i < words.size() ? std::stoull(words[i]) : otherwise;
    };
    if (what == "--digests" && words.size() == 3) return compareDigests(words[2]);
    const test::Workplace workplace;
    if (what == "--sweep") return sweep({false, number(2, 0), number(3, 1), number(4, 1), number(5, 1)});
    if (what == "--allocations") return sweep({.allocations = true, .part = number(2, 1), .parts = number(3, 1)});
    if (what == "--flips") return reportEveryFlip(number(2, 1));
    if (what == "--kill") return killAtRandom(number(2, 1), number(3, 1));
    if (what == "--soak") return soak(number(2, 0));
    if (what == "--replay" && words.size() > 2) return replay(words.subspan(2));
    throw std::runtime_error(
        "one of --digests FILE, --sweep [COUNT SEED PART PARTS], --allocations [PART PARTS], "
        "--flips STRIDE, --kill TIMES [SEED], --soak SESSIONS, --replay SCENARIO CALL FAULT [from]");
}

} // namespace
} // namespace kx3::torture

int main(int argc, char **argv) {
    try {
        return kx3::torture::run({argv, static_cast<std::size_t>(argc)});
    } catch (const std::exception &error) {
        std::fprintf(stderr, "torture: %s\n", error.what());
        return 2;
    }
}
