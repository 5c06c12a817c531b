// The operations that the session window announces to the host.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace kx3console {

/// Tells which operation a yield of the session window announces. The window announces every step
/// once, in the order of the sequence, by a state cell that it sets just before it yields; the cell
/// does not say which step it is, so that they are counted.
class Announcements {
  public:
    /// Blocks `prgresult`, `prgmode`, `wautonum` and `autoprg`.
    struct Blocks {
        std::span<const std::uint8_t> result;
        std::span<std::uint8_t> mode;
        std::span<const std::uint8_t> sequenceLength;
        std::span<const std::uint8_t> sequence;
    };

    explicit Announcements(const Blocks &blocks) : blocks_(blocks) {}

    /// A run begins.
    void restart() { next_ = 0; }
    /// Take the operation that waits to be carried out; nothing when none was announced since the last
    /// one was taken.
    [[nodiscard]] std::optional<std::uint8_t> take();

  private:
    [[nodiscard]] std::uint8_t operation();

    Blocks blocks_;
    std::size_t next_ = 0; ///< step of the sequence
};

} // namespace kx3console
