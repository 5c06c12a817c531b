// What the configuration commands tell, for people and for programs.
#pragma once

#include "../outcome.h"
#include "changes.h"
#include "device.h"
#include "dialog.h"
#include "field_names.h"

#include <optional>
#include <string>
#include <vector>

namespace kx3console::config {

/// A configuration byte as it was found.
struct ShownByte {
    std::int32_t address;
    std::uint8_t value;
    bool held; ///< the file or chip has it
};

struct Report {
    std::string command; ///< "config show"
    const Device &device;
    const Editor &editor;
    std::string source{}; ///< file or chip; empty for none

    FieldList fields{};
    std::optional<Snapshot> values{}; ///< what the fields hold
    std::vector<ShownByte> bytes{};

    std::optional<Changes> changes{};
    std::string target{};
    std::vector<std::int32_t> added{}; ///< addresses of bytes that the file gets besides
    bool written = false;
    Outcome outcome{};

    [[nodiscard]] std::size_t indexOf(const Field &field) const {
        return static_cast<std::size_t>(&field - editor.fields.data());
    }
};

/// Fields with what can be chosen; with their values when the report has some.
[[nodiscard]] std::string fieldsText(const Report &report);
/// The values alone, for scripts.
[[nodiscard]] std::string valuesText(const Report &report);
/// Fields and bytes, before and after.
[[nodiscard]] std::string changesText(const Report &report);
/// All of it.
[[nodiscard]] std::string reportJson(const Report &report);

[[nodiscard]] std::string noteJson(const Device &device, std::uint8_t number, const std::optional<Note> &note);

} // namespace kx3console::config
