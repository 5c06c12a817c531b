// What a command changes in the configuration: bytes and fields, before and after.
#pragma once

#include "editor.h"
#include "field_value.h"

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace kx3console::config {

/// Bytes of the device buffer by their addresses.
using Bytes = std::map<std::int32_t, std::uint8_t>;

/// The bytes around the ones that `editor` shows, as far as they lie in the buffer: the defaults of a
/// device reach a little further than its editor.
[[nodiscard]] Bytes configurationArea(const Editor &editor, std::span<const std::uint8_t> buffer);

/// The configuration at one time.
struct Snapshot {
    Bytes bytes;
    std::vector<FieldState> states;  ///< beside the editor's fields
    std::vector<std::uint32_t> bits; ///< stored, beside the editor's fields
};

struct FieldChange {
    const Field *field;
    std::string before;
    std::string after;
    bool locksOut; ///< the new value can lock the user out of the device
};

struct ByteChange {
    std::int32_t address;
    std::uint8_t before;
    std::uint8_t after;
};

struct Changes {
    std::vector<FieldChange> fields;
    std::vector<ByteChange> bytes;

    [[nodiscard]] bool empty() const { return bytes.empty(); }
    /// The fields that can lock the user out.
    [[nodiscard]] std::vector<const FieldChange *> dangers() const;
};

[[nodiscard]] Changes changesBetween(const Editor &editor, const Snapshot &before, const Snapshot &after);

} // namespace kx3console::config
