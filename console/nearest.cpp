#include "nearest.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>

namespace kx3console {

namespace {

char folded(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

/// Number of insertions, deletions and replacements that turn one text into the other.
std::size_t editDistance(std::string_view left, std::string_view right) {
    std::vector<std::size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < left.size(); ++i) {
        std::size_t diagonal = std::exchange(row.at(0), i + 1);
        for (std::size_t k = 0; k < right.size(); ++k) {
            const std::size_t replaced = diagonal + (folded(left[i]) == folded(right[k]) ? 0 : 1);
            diagonal = row[k + 1];
            row[k + 1] = std::min({replaced, diagonal + 1, row[k] + 1});
        }
    }
    return row.back();
}

} // namespace

std::vector<std::string> nearestNames(std::string_view wanted, std::vector<std::string> names, std::size_t most) {
    // A name this long is no slip of the hand, and the comparison's cost grows with its length.
    wanted = wanted.substr(0, 100);
    std::stable_sort(names.begin(), names.end(), [wanted](const std::string &left, const std::string &right) {
        return editDistance(wanted, left) < editDistance(wanted, right);
    });
    names.resize(std::min(most, names.size()));
    return names;
}

} // namespace kx3console
