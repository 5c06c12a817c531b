// One named shared-memory block and its view.
#pragma once

#include "base/types.h"
#include "platform/named_memory.h"

#include <string>
#include <string_view>

namespace kx3 {

/// Opens (or, failing that, creates) one named block and maps a view of the whole of it. The
/// destructor unmaps the view and closes the handle.
class clsMemMapped {
  public:
    clsMemMapped() = default;
    ~clsMemMapped();
    clsMemMapped(const clsMemMapped &) = delete;
    clsMemMapped &operator=(const clsMemMapped &) = delete;

    /// Address of the view; nullptr when none.
    [[nodiscard]] void *BaseAddress() const noexcept { return view_; }
    /// Handle of the open mapping object; 0 when none.
    [[nodiscard]] platform::MappingHandle hFile() const noexcept { return handle_; }
    /// Name passed to the last successful OpenAndMapMemoryBlock; empty otherwise.
    [[nodiscard]] const std::string &MappedFile() const noexcept { return name_; }
    /// Size passed to the last successful OpenAndMapMemoryBlock; 0 otherwise. The view may be
    /// larger: see ViewSize.
    [[nodiscard]] Long MappedSize() const noexcept { return size_; }
    /// Bytes that the view really spans, in whole pages; 0 when there is no view.
    [[nodiscard]] std::size_t ViewSize() const noexcept;

    /// Map block `strMemoryBlockName`. An existing block keeps its own size; `Size` bytes are asked
    /// for only when the block has to be created. A view held before is unmapped first. True when a
    /// view is mapped.
    bool OpenAndMapMemoryBlock(std::string_view strMemoryBlockName, Long Size);
    /// True when a view was unmapped; without a view nothing changes.
    bool UnMapFile() noexcept;

    /// The lowest instance number from 0 to 100 whose first block does not exist; 101 when all do.
    [[nodiscard]] static Integer findnum();

  private:
    platform::MappingHandle handle_ = 0;
    void *view_ = nullptr;
    std::string name_;
    Long size_ = 0;
};

} // namespace kx3
