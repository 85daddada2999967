#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "plugins/simulator/world/SimulatedDevice.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <string>

namespace velk::simulator {

/// What the scenario has said so far, for whoever follows it. Keeps the last ones only.
/// Threads: any; the listener is called by the thread that says something and must not wait.
class Headlines {
public:
    static constexpr std::size_t KEPT = 1000;

    /// One line of JSON each.
    void say(const std::string& text, SimulatedDevice::Time at) VELK_EXCLUDES(mutex);
    void end(const std::string& scenario, SimulatedDevice::Time at) VELK_EXCLUDES(mutex);

    /// Told of every line; empty for nobody.
    void listen(std::function<void()> newListener) VELK_EXCLUDES(mutex);

    /// Number that the next line gets.
    std::size_t next() const VELK_EXCLUDES(mutex);
    /// Appends the lines from number `first` on, as far as they are kept, with their line ends; gives the
    /// number of the line after them.
    std::size_t append(std::size_t first, std::string& text) const VELK_EXCLUDES(mutex);

private:
    void add(std::string line) VELK_EXCLUDES(mutex);

    mutable velk::common::Mutex mutex;
    std::deque<std::string> lines VELK_GUARDED_BY(mutex);
    std::size_t dropped VELK_GUARDED_BY(mutex){0};
    std::function<void()> listener VELK_GUARDED_BY(mutex);
};

} // namespace velk::simulator
