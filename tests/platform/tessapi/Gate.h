#pragma once

#include "platform/common/Mutex.h"
#include "tests/platform/tessapi/Recorder.h"

#include <chrono>
#include <condition_variable>
#include <memory>

namespace tessapi::contract {

/// Holds whoever passes until it is opened. A shared handle.
/// Threads: any.
class Gate {
public:
    /// Notes the arrival and waits until the gate is open, or until the deadline, so that no failed test
    /// hangs.
    void pass() const {
        arrived.add(true);
        velk::common::MutexLock lock{state->mutex};
        const auto deadline = std::chrono::steady_clock::now() + DEADLINE;
        while (!state->isOpen && std::chrono::steady_clock::now() < deadline) {
            state->opened.wait_until(lock, deadline);
        }
    }

    /// True once someone has arrived; false when the deadline passes.
    bool awaitArrival() const { return !arrived.waitFor(1).empty(); }

    void open() const {
        const velk::common::MutexLock lock{state->mutex};
        state->isOpen = true;
        state->opened.notify_all();
    }

private:
    struct State {
        velk::common::Mutex mutex;
        std::condition_variable_any opened;
        bool isOpen{false};
    };

    Recorder<bool> arrived;
    std::shared_ptr<State> state{std::make_shared<State>()};
};

} // namespace tessapi::contract
