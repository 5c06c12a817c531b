// Element types of the shared blocks, by the names and widths that host and plug-in agree on.
#pragma once

#include <cstdint>

namespace kx3 {

using Byte = std::uint8_t;
using Integer = std::int16_t;
using Long = std::int32_t;
using Double = double;

/// 16-bit truth value: 0 is false, -1 (all bits set) is true; any other value counts as true.
struct Boolean {
    std::int16_t bits = 0;

    constexpr Boolean() = default;
    constexpr explicit Boolean(bool value) : bits(value ? std::int16_t{-1} : std::int16_t{0}) {}
    constexpr explicit operator bool() const { return bits != 0; }
};
static_assert(sizeof(Boolean) == 2);

/// A String element: the 32-bit handle of a text of this process (a BSTR in the 32-bit Windows
/// build, a handle of the process-wide string store elsewhere). 0 is the empty text.
struct String {
    std::uint32_t handle = 0;
};
static_assert(sizeof(String) == 4);

} // namespace kx3
