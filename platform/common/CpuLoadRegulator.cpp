#include "platform/common/CpuLoadRegulator.h"

#include <algorithm>

namespace velk::common::sched {

namespace {

constexpr Clock::Duration SHORTEST_REST = std::chrono::milliseconds{20};

} // namespace

CpuLoadRegulator::CpuLoadRegulator(std::uint32_t maxLoadPercent, std::uint32_t maxRestMs) :
    loadPercent{std::clamp<std::uint32_t>(maxLoadPercent, 1, 100)},
    longestRest{std::chrono::milliseconds{maxRestMs}} {}

void CpuLoadRegulator::begin(Clock::Duration wall, Clock::Duration cpu) {
    wallAtBegin = wall;
    cpuAtBegin = cpu;
}

Clock::Duration CpuLoadRegulator::pause(Clock::Duration wall, Clock::Duration cpu) const {
    const Clock::Duration busy = cpu - cpuAtBegin;
    const Clock::Duration due = busy * 100 / loadPercent - (wall - wallAtBegin);
    return std::clamp(due, std::min(SHORTEST_REST, longestRest), longestRest);
}

} // namespace velk::common::sched
