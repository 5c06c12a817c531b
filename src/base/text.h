// Text helpers. Text inside the engine is UTF-16.
#pragma once

#include "base/types.h"

#include <string>
#include <string_view>

namespace kx3 {

/// UTF-8 to UTF-16; an ill-formed sequence becomes U+FFFD.
[[nodiscard]] std::u16string fromUtf8(std::string_view text);
/// UTF-16 to UTF-8; an unpaired surrogate becomes U+FFFD.
[[nodiscard]] std::string toUtf8(std::u16string_view text);

/// Upper-case hexadecimal digits without leading zeros ("0" for 0). A negative number shows its
/// 32-bit two's complement.
[[nodiscard]] std::u16string hex(Long value);
/// Decimal digits, "-" in front of a negative number, no blank.
[[nodiscard]] std::u16string decimal(Long value);
/// Pattern "0.00": two digits after the point, a half rounded away from zero.
[[nodiscard]] std::u16string twoDecimals(Double value);
/// `hundredths` / 100 in its shortest form ("3.63", "3.3", "5", "0.05", "-0.5").
[[nodiscard]] std::u16string hundredths(Long hundredths);
/// `text` without the blanks (U+0020) at both ends; other white space stays.
[[nodiscard]] std::u16string_view trimBlanks(std::u16string_view text);
/// A caption as the name of what it stands beside: without blanks and colon at its ends.
[[nodiscard]] std::u16string_view nameOfCaption(std::u16string_view caption);

/// All pieces joined in order.
template <class... Pieces> [[nodiscard]] std::u16string join(const Pieces &...pieces) {
    std::u16string whole;
    whole.reserve((std::u16string_view(pieces).size() + ...));
    (whole.append(std::u16string_view(pieces)), ...);
    return whole;
}

} // namespace kx3
