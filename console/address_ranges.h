// A set of addresses kept as runs, so that a load file is checked without a map of every byte.
#pragma once

#include <boost/icl/interval_set.hpp>
#include <boost/icl/right_open_interval.hpp>
#include <cstdint>
#include <functional>
#include <string>

namespace kx3console {

/// Addresses from lower() on, up to and without upper().
using AddressRange = boost::icl::right_open_interval<std::uint64_t>;
using AddressRanges = boost::icl::interval_set<std::uint64_t, std::less, AddressRange>;

/// The runs with their last addresses, "0x0-0xFF, 0x200": at most four and then how many more.
[[nodiscard]] std::string rangesText(const AddressRanges &ranges);

} // namespace kx3console
