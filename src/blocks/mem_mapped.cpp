#include "blocks/mem_mapped.h"

#include "blocks/block_table.h"

namespace kx3 {

namespace {
constexpr Integer highestProbedInstance = 100;
}

clsMemMapped::~clsMemMapped() {
    UnMapFile();
    // A handle whose view could not be mapped is still held here.
    if (handle_ != 0) platform::closeMapping(handle_);
}

std::size_t clsMemMapped::ViewSize() const noexcept {
    return view_ == nullptr ? 0 : platform::viewSize(handle_, view_);
}

bool clsMemMapped::OpenAndMapMemoryBlock(std::string_view strMemoryBlockName, Long Size) {
    if (handle_ != 0 && !UnMapFile()) {
        platform::closeMapping(handle_);
        handle_ = 0;
    }
    std::string name(strMemoryBlockName);
    handle_ = platform::openMapping(name);
    if (handle_ == 0) handle_ = platform::createMapping(name, Size);
    if (handle_ != 0) view_ = platform::mapView(handle_);
    if (view_ == nullptr) return false;
    name_ = std::move(name);
    size_ = Size;
    return true;
}

bool clsMemMapped::UnMapFile() noexcept {
    if (view_ == nullptr || !platform::unmapView(handle_, view_)) return false;
    platform::closeMapping(handle_);
    handle_ = 0;
    view_ = nullptr;
    name_.clear();
    size_ = 0;
    return true;
}

Integer clsMemMapped::findnum() {
    for (Integer number = 0; number <= highestProbedInstance; ++number) {
        const platform::MappingHandle probe = platform::openMapping(blockName(blockTable[0], number));
        if (probe == 0) return number;
        platform::closeMapping(probe);
    }
    return highestProbedInstance + 1;
}

} // namespace kx3
