// The C interface: strings and shared blocks, as a host needs them.

#include "thread_state.h"

#include "blocks/block_table.h"
#include "blocks/mem_mapped.h"
#include "platform/named_memory.h"
#include "platform/strings.h"

#include <algorithm>

using namespace kx3;
using native::guarded;
using native::required;

/// A block that the host holds open. Its memory is allocated before the block is opened, so that an
/// opened block is never lost.
struct kx3_block {
    platform::MappingHandle mapping = 0;
    void *view = nullptr;

    kx3_block() = default;
    ~kx3_block() {
        platform::unmapView(mapping, view);
        if (mapping != 0) platform::closeMapping(mapping);
    }
    kx3_block(const kx3_block &) = delete;
    kx3_block &operator=(const kx3_block &) = delete;
};

namespace {

constexpr auto tableSize = static_cast<std::int32_t>(blockTable.size());

const BlockRow &rowAt(std::int32_t index) {
    if (index < 0 || index >= tableSize + 2) raise(ErrorNumber::subscript);
    if (index < tableSize) return blockTable[static_cast<std::size_t>(index)];
    return index == tableSize ? deviceBufferRow : deviceBuffer66Row;
}

ErrorNumber numberOf(platform::MappingError error) {
    switch (error) {
    case platform::MappingError::notFound: return ErrorNumber::fileNotFound;
    case platform::MappingError::exists: return ErrorNumber::alreadyExists;
    case platform::MappingError::badSize: return ErrorNumber::invalidCall;
    case platform::MappingError::badName: return ErrorNumber::badName;
    case platform::MappingError::badNamespace: return ErrorNumber::badNamespace;
    case platform::MappingError::tooManyFiles: return ErrorNumber::tooManyFiles;
    case platform::MappingError::noSpace: return ErrorNumber::noSpace;
    case platform::MappingError::noMemory: return ErrorNumber::outOfMemory;
    case platform::MappingError::denied: return ErrorNumber::permissionDenied;
    case platform::MappingError::other: break;
    }
    return ErrorNumber::deviceIo;
}

void handOut(std::unique_ptr<kx3_block> block, const char *name, kx3_block *&out) {
    if (block->mapping == 0) {
        const ErrorNumber number = numberOf(platform::lastMappingError());
        raise(number, join(standardDescription(number), u": shared block ", fromUtf8(name)));
    }
    block->view = platform::mapView(block->mapping);
    if (block->view == nullptr)
        raise(ErrorNumber::outOfMemory, join(u"Out of memory: shared block ", fromUtf8(name), u" cannot be mapped"));
    out = block.release();
}

} // namespace

extern "C" {

kx3_status kx3_string_alloc(const uint16_t *text, size_t length, uint32_t *handle) {
    return guarded([&] {
        uint32_t &out = required(handle, u"handle");
        if (length != 0) (void)required(text, u"text");
        out = platform::allocateString({reinterpret_cast<const char16_t *>(text), length}).handle;
    });
}

kx3_status kx3_string_read(uint32_t handle, uint16_t *buffer, size_t capacity, size_t *length) {
    return guarded([&] {
        const std::u16string text = platform::readString({handle});
        required(length, u"length") = text.size();
        if (capacity != 0) std::copy_n(text.begin(), std::min(capacity, text.size()), &required(buffer, u"buffer"));
    });
}

void kx3_string_free(uint32_t handle) { platform::freeString({handle}); }

int32_t kx3_block_count(void) { return tableSize + 2; }

kx3_status kx3_block_describe(int32_t index, kx3_block_info *info) {
    return guarded([&] {
        const BlockRow &row = rowAt(index);
        native::fill(info, u"info",
                     kx3_block_info{
                         .struct_size = {},
                         .root = row.root.data(),
                         .type = static_cast<int32_t>(row.type),
                         .count = row.count,
                         .bytes = row.bytes,
                         .numbered = index < tableSize ? 1 : 0,
                     });
    });
}

kx3_status kx3_block_create(const char *name, int32_t bytes, kx3_block **block) {
    return guarded([&] {
        kx3_block *&out = required(block, u"block");
        out = nullptr;
        (void)required(name, u"name");
        auto made = std::make_unique<kx3_block>();
        made->mapping = platform::createMappingExclusively(name, bytes);
        handOut(std::move(made), name, out);
    });
}

kx3_status kx3_block_open(const char *name, kx3_block **block) {
    return guarded([&] {
        kx3_block *&out = required(block, u"block");
        out = nullptr;
        auto opened = std::make_unique<kx3_block>();
        opened->mapping = platform::openMapping(&required(name, u"name"));
        handOut(std::move(opened), name, out);
    });
}

void *kx3_block_data(const kx3_block *block) { return block == nullptr ? nullptr : block->view; }

size_t kx3_block_size(const kx3_block *block) {
    return block == nullptr ? 0 : platform::viewSize(block->mapping, block->view);
}

void kx3_block_close(kx3_block *block) { delete block; }

kx3_status kx3_findnum(int16_t *number) {
    return guarded([&] { required(number, u"number") = clsMemMapped::findnum(); });
}

} // extern "C"
