#include "plugins/simulator/world/Headlines.h"

#include "plugins/simulator/world/JsonText.h"

#include <algorithm>
#include <utility>

namespace velk::simulator {

using velk::common::MutexLock;

namespace {

std::string atText(SimulatedDevice::Time at) {
    return ",\"at\":" + jsonNumber(static_cast<double>(at.count()) / 1000) + "}";
}

} // namespace

void Headlines::say(const std::string& text, SimulatedDevice::Time at) {
    add("{\"say\":" + jsonText(text) + atText(at));
}

void Headlines::end(const std::string& scenario, SimulatedDevice::Time at) {
    add("{\"ended\":" + jsonText(scenario) + atText(at));
}

void Headlines::listen(std::function<void()> newListener) {
    const MutexLock lock{mutex};
    listener = std::move(newListener);
}

std::size_t Headlines::next() const {
    const MutexLock lock{mutex};
    return dropped + lines.size();
}

std::size_t Headlines::append(std::size_t first, std::string& text) const {
    const MutexLock lock{mutex};
    const std::size_t skipped = first < dropped ? 0 : std::min(first - dropped, lines.size());
    for (auto line = lines.begin() + static_cast<std::ptrdiff_t>(skipped); line != lines.end(); ++line) {
        text += *line + "\n";
    }
    return dropped + lines.size();
}

void Headlines::add(std::string line) {
    const MutexLock lock{mutex};
    lines.push_back(std::move(line));
    if (lines.size() > KEPT) {
        lines.pop_front();
        ++dropped;
    }
    if (listener) {
        listener();
    }
}

} // namespace velk::simulator
