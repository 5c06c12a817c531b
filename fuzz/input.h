// Values out of the bytes that a fuzzer offers, and the fuzzer's own assertion.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>

namespace kx3::fuzz {

class Input {
  public:
    Input(const std::uint8_t *data, std::size_t size) : rest_(data, size) {}

    [[nodiscard]] bool empty() const noexcept { return rest_.empty(); }
    /// The next number; zeros when the bytes have run out.
    template <class T = std::uint8_t> T number() noexcept {
        T value{};
        const auto bytes = take(sizeof value);
        if (!bytes.empty()) std::memcpy(&value, bytes.data(), bytes.size());
        return value;
    }
    /// A number from 0 to `count` - 1.
    std::size_t below(std::size_t count) noexcept { return number<std::uint16_t>() % count; }
    /// At most `count` of the next bytes.
    std::span<const std::uint8_t> take(std::size_t count) noexcept {
        const auto head = rest_.first(std::min(count, rest_.size()));
        rest_ = rest_.subspan(head.size());
        return head;
    }

  private:
    std::span<const std::uint8_t> rest_;
};

/// As many of `bytes` as `place` has room for.
inline void overwrite(std::span<std::byte> place, std::span<const std::uint8_t> bytes) {
    std::ranges::copy(std::as_bytes(bytes.first(std::min(bytes.size(), place.size()))), place.begin());
}

// The targets: what a fuzzer does with an input.
void reports(Input input);
void blocks(Input input);
void forms(Input input);
void calls(Input input);
void files(Input input);

/// A promise of the plug-in.
inline void promise(bool holds, const char *text) {
    if (holds) return;
    std::fprintf(stderr, "broken promise: %s\n", text);
    std::abort();
}

} // namespace kx3::fuzz
