#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace velk::benchmarks {

/// The value below which the share `part` of `values` lies; 0 for none.
inline double quantile(std::vector<double>& values, double part) {
    if (values.empty()) {
        return 0;
    }
    const auto place = static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + place, values.end());
    return values[static_cast<std::size_t>(place)];
}

} // namespace velk::benchmarks
