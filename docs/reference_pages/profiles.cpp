#include "pages.h"

#include "base/text.h"
#include "geometry.h"
#include "profile.h"
#include "texts.h"

#include <algorithm>
#include <fmt/format.h>

namespace kx3docs {

namespace {

using kx3console::ProfileKey;
using kx3console::ProfileRow;
using kx3console::Required;
using kx3console::ValueKind;

std::string number(std::int64_t value) {
    return value < 0x1000 ? fmt::format("{}", value) : fmt::format("0x{:X}", value);
}

std::string valuesOf(const ProfileRow &row) {
    const std::string range = fmt::format("{} to {}", number(row.low), number(row.high));
    switch (row.kind) {
    case ValueKind::boolean: return "true or false";
    case ValueKind::text: return fmt::format("text of {} characters", range);
    case ValueKind::bytes: return fmt::format("up to {} numbers, {}", row.most, range);
    default: return range;
    }
}

std::string standardOf(const ProfileRow &row) {
    if (row.required == Required::always) return "must be given";
    if (row.required == Required::withArmDriver) return "must be given with a driver";
    if (row.kind == ValueKind::text) return "empty";
    if (row.kind == ValueKind::bytes) return "none";
    return row.kind == ValueKind::boolean ? "false" : number(row.standard);
}

/// What the drivers say about blocks that they cannot serve.
std::vector<std::string> blockAdvice() {
    std::vector<std::string> advice;
    for (std::int64_t modelType = 0; modelType <= INT16_MAX; ++modelType)
        for (std::int64_t width = 1; width <= 2; ++width) {
            kx3console::Profile device = kx3console::plainDevice({});
            device.value(ProfileKey::model_type) = modelType;
            device.value(ProfileKey::size) = std::int64_t{0x40000};
            device.value(ProfileKey::block_size) = std::int64_t{1};
            device.value(ProfileKey::bytes_per_address) = width;
            const auto problem = geometryProblem(device);
            if (problem && std::find(advice.begin(), advice.end(), problem->advice()) == advice.end())
                advice.push_back(problem->advice());
        }
    return advice;
}

} // namespace

Page profilesPage() {
    std::string text =
        "# Device profiles\n\n"
        "<!-- Made by mpu6-docs from the table of entries. Do not edit; run it again. -->\n\n"
        "A profile is a table `[devices.NAME]` of a TOML file, which `--profiles FILE` names; one there replaces a\n"
        "built-in one of the same name. Copy one of `console/profiles/sample_devices.toml` and change it. A device\n"
        "without a driver of the plug-in is driven by mpu6 itself.\n\n"
        "| Entry | Values | When left out | Meaning |\n|---|---|---|---|\n";
    for (const ProfileRow &row : kx3console::profileTable)
        text += fmt::format("| `{}` | {} | {} | {} |\n", row.name, valuesOf(row), standardOf(row), row.meaning);
    text += "\nWhat `block_size` can be:\n\n";
    for (const std::string &advice : blockAdvice())
        text += fmt::format("- {}\n", advice);
    text += "\nOperation numbers of `auto_sequence`; without any the device's own sequence runs:\n\n";
    const auto captions = kx3console::operationCaptions();
    for (std::size_t i = 1; i < captions.size(); ++i)
        if (!captions[i].empty()) text += fmt::format("- {}: {}\n", i, kx3::toUtf8(captions[i]));
    return {"device-profiles.md", std::move(text)};
}

} // namespace kx3docs
