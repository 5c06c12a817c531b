// Names that a misspelt one may have meant.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kx3console {

/// At most `most` of `names`, nearest first. Case does not count.
[[nodiscard]] std::vector<std::string> nearestNames(std::string_view wanted, std::vector<std::string> names,
                                                    std::size_t most = 3);

} // namespace kx3console
