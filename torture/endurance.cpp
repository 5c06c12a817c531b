#include "endurance.h"

#include "rig/folder.h"
#include "world.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <random>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace kx3::torture {

namespace {

constexpr Byte readOperation = 2;
constexpr Byte programOperation = 3;
constexpr Byte verifyOperation = 5;

int failed(const char *what, std::uint64_t number) {
    std::fprintf(stderr, "FAILED: %s (%llu)\n", what, static_cast<unsigned long long>(number));
    return 1;
}

/// Value of a line of /proc/self/status, in its unit.
std::uint64_t statusValue(const std::string &name) {
    std::ifstream file("/proc/self/status");
    for (std::string word; file >> word;)
        if (std::uint64_t value = 0; word == name + ':' && file >> value) return value;
    return 0;
}

/// What a process holds on to.
struct Holdings {
    std::uint64_t kibibytes = statusValue("RssAnon");
    std::ptrdiff_t files = std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    std::ptrdiff_t mappings = std::ranges::count(test::slurp("/proc/self/maps"), '\n');
    std::size_t names = test::blockFiles().size();
};

/// 0 when a host starts as if there had never been another one.
int startClean(const Target &target) {
    if (clsMemMapped::findnum() != 0) return 1;
    // A dead host's names may still stand; nobody may see them, and the next owner takes them over.
    const platform::MappingHandle block = platform::createMappingExclusively(blockName(blockTable[0], 1), 400);
    if (block == 0) return 2;
    const auto *data = static_cast<const Byte *>(platform::mapView(block));
    const bool isFresh = data != nullptr && data[0] == 0;
    platform::closeMapping(block);
    if (!isFresh) return 3;
    if (!World(target).passes(programOperation)) return 4;
    return test::blockFiles().empty() ? 0 : 5;
}

template <class Work> pid_t inChild(Work work) {
    const pid_t child = ::fork();
    if (child != 0) return child;
    try {
        std::_Exit(work());
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        std::_Exit(100);
    }
}

} // namespace

int reportEveryFlip(std::uint64_t stride) {
    constexpr std::uint64_t bits = 0x10000 * 8;
    std::uint64_t flips = 0;
    for (const Integer model : {test::model32f, test::modelArm}) {
        const Target target{"flips", {.addresses = 0x10000, .block = 0x10000, .model = model}};
        World world(target);
        if (!world.passes(verifyOperation, ChipState::programmed)) return failed("no verify passes", 0);
        const Scenario verify{"", &target, Kind::arm, verifyOperation};
        // Each model takes half of the bits of a full run.
        for (std::uint64_t bit = model == test::model32f ? 0 : stride; bit < bits; bit += 2 * stride, ++flips) {
            World::flip(bit / 8, static_cast<Byte>(bit % 8));
            const kx3sim::Signal signal = world.playOn(verify);
            const kx3sim::Mismatches &found = world.programmer().mismatches();
            if (signal != kx3sim::Signal::fail || found.bytes != 1 || found.firstAddress != static_cast<Long>(bit / 8))
                return failed("a bit was not reported at its address", bit);
            World::flip(bit / 8, static_cast<Byte>(bit % 8));
        }
    }
    std::printf("%llu bit flips of a 64 KiB device, each reported at its address\n",
                static_cast<unsigned long long>(flips));
    return 0;
}

int killAtRandom(std::uint64_t times, std::uint64_t seed) {
    constexpr std::uint64_t longestLife = 12'000; // microseconds
    test::useOwnNamespace();                      // of all processes that follow
    const Target target{"killed"};
    std::mt19937_64 random(seed);
    std::uint64_t heldBlocks = 0;
    for (std::uint64_t i = 0; i < times; ++i) {
        const pid_t victim = inChild([&]() -> int {
            for (;;) {
                World world(target);
                for (int programs = 0; programs < 3; ++programs)
                    (void)world.passes(programOperation);
            }
        });
        std::this_thread::sleep_for(std::chrono::microseconds(random() % longestLife));
        ::kill(victim, SIGKILL);
        int status = 0;
        ::waitpid(victim, &status, 0);
        if (!test::blockFiles().empty()) ++heldBlocks;
        const pid_t next = inChild([&] { return startClean(target); });
        ::waitpid(next, &status, 0);
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
            return failed("after a kill the next host does not start clean", i);
    }
    std::printf("%llu kills, %llu of them while blocks were open; every next host started clean\n",
                static_cast<unsigned long long>(times), static_cast<unsigned long long>(heldBlocks));
    return heldBlocks == 0 ? failed("no kill met open blocks", times) : 0;
}

int soak(std::uint64_t sessions) {
    const Target target{"soak"};
    World world(target);
    const Scenario attach{"", &target, Kind::attach, verifyOperation, ChipState::programmed};
    const Scenario editor{"", &target, Kind::editor, 45};
    const auto play = [&](std::uint64_t count) {
        constexpr std::uint64_t sessionsEach = 10;
        for (std::uint64_t done = 0; done < count; done += sessionsEach) {
            for (int i = 0; i < 4; ++i)
                if (!world.passes(programOperation) || !world.passes(readOperation, ChipState::programmed))
                    return false;
            if (world.play(attach).signal != kx3sim::Signal::pass || world.play(editor).raised) return false;
        }
        return true;
    };
    constexpr std::uint64_t warmUp = 2000;
    if (!play(warmUp)) return failed("a session fails", 0);
    const Holdings before;
    if (!play(sessions)) return failed("a session fails", sessions);
    const Holdings after;
    const auto grown = static_cast<long long>(after.kibibytes) - static_cast<long long>(before.kibibytes);
    std::printf("%llu sessions: memory %+lld KiB, open files %td -> %td, mappings %td -> %td, names %zu -> %zu\n",
                static_cast<unsigned long long>(sessions), grown, before.files, after.files, before.mappings,
                after.mappings, before.names, after.names);
    constexpr long long mostGrowth = 64;
    const bool isEven = after.files == before.files && after.mappings <= before.mappings && after.names == before.names;
    return grown < mostGrowth && isEven ? 0 : 1;
}

} // namespace kx3::torture
