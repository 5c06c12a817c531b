// What stays right over many sessions, and after sudden ends. Each prints a line and returns the
// program's exit code.
#pragma once

#include <cstdint>

namespace kx3::torture {

/// Flip every `stride`-th bit of a 64 KiB device in turn: verify reports it at its address.
int reportEveryFlip(std::uint64_t stride);
/// Kill a process in the middle of its sessions `times` times: the next one starts clean.
int killAtRandom(std::uint64_t times, std::uint64_t seed);
/// `sessions` sessions, attaching and releasing in between: nothing grows.
int soak(std::uint64_t sessions);

} // namespace kx3::torture
