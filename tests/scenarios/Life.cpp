#include "tests/scenarios/Life.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <utility>

namespace velk::scenarios {

using velk::common::MutexLock;
using velk::powerdistribution::DeviceWrite;

namespace {

constexpr std::string_view TRANSITION{"PowerDistributionManager: Transition from "};
constexpr std::uint32_t STARTING = 3;

template <typename T>
std::optional<T> takeFrom(std::deque<T>& queue) {
    if (queue.empty()) {
        return std::nullopt;
    }
    T first = std::move(queue.front());
    queue.pop_front();
    return first;
}

} // namespace

Life::Life(const std::string& storeUrl) :
    output{std::cout, [this](const std::string& line) { return hear(line); }}, errors{std::cerr} {
    setenv("TESS_URL", storeUrl.c_str(), 1);
}

Life::~Life() {
    destroy();
}

void Life::start(const std::string& configuration) {
    destroy();
    {
        const MutexLock lock{mutex};
        end.reset();
    }
    stopping = false;
    manager = std::make_unique<velk::powerdistribution::PowerDistributionManager>();
    pace.begin();
    runner = std::thread{[this, configuration] { run(configuration); }};
}

void Life::run(const std::string& configuration) {
    velk::powerdistribution::PowerDistributionManager::Attributes attributes;
    attributes.path = configuration;
    attributes.clock = &pace;
    attributes.onDeviceWrite = [this](const DeviceWrite& write) {
        // What the library tells the device of its host by itself comes whenever it comes.
        if (write.channel.rfind("PrivateAction.", 0) != 0) {
            const MutexLock lock{mutex};
            writes.push_back(write);
        }
    };
    // No line tells that the lifecycle begins, but its first service state does.
    attributes.onServiceState = [this](std::uint32_t state) {
        if (state == STARTING) {
            pace.enter("BEGIN");
        }
    };
    End how;
    try {
        manager->exec(std::move(attributes));
    } catch (const std::exception& failure) {
        how = {End::Kind::Failed, failure.what()};
    } catch (...) {
        how = {End::Kind::FailedOddly, ""};
    }
    {
        const MutexLock lock{mutex};
        end = how;
    }
    pace.end();
}

void Life::destroy() {
    if (manager == nullptr) {
        return;
    }
    pace.letGo();
    // `exit` before `exec` is none, and one more in STOP puts the end off.
    while (!ending().has_value()) {
        if (!stopping) {
            manager->exit();
        }
        pace.letGo();
        pace.pass();
        std::this_thread::sleep_for(std::chrono::milliseconds{1});
    }
    runner.join();
    manager.reset();
}

std::optional<Life::End> Life::ending() const {
    const MutexLock lock{mutex};
    return end;
}

std::optional<DeviceWrite> Life::takeWrite() {
    const MutexLock lock{mutex};
    return takeFrom(writes);
}

void Life::forgetWrites() {
    const MutexLock lock{mutex};
    writes.clear();
}

std::optional<std::string> Life::takeTransition() {
    const MutexLock lock{mutex};
    return takeFrom(transitions);
}

std::string Life::pendingTransitions() const {
    const MutexLock lock{mutex};
    std::string all;
    for (const std::string& each : transitions) {
        all += (all.empty() ? "" : ", ") + each;
    }
    return all;
}

void Life::forgetTransitions() {
    const MutexLock lock{mutex};
    transitions.clear();
}

bool Life::hear(const std::string& line) {
    if (line.rfind(TRANSITION, 0) != 0) {
        return true;
    }
    const std::string transition = line.substr(TRANSITION.size());
    {
        const MutexLock lock{mutex};
        transitions.push_back(transition);
    }
    const std::string state = transition.substr(transition.rfind(" to ") + 4);
    stopping = stopping || state == "STOP";
    pace.enter(state);
    return false;
}

} // namespace velk::scenarios
