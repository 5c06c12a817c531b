#include "address_ranges.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>

namespace kx3console {

void AddressRanges::add(AddressRange range) {
    auto next = runs_.upper_bound(range.first);
    if (next != runs_.begin() && std::prev(next)->second + 1 >= range.first) --next;
    while (next != runs_.end() && next->first <= range.last + 1) {
        range = {std::min(range.first, next->first), std::max(range.last, next->second)};
        next = runs_.erase(next);
    }
    runs_.emplace_hint(next, range.first, range.last);
}

std::optional<AddressRange> AddressRanges::overlap(AddressRange range) const {
    auto run = runs_.upper_bound(range.first);
    if (run != runs_.begin() && std::prev(run)->second >= range.first) --run;
    if (run == runs_.end() || run->first > range.last) return std::nullopt;
    return AddressRange{std::max(range.first, run->first), std::min(range.last, run->second)};
}

std::uint64_t AddressRanges::size() const {
    std::uint64_t sum = 0;
    for (const auto &[first, last] : runs_)
        sum += last - first + 1;
    return sum;
}

AddressRanges AddressRanges::gaps(AddressRange whole) const {
    AddressRanges result;
    std::uint64_t next = whole.first;
    for (const auto &[first, last] : runs_) {
        if (first > whole.last) break;
        if (first > next) result.add({next, first - 1});
        next = std::max(next, last + 1);
    }
    if (next <= whole.last) result.add({next, whole.last});
    return result;
}

std::string AddressRanges::text(std::size_t most) const {
    std::string result;
    std::size_t shown = 0;
    for (const auto &[first, last] : runs_) {
        if (shown == most) {
            result += fmt::format(" and {} more", runs_.size() - most);
            break;
        }
        result += shown++ == 0 ? "" : ", ";
        result += first == last ? fmt::format("0x{:X}", first) : fmt::format("0x{:X}-0x{:X}", first, last);
    }
    return result;
}

} // namespace kx3console
