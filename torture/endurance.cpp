#include "endurance.h"

#include "world.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <random>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace kx3::torture {

namespace {

constexpr Byte programOperation = 3;
constexpr Byte verifyOperation = 5;
constexpr Byte readOperation = 2;

std::string ownName() { return "torture" + std::to_string(::getpid()); }

/// Value of a line of /proc/self/status, in its unit.
std::uint64_t statusValue(const std::string &name) {
    std::ifstream file("/proc/self/status");
    for (std::string word; file >> word;)
        if (std::uint64_t value = 0; word == name + ':' && file >> value) return value;
    return 0;
}

std::size_t linesOf(const char *path) {
    std::ifstream file(path);
    return static_cast<std::size_t>(std::count(std::istreambuf_iterator<char>(file), {}, '\n'));
}

std::size_t openFiles() {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

/// What a process holds on to.
struct Holdings {
    std::uint64_t kibibytes = statusValue("RssAnon");
    std::size_t files = openFiles();
    std::size_t mappings = linesOf("/proc/self/maps");
    std::size_t names;
};

/// In a process of its own: programs a device over and over until it is killed.
[[noreturn]] void workUntilKilled(const Device &device) {
    for (;;) {
        World world(device);
        const Scenario program{"", &device, Kind::arm, programOperation};
        for (int i = 0; i < 3; ++i)
            (void)world.play(program, {}, SIZE_MAX);
    }
}

/// In a process of its own: 0 when a host starts as if there had never been another one.
int startClean(const Device &device) {
    if (clsMemMapped::findnum() != 0) return 1;
    // A dead host's names may still stand; nobody may see them, and the next owner takes them over.
    const std::string first = blockName(blockTable[0], 1);
    const platform::MappingHandle block = platform::createMappingExclusively(first, 400);
    if (block == 0) return 2;
    const auto *data = static_cast<const Byte *>(platform::mapView(block));
    const bool fresh = data != nullptr && data[0] == 0;
    platform::closeMapping(block);
    if (!fresh) return 3;
    {
        World world(device);
        const Scenario program{"", &device, Kind::arm, programOperation};
        if (world.play(program, {}, SIZE_MAX).signal != kx3sim::Signal::pass) return 4;
    }
    return blockNames() == 0 ? 0 : 5;
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
    const Workplace workplace(ownName());
    std::uint64_t flips = 0;
    for (const Integer model : {Integer{80}, Integer{50}}) {
        const Device device{.name = "flips", .model = model, .addresses = 0x10000, .block = 0x10000};
        World world(device);
        const Scenario verify{"", &device, Kind::arm, verifyOperation, ChipState::programmed};
        if (world.play(verify, {}, SIZE_MAX).signal != kx3sim::Signal::pass) return 1;
        // Each model takes half of the bits of a full run.
        for (std::uint64_t bit = model == 80 ? 0 : stride; bit < bits; bit += 2 * stride, ++flips) {
            world.flip(bit / 8, static_cast<Byte>(bit % 8));
            const kx3sim::Signal signal = world.playOn(verify);
            const kx3sim::Mismatches &found = world.programmer().mismatches();
            if (signal != kx3sim::Signal::fail || found.bytes != 1 ||
                found.firstAddress != static_cast<Long>(bit / 8)) {
                std::fprintf(stderr, "FAILED: bit %llu was not reported at its address\n",
                             static_cast<unsigned long long>(bit));
                return 1;
            }
            world.flip(bit / 8, static_cast<Byte>(bit % 8));
        }
    }
    std::printf("%llu bit flips of a 64 KiB device, each reported at its address\n",
                static_cast<unsigned long long>(flips));
    return 0;
}

int killAtRandom(std::uint64_t times, std::uint64_t seed) {
    constexpr std::uint64_t longestLife = 12'000; // microseconds
    const Workplace workplace(ownName());
    const Device device{.name = "killed"};
    std::mt19937_64 random(seed);
    std::uint64_t heldBlocks = 0;
    for (std::uint64_t i = 0; i < times; ++i) {
        const pid_t victim = inChild([&]() -> int { workUntilKilled(device); });
        std::this_thread::sleep_for(std::chrono::microseconds(random() % longestLife));
        ::kill(victim, SIGKILL);
        int status = 0;
        ::waitpid(victim, &status, 0);
        if (blockNames() != 0) ++heldBlocks;
        const pid_t next = inChild([&] { return startClean(device); });
        ::waitpid(next, &status, 0);
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            std::fprintf(stderr, "FAILED: after kill %llu the next host does not start clean (%d)\n",
                         static_cast<unsigned long long>(i), status);
            return 1;
        }
    }
    std::printf("%llu kills, %llu of them while blocks were open; every next host started clean\n",
                static_cast<unsigned long long>(times), static_cast<unsigned long long>(heldBlocks));
    return heldBlocks == 0 ? 1 : 0;
}

int soak(std::uint64_t sessions) {
    const Workplace workplace(ownName());
    const Device device{.name = "soak"};
    World world(device);
    const Scenario program{"", &device, Kind::arm, programOperation};
    const Scenario read{"", &device, Kind::arm, readOperation, ChipState::programmed};
    const Scenario attach{"", &device, Kind::attach, verifyOperation, ChipState::programmed};
    const Scenario editor{"", &device, Kind::editor, 45};
    const auto round = [&] {
        for (const Scenario *scenario : {&program, &read, &program, &read, &program, &read, &program, &read, &attach})
            if (world.play(*scenario, {}, SIZE_MAX).signal != kx3sim::Signal::pass) return false;
        return !world.play(editor, {}, SIZE_MAX).raised;
    };
    constexpr std::uint64_t sessionsEach = 10;
    constexpr int warmUp = 200;
    for (int i = 0; i < warmUp; ++i)
        if (!round()) return 1;
    const Holdings before{.names = blockNames()};
    for (std::uint64_t done = 0; done < sessions; done += sessionsEach)
        if (!round()) return 1;
    const Holdings after{.names = blockNames()};
    const auto grown = static_cast<long long>(after.kibibytes) - static_cast<long long>(before.kibibytes);
    std::printf("%llu sessions: memory %+lld KiB, open files %zu -> %zu, mappings %zu -> %zu, names %zu -> %zu\n",
                static_cast<unsigned long long>(sessions), grown, before.files, after.files, before.mappings,
                after.mappings, before.names, after.names);
    constexpr long long mostGrowth = 64;
    return grown < mostGrowth && after.files == before.files && after.mappings <= before.mappings &&
                   after.names == before.names
               ? 0
               : 1;
}

} // namespace kx3::torture
