#include "cli/EditDistance.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <set>
#include <string>
#include <utility>

namespace velk::cli {

namespace {

char lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

std::size_t tolerated(std::string_view a, std::string_view b) {
    return std::max<std::size_t>(2, std::max(a.size(), b.size()) / 3);
}

} // namespace

std::size_t editDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1); // distances of a's first i letters to each beginning of b
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (lower(a[i]) == lower(b[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

std::string nearest(std::string_view wanted, const std::vector<std::string>& candidates) {
    std::size_t best = std::numeric_limits<std::size_t>::max();
    std::string found;
    for (const std::string& candidate : candidates) {
        const std::size_t distance = editDistance(wanted, candidate);
        if (distance < best) {
            best = distance;
            found = candidate;
        }
    }
    return best <= tolerated(wanted, found) ? found : std::string{};
}

std::vector<std::string> nearestFew(std::string_view wanted, const std::vector<std::string>& candidates,
                                    std::size_t limit) {
    std::set<std::pair<std::size_t, std::string>> near;
    for (const std::string& candidate : candidates) {
        const std::size_t distance = editDistance(wanted, candidate);
        if (distance <= tolerated(wanted, candidate)) {
            near.emplace(distance, candidate);
        }
    }
    std::vector<std::string> found;
    for (auto each = near.begin(); each != near.end() && found.size() < limit; ++each) {
        found.push_back(each->second);
    }
    return found;
}

} // namespace velk::cli
