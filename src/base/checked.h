// Integer arithmetic that either fits or raises Overflow; nothing wraps around.
#pragma once

#include "base/error.h"
#include "base/types.h"

#include <cmath>
#include <concepts>
#include <limits>

namespace kx3 {

/// `value` as a `To`; raises Overflow when it does not fit.
template <std::integral To, std::integral From> [[nodiscard]] constexpr To narrow(From value) {
    static_assert(sizeof(From) <= sizeof(std::int64_t) && std::is_signed_v<From>);
    if (value < static_cast<std::int64_t>(std::numeric_limits<To>::min()) ||
        value > static_cast<std::int64_t>(std::numeric_limits<To>::max()))
        raise(ErrorNumber::overflow);
    return static_cast<To>(value);
}

/// A Double as a Long: rounded to nearest, ties to even. NaN, infinities and what does not fit are
/// Overflow.
[[nodiscard]] inline Long roundToLong(Double value) {
    // Written so that NaN fails the test; the default rounding mode is to nearest, ties to even.
    if (!(value >= -2147483648.5 && value < 2147483647.5)) raise(ErrorNumber::overflow);
    const Double whole = std::nearbyint(value);
    return narrow<Long>(static_cast<std::int64_t>(whole));
}

/// A signed 32-bit value whose every operation is tested. Division truncates toward zero, the
/// remainder has the sign of the dividend.
class Checked {
  public:
    constexpr Checked(std::int64_t value) : value_(narrow<Long>(value)) {} // NOLINT: a formula's operand

    [[nodiscard]] constexpr Long value() const { return value_; }
    [[nodiscard]] constexpr Byte toByte() const { return narrow<Byte>(value_); }

    friend constexpr Checked operator+(Checked a, Checked b) { return wide(a) + wide(b); }
    friend constexpr Checked operator-(Checked a, Checked b) { return wide(a) - wide(b); }
    friend constexpr Checked operator*(Checked a, Checked b) { return wide(a) * wide(b); }
    friend constexpr Checked operator/(Checked a, Checked b) {
        if (b.value_ == 0) raise(ErrorNumber::divisionByZero);
        return wide(a) / wide(b);
    }
    friend constexpr Checked operator%(Checked a, Checked b) {
        if (b.value_ == 0) raise(ErrorNumber::divisionByZero);
        return wide(a) % wide(b);
    }
    friend constexpr auto operator<=>(Checked, Checked) = default;

  private:
    static constexpr std::int64_t wide(Checked c) { return c.value_; }
    Long value_;
};

} // namespace kx3
