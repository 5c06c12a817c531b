#include "workbench.h"

#include <algorithm>

namespace kx3console::config {

namespace {

constexpr std::uint8_t erased = 0xFF;

} // namespace

Workbench::Workbench(const Device &device, const Editor &editor, std::int32_t language)
    : editor_(editor), blocks_(freeInstance(), bufferData(device, &editor)) {
    storeDevice(blocks_, device, language);
    for (const auto &[address, value] : configurationArea(editor_, buffer()))
        buffer()[static_cast<std::size_t>(address)] = erased;
    if (device.profile) storeConfiguration(blocks_, *device.profile);
}

Snapshot Workbench::look() {
    Snapshot snapshot;
    snapshot.bytes = configurationArea(editor_, buffer());
    for (const Field &field : editor_.fields)
        snapshot.bits.push_back(storedBits(field, buffer()));
    snapshot.states = Dialogs(blocks_).look(editor_);
    // Some editors copy a byte when they open.
    restore(snapshot.bytes);
    return snapshot;
}

void Workbench::edit(const std::vector<Assignment> &assignments) { Dialogs(blocks_).edit(assignments); }

bool Workbench::letEdit(const Window &window) {
    const Bytes before = configurationArea(editor_, buffer());
    const bool accepted = Dialogs(blocks_).letEdit(window);
    if (!accepted) restore(before); // some editors copy a byte when they open
    return accepted;
}

Bytes Workbench::writeDefaults() {
    const Bytes before = configurationArea(editor_, buffer());
    // The bytes that come out the same over any background are the ones that are written.
    const Bytes overZeros = defaultsOver(0x00);
    const Bytes overOnes = defaultsOver(0xFF);
    Bytes written;
    std::set_intersection(overZeros.begin(), overZeros.end(), overOnes.begin(), overOnes.end(),
                          std::inserter(written, written.end()));
    restore(before);
    Dialogs(blocks_).writeDefaults();
    return written;
}

void Workbench::restore(const Bytes &bytes) {
    for (const auto &[address, value] : bytes)
        buffer()[static_cast<std::size_t>(address)] = value;
}

Bytes Workbench::defaultsOver(std::uint8_t background) {
    for (const auto &[address, value] : configurationArea(editor_, buffer()))
        buffer()[static_cast<std::size_t>(address)] = background;
    Dialogs(blocks_).writeDefaults();
    return configurationArea(editor_, buffer());
}

} // namespace kx3console::config
