#pragma once

#include "benchmarks/gateways/Step.h"
#include "benchmarks/gateways/Worker.h"

#include <cstddef>
#include <string>
#include <vector>

namespace velk::benchmarks {

using Process = Worker<Step, Result>;

/// What the stores of the gateways are like.
struct Sizes {
    std::size_t channels{300};
    std::size_t group{3}; ///< channels written at a time
};

/// The body of a process that writes for the gateways at `urls` in turn, each group when it is due.
void writeFor(const std::vector<std::string>& urls, const Sizes& sizes, const Channel& steps,
              const Channel& results);

/// The body of a process that listens to the gateways at `urls`, one thread each.
void listenTo(const std::vector<std::string>& urls, const Sizes& sizes, const Channel& steps,
              const Channel& results);

} // namespace velk::benchmarks
