// What the configuration commands tell, for people and for programs.
#pragma once

#include "editor.h"
#include "failure.h"
#include "plugin.h"
#include "profile.h"
#include "workbench.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kx3console {

/// A configuration byte as it was found.
struct ShownByte {
    std::int32_t address;
    std::uint8_t value;
    bool held; ///< the file or chip has it
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

/// What a command changes in the configuration.
struct Changes {
    std::vector<FieldChange> fields;
    std::vector<ByteChange> bytes;
};

[[nodiscard]] Changes changesBetween(const Editor &editor, const Snapshot &before, const Snapshot &after);

struct ConfigReport {
    std::string command; ///< "config show"
    const Profile &device;
    const Editor &editor;
    std::string source{}; ///< file or chip; empty for none

    FieldList fields{};
    std::optional<Snapshot> values{}; ///< what the fields hold
    std::vector<ShownByte> bytes{};

    std::optional<Changes> changes{};
    std::string target{};
    std::vector<std::int32_t> added{}; ///< addresses of bytes that the file gets besides
    bool written = false;
    std::optional<Failure> failure{};

    [[nodiscard]] std::size_t indexOf(const Field &field) const {
        return static_cast<std::size_t>(&field - editor.fields.data());
    }
};

/// Fields with what can be chosen; with their values when the report has some.
[[nodiscard]] std::string fieldsText(const ConfigReport &report);
/// The values alone, for scripts.
[[nodiscard]] std::string valuesText(const ConfigReport &report);
/// Fields and bytes, before and after.
[[nodiscard]] std::string changesText(const ConfigReport &report);
/// All of it.
[[nodiscard]] std::string reportJson(const ConfigReport &report);

[[nodiscard]] std::string noteText(const Profile &device, std::uint8_t number, const std::optional<Note> &note);
[[nodiscard]] std::string noteJson(const Profile &device, std::uint8_t number, const std::optional<Note> &note);

} // namespace kx3console
