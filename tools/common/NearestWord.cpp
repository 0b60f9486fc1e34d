#include "NearestWord.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <vector>

namespace
{
constexpr std::size_t largestDistance = 2;

/// How many characters to insert, remove, replace or swap with their neighbour.
std::size_t distanceBetween(std::string_view a, std::string_view b)
{
    std::vector<std::size_t> rowBefore(b.size() + 1);
    std::vector<std::size_t> row(b.size() + 1);
    std::vector<std::size_t> next(b.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (std::size_t i = 1; i <= a.size(); ++i) {
        next[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = row[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            next[j] = std::min({row[j] + 1, next[j - 1] + 1, replaced});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                next[j] = std::min(next[j], rowBefore[j - 2] + 1);
            }
        }
        rowBefore.swap(row);
        row.swap(next);
    }
    return row[b.size()];
}
} // namespace

std::optional<std::string_view> nearestWord(std::string_view word,
                                            std::span<const std::string_view> known)
{
    std::optional<std::string_view> nearest;
    std::size_t limit = std::min(largestDistance + 1, word.size());
    for (const std::string_view each : known) {
        // Words of very different lengths are never near; a long word would cost time.
        if (std::max(each.size(), word.size()) - std::min(each.size(), word.size()) >= limit) {
            continue;
        }
        const std::size_t distance = distanceBetween(word, each);
        if (distance < limit) {
            nearest = each;
            limit = distance;
        }
    }
    return nearest;
}
