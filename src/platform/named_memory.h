// Named shared memory of the operating system: one file per system implements it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kx3::platform {

/// Size of a page: a view is always a whole number of pages.
inline constexpr std::size_t pageSize = 4096;

/// Handle of an open mapping object: a kernel handle on Windows, the address of an object elsewhere;
/// 0 when none.
using MappingHandle = std::intptr_t;

/// Why a block could not be opened or created.
enum class MappingError : std::uint8_t {
    notFound,
    exists,
    badSize,
    badName,
    badNamespace, ///< the namespace that the environment asks for
    tooManyFiles,
    noSpace,
    noMemory,
    denied,
    other,
};

/// Why the calling thread's latest open or create gave 0.
[[nodiscard]] MappingError lastMappingError() noexcept;

/// Open the existing block `name` for reading and writing; 0 when no live block of that name
/// exists, or it belongs to another user or cannot be written.
[[nodiscard]] MappingHandle openMapping(std::string_view name) noexcept;

/// Create the block `name` with `size` bytes (zeroed, rounded up to whole pages), or open it when
/// it exists by now; 0 when neither works. A size below 1 creates nothing.
[[nodiscard]] MappingHandle createMapping(std::string_view name, std::int32_t size) noexcept;

/// As `createMapping`, but 0 when a live block of that name exists already: the way of a host that
/// must be the only owner of a block.
[[nodiscard]] MappingHandle createMappingExclusively(std::string_view name, std::int32_t size) noexcept;

/// Map the whole block for reading and writing; nullptr when that fails.
[[nodiscard]] void *mapView(MappingHandle mapping) noexcept;

/// Bytes of the view at `view`, in whole pages; 0 when there is no such view.
[[nodiscard]] std::size_t viewSize(MappingHandle mapping, const void *view) noexcept;

/// Unmap a view of `mapView`; false when there is none.
bool unmapView(MappingHandle mapping, void *view) noexcept;

/// Close a mapping object. The block lives as long as some process holds it open, and no longer.
void closeMapping(MappingHandle mapping) noexcept;

} // namespace kx3::platform
