// Library kx6io: the transfer functions that the plug-in binds, and the control interface.
#include "simulator/kx6sim.h"

#include "platform/dynamic_library.h"
#include "simulator/chip_file.h"
#include "simulator/simulated_programmer.h"

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <new>

namespace {

using namespace kx3sim;

/// The process's programmer; one call at a time.
struct Bench {
    std::mutex mutex;
    SimulatedProgrammer programmer;
};

Bench &bench() {
    static Bench instance;
    return instance;
}

thread_local std::string lastError;
thread_local std::string troubleText;

kx6sim_status fail(kx6sim_status status, const char *text) noexcept {
    try {
        lastError = text;
    } catch (...) {
        lastError.clear();
    }
    return status;
}

/// Call `work` with the programmer; an exception becomes a status and a text.
template <class Work> kx6sim_status guarded(Work &&work) noexcept {
    try {
        Bench &b = bench();
        const std::scoped_lock lock(b.mutex);
        work(b.programmer);
        return KX6SIM_OK;
    } catch (const Failure &failure) {
        return fail(failure.status(), failure.what());
    } catch (const std::bad_alloc &) {
        return fail(KX6SIM_OUT_OF_MEMORY, "out of memory");
    } catch (const std::exception &error) {
        return fail(KX6SIM_INTERNAL_ERROR, error.what());
    }
}

/// The same for a question; `otherwise` when it cannot be answered.
template <class Answer, class Work> Answer ask(Answer otherwise, Work &&work) noexcept {
    Answer answer = otherwise;
    (void)guarded([&](SimulatedProgrammer &programmer) { answer = work(programmer); });
    return answer;
}

void require(bool holds, const char *text) {
    if (!holds) throw Failure(KX6SIM_BAD_ARGUMENT, text);
}

std::filesystem::path pathOf(const char *utf8) {
    require(utf8 != nullptr && *utf8 != '\0', "no path");
    const std::string_view text(utf8);
    return std::u8string(text.begin(), text.end());
}

/// A range of one of the chip's memories, checked.
struct Range {
    Memory &memory;
    std::size_t offset;
    std::size_t count;

    Range(Chip &chip, std::int32_t area, std::uint64_t itsOffset, std::uint64_t itsCount, const void *bytes)
        : memory(chip.area(area)), offset(static_cast<std::size_t>(itsOffset)),
          count(static_cast<std::size_t>(itsCount)) {
        require(memory.contains(itsOffset, itsCount), "a range beyond the end of its area");
        require(bytes != nullptr || itsCount == 0, "no bytes");
    }
};

void refuseWhenProtected(const Chip &chip) {
    if (chip.isProtected) throw Failure(KX6SIM_REFUSED, "the chip is protected");
}

} // namespace

// --- Transfers ----------------------------------------------------------------------------------

extern "C" {

#define KX3_PROGRAMMER_FUNCTION(name, library, result, parameters) KX6SIM_API result KX3_STDCALL name parameters;
#include "outside/programmer_functions.inc"

/// Without this library's whole share of the functions it does not link.
[[gnu::used]] void (*const transferFunctions[])() = {
#define KX3_OF_kx6io(name) reinterpret_cast<void (*)()>(&name),
#define KX3_OF_kx3io(name)
#define KX3_PROGRAMMER_FUNCTION(name, library, ...) KX3_OF_##library(name)
#include "outside/programmer_functions.inc"
};

Integer KX3_STDCALL usbcomwrite(Byte *packet, Long count) {
    if (packet == nullptr || count < 0) return protocol::transferRejected;
    return ask(protocol::transferRejected, [&](SimulatedProgrammer &programmer) {
        return programmer.comWrite({packet, static_cast<std::size_t>(count)});
    });
}

Integer KX3_STDCALL usbbulkwrite(Byte *data, Long count) {
    if (data == nullptr || count < 0) return protocol::transferRejected;
    return ask(protocol::transferRejected, [&](SimulatedProgrammer &programmer) {
        return programmer.bulkWrite({data, static_cast<std::size_t>(count)});
    });
}

void KX3_STDCALL usbbulkread(Byte *destination, Long count, Byte *state) {
    if (state == nullptr) return;
    const kx6sim_status status = guarded([&](SimulatedProgrammer &programmer) {
        require(destination != nullptr && count >= 0, "a bulk read without a destination");
        programmer.bulkRead({destination, static_cast<std::size_t>(count)}, state);
    });
    if (status != KX6SIM_OK) *state = protocol::transferFailed;
}

// --- Control interface --------------------------------------------------------------------------

uint32_t kx6sim_interface_version(void) { return KX6SIM_INTERFACE_VERSION; }

const char *kx6sim_last_error(void) { return lastError.c_str(); }

const char *kx6sim_trouble(void) {
    (void)guarded([](SimulatedProgrammer &programmer) { troubleText = programmer.trouble(); });
    return troubleText.c_str();
}

void kx6sim_reset(void) {
    (void)guarded([](SimulatedProgrammer &programmer) { programmer = {}; });
}

kx6sim_status kx6sim_insert_blank_chip(uint64_t main_bytes, uint64_t eeprom_bytes, const kx6sim_identity *identity) {
    return guarded([&](SimulatedProgrammer &programmer) {
        require(identity != nullptr, "no identity");
        require(main_bytes > 0, "no such chip size");
        programmer.insert(Chip(main_bytes, eeprom_bytes, *identity));
    });
}

kx6sim_status kx6sim_load_chip(const char *path) {
    return guarded([&](SimulatedProgrammer &programmer) { programmer.insert(readChipFile(pathOf(path))); });
}

kx6sim_status kx6sim_save_chip(const char *path) {
    return guarded([&](SimulatedProgrammer &programmer) {
        Chip &chip = programmer.chip();
        writeChipFile(pathOf(path), chip);
        chip.changed = false;
    });
}

int32_t kx6sim_chip_changed(void) {
    return ask(0, [](SimulatedProgrammer &p) { return p.socket() && p.socket()->changed ? 1 : 0; });
}

int32_t kx6sim_chip_protected(void) {
    return ask(0, [](SimulatedProgrammer &p) { return p.socket() && p.socket()->isProtected ? 1 : 0; });
}

uint64_t kx6sim_area_bytes(int32_t area) {
    return ask(uint64_t{0},
               [&](SimulatedProgrammer &programmer) -> uint64_t { return programmer.chip().area(area).size(); });
}

kx6sim_status kx6sim_get_identity(kx6sim_identity *identity) {
    return guarded([&](SimulatedProgrammer &programmer) {
        require(identity != nullptr, "no identity");
        *identity = programmer.chip().identity;
    });
}

kx6sim_status kx6sim_set_identity(const kx6sim_identity *identity) {
    return guarded([&](SimulatedProgrammer &programmer) {
        require(identity != nullptr, "no identity");
        requireValid(*identity);
        programmer.changedChip().identity = *identity;
    });
}

kx6sim_status kx6sim_peek(int32_t area, uint64_t offset, uint8_t *destination, uint64_t count) {
    return guarded([&](SimulatedProgrammer &programmer) {
        const Range range(programmer.chip(), area, offset, count, destination);
        range.memory.read(range.offset, {destination, range.count});
    });
}

kx6sim_status kx6sim_poke(int32_t area, uint64_t offset, const uint8_t *source, uint64_t count) {
    return guarded([&](SimulatedProgrammer &programmer) {
        const Range range(programmer.chip(), area, offset, count, source);
        programmer.changedChip();
        range.memory.store(range.offset, {source, range.count});
    });
}

kx6sim_status kx6sim_flip_bit(int32_t area, uint64_t offset, uint8_t bit) {
    return guarded([&](SimulatedProgrammer &programmer) {
        constexpr uint8_t highestBit = 7;
        require(bit <= highestBit, "a byte has bits 0 to 7");
        const Range range(programmer.chip(), area, offset, 1, &bit);
        programmer.changedChip();
        range.memory.flip(range.offset, bit);
    });
}

kx6sim_status kx6sim_chip_erase(void) {
    return guarded([](SimulatedProgrammer &programmer) { programmer.changedChip().massErase(); });
}

kx6sim_status kx6sim_chip_program(int32_t area, uint64_t offset, const uint8_t *source, uint64_t count,
                                  int32_t *differs, kx6sim_difference *difference) {
    return guarded([&](SimulatedProgrammer &programmer) {
        require(differs != nullptr && difference != nullptr, "no place for a difference");
        const Range range(programmer.chip(), area, offset, count, source);
        refuseWhenProtected(programmer.chip());
        Chip &chip = programmer.changedChip();
        std::optional<std::size_t> stuck;
        if (&range.memory == &chip.main)
            stuck = programmer.programMain(range.offset, {source, range.count});
        else
            range.memory.store(range.offset, {source, range.count});
        *differs = stuck ? 1 : 0;
        if (stuck) *difference = {*stuck, chip.main[*stuck], source[*stuck - range.offset]};
    });
}

kx6sim_status kx6sim_chip_blank_check(int32_t *differs, kx6sim_difference *difference) {
    return guarded([&](SimulatedProgrammer &programmer) {
        require(differs != nullptr && difference != nullptr, "no place for a difference");
        const Chip &chip = programmer.chip();
        refuseWhenProtected(chip);
        *differs = 0;
        for (const Memory *memory : {&chip.main, &chip.eeprom}) {
            const std::optional<std::size_t> found = memory->firstProgrammed(0, memory->size());
            if (!found) continue;
            *differs = 1;
            *difference = {*found, (*memory)[*found], Memory::erased};
            return;
        }
    });
}

kx6sim_status kx6sim_chip_read(int32_t area, uint64_t offset, uint8_t *destination, uint64_t count) {
    return guarded([&](SimulatedProgrammer &programmer) {
        const Range range(programmer.chip(), area, offset, count, destination);
        refuseWhenProtected(programmer.chip());
        range.memory.read(range.offset, {destination, range.count});
    });
}

kx6sim_status kx6sim_chip_protect(void) {
    return guarded([](SimulatedProgrammer &programmer) { programmer.changedChip().isProtected = true; });
}

void kx6sim_set_firmware_version(uint8_t version) {
    (void)guarded([&](SimulatedProgrammer &programmer) { programmer.setFirmwareVersion(version); });
}

kx6sim_status kx6sim_set_faults(const char *faults, uint64_t seed) {
    return guarded([&](SimulatedProgrammer &programmer) {
        require(faults != nullptr, "no faults text");
        programmer.setFaults(FaultPlan(faults, seed));
    });
}

int32_t kx6sim_start_check(void) {
    return ask(1, [](SimulatedProgrammer &programmer) { return programmer.startCheck() ? 0 : 1; });
}

kx6sim_status kx6sim_prepare(const kx6sim_geometry *geometry) {
    return guarded([&](SimulatedProgrammer &programmer) {
        require(geometry != nullptr, "no geometry");
        programmer.prepare(Device(*geometry));
    });
}

void kx6sim_end_operation(void) {
    (void)guarded([](SimulatedProgrammer &programmer) { programmer.endOperation(); });
}

void kx6sim_advance(void) {
    (void)guarded([](SimulatedProgrammer &programmer) { programmer.advance(); });
}

int32_t kx6sim_fetch_report(uint8_t report[KX6SIM_REPORT_BYTES]) {
    static_assert(std::tuple_size_v<protocol::Report> == KX6SIM_REPORT_BYTES);
    if (report == nullptr) return 0;
    return ask(0, [&](SimulatedProgrammer &programmer) {
        protocol::Report newest;
        if (!programmer.fetchReport(newest)) return 0;
        std::copy(newest.begin(), newest.end(), report);
        return 1;
    });
}

void kx6sim_get_counters(kx6sim_counters *counters) {
    if (counters == nullptr) return;
    *counters = ask(kx6sim_counters{}, [](SimulatedProgrammer &programmer) { return programmer.counters(); });
}

} // extern "C"
