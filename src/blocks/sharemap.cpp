#include "blocks/sharemap.h"

#include "base/text.h"

#include <algorithm>
#include <utility>

namespace kx3 {

namespace {

constexpr std::u16string_view attachFailure = u"Unable to create memory mapped file";

/// A block smaller than its array would let an index leave the view.
bool covers(const clsMemMapped &mapping, const ArrayBase &array, Long count) {
    return count >= 0 && mapping.ViewSize() >= static_cast<std::size_t>(count) * elementWidth(array.elementType());
}

} // namespace

std::string blockName(const BlockRow &row) { return std::string(blockPrefix).append(row.root); }
std::string blockName(const BlockRow &row, Integer num) { return blockName(row) + std::to_string(num); }

sharemap::sharemap()
    : arrays_{
#define KX3_BLOCK(member, root, type, count, bytes) &member,
#include "blocks/block_table.inc"
#undef KX3_BLOCK
          &ibuffer, &ibuffer66} {
}

void sharemap::MapSharedBlocks(Integer num, Ui &ui) {
    FirstError error;
    for (std::size_t i = 0; i < blockTable.size(); ++i)
        error.attempt([&] { attach(i, blockName(blockTable[i], num), blockTable[i].count, blockTable[i].bytes, ui); });
    error.rethrow();
}

void sharemap::MapDeviceBuffer(Long size, Ui &ui) {
    const BlockRow &small = deviceBuffer66Row;
    FirstError error;
    error.attempt([&] { attach(deviceBufferSlot, blockName(deviceBufferRow), size, size, ui); });
    error.attempt([&] { attach(deviceBufferSlot + 1, blockName(small), small.count, small.bytes, ui); });
    error.rethrow();
}

bool sharemap::attachedCompletely() const noexcept {
    return std::all_of(slots_.begin(), slots_.begin() + deviceBufferSlot,
                       [](const Slot &slot) { return slot.mapping && slot.mapping->BaseAddress() != nullptr; });
}

void sharemap::UnmapSharedBlocks() noexcept {
    for (std::size_t i = 0; i < blockTable.size(); ++i)
        release(i);
}

void sharemap::UnmapDeviceBuffer() noexcept {
    release(deviceBufferSlot);
    release(deviceBufferSlot + 1);
}

void sharemap::attach(std::size_t slot, const std::string &name, Long count, Long bytes, Ui &ui) {
    auto &[mapping, binder] = slots_[slot];
    ArrayBase &array = *arrays_[slot];
    binder.emplace();
    mapping.emplace();
    array.reset();
    if (!mapping->OpenAndMapMemoryBlock(name, bytes) || !covers(*mapping, array, count)) {
        mapping->UnMapFile();
        ui.messageBox(attachFailure, messageBoxOkOnly, std::nullopt);
        return;
    }
    binder->AttachToArray(Variant::ofArrayVariable(array.variable(), variantEmpty));
    binder->CountOfElements(1, count);
    binder->PointerToData(mapping->BaseAddress());
}

void sharemap::release(std::size_t slot) noexcept {
    auto &[mapping, binder] = slots_[slot];
    if (binder) binder->ReleaseArray();
    if (mapping) mapping->UnMapFile();
}

} // namespace kx3
