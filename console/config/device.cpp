#include "device.h"

#include "../failure.h"
#include "../texts.h"

#include <algorithm>
#include <fmt/format.h>

namespace kx3console::config {

namespace {

/// Bytes of the device buffer behind the device data.
constexpr std::int64_t extraBytes = 2200;

Device fromProfile(const Request &request) {
    ProfileStore store;
    store.add(sampleProfiles(), "built-in profiles");
    for (const auto &path : request.profiles)
        store.addFile(path);
    const Profile &profile = store.find(request.device);
    Device device;
    device.name = profile.name;
    device.traits.prgmode = static_cast<std::uint8_t>(profile.integer(kx3console::Field::family));
    device.traits.tlength = static_cast<std::int32_t>(profile.integer(kx3console::Field::size));
    device.traits.chippin = static_cast<std::int16_t>(profile.integer(kx3console::Field::pins));
    device.traits.figvol = static_cast<std::uint8_t>(profile.integer(kx3console::Field::editor_option));
    device.loadBase = static_cast<std::uint64_t>(profile.integer(kx3console::Field::load_base));
    device.profile = profile;
    return device;
}

Device fromPlain(const PlainDevice &plain) {
    Device device;
    device.name = fmt::format("mode {}, size 0x{:X}", plain.mode, plain.size);
    device.traits = {plain.size, plain.pins, plain.mode, plain.figvol};
    return device;
}

std::int64_t highestAddress(const Device &device, const Editor &editor) {
    std::int64_t highest = device.traits.tlength;
    for (const ConfigByte &byte : editor.bytes)
        highest = std::max<std::int64_t>(highest, byte.address);
    return highest;
}

void requireInside(const Device &device, const Editor &editor, std::int64_t dataBytes) {
    for (const ConfigByte &byte : editor.bytes) {
        if (byte.address >= 0 && byte.address < dataBytes + extraBytes) continue;
        const std::string what =
            fmt::format("device {}: its configuration byte at {} lies outside the device buffer of {} bytes",
                        device.name, byte.address, dataBytes + extraBytes);
        if (!device.profile) throw Failure(Exit::usage, what, "Give a larger --size.");
        throw Failure(Exit::badFile, fmt::format("{}: {}", device.profile->place, what),
                      "Correct the profile's size, bytes_per_address or family.");
    }
}

} // namespace

Device deviceOf(const Request &request) {
    if (request.plain) return fromPlain(*request.plain);
    if (!request.device.empty()) return fromProfile(request);
    throw Failure(Exit::usage, "no device is given",
                  "Name one with --device, or describe one with --mode, --size and, where it matters, --pins and "
                  "--figvol.");
}

Editor editorOf(const Device &device, std::int32_t language) {
    if (auto editor = describeEditor(device.traits, language)) {
        requireInside(device, *editor, bufferData(device, &*editor));
        return *std::move(editor);
    }
    throw Failure(
        Exit::usage,
        fmt::format("device {} has no configuration editor: its family is {}", device.name, device.traits.prgmode),
        "Choose another device, or another family in its profile.");
}

std::int32_t bufferData(const Device &device, const Editor *editor) {
    std::int64_t bytes = device.profile ? device.profile->bufferBytes() : device.traits.tlength;
    if (editor != nullptr && !device.profile) bytes = highestAddress(device, *editor) + 1;
    return static_cast<std::int32_t>(bytes);
}

void storeDevice(SharedBlocks &blocks, const Device &device, std::int32_t language) {
    if (device.profile) {
        storeProfile(blocks, *device.profile);
    } else {
        const auto buffer = static_cast<std::int64_t>(blocks.elements<std::uint8_t>("ibuffer").size());
        blocks.store("buflength", 0, buffer - extraBytes);
        blocks.store("prgmode", 0, device.traits.prgmode);
        blocks.store("tlength", 0, device.traits.tlength);
        blocks.store("chippin", 0, device.traits.chippin);
        blocks.store("figvol", 0, device.traits.figvol);
    }
    storeTexts(blocks, language);
}

} // namespace kx3console::config
