#pragma once

#include "platform/common/UnixTime.h"
#include "powerdistribution/core/ValueEnums.h"

#include <optional>

namespace velk::simulator {

/// A test of the battery: the load runs from it for a while.
class TestRun {
public:
    using Result = powerdistribution::TestResult;

    explicit TestRun(double seconds) : length{seconds} {}

    bool isRunning() const { return running; }
    std::optional<Result> lastResult() const { return result; }
    std::optional<conv::UnixTime> lastDate() const { return ended; }
    std::optional<conv::UnixTime> lastSuccess() const { return succeeded; }

    /// False when one runs already.
    bool start() {
        if (running) {
            return false;
        }
        running = true;
        elapsed = 0;
        return true;
    }

    /// False when none runs.
    bool abort(conv::UnixTime now) { return end(Result::Aborted, now); }

    /// `carried`: the battery has carried the load through this step. `mainsGood`: there was a choice.
    void step(double seconds, bool carried, bool mainsGood, conv::UnixTime now) {
        if (!running) {
            return;
        }
        elapsed += seconds;
        if (!mainsGood) {
            end(Result::Aborted, now);
        } else if (!carried) {
            end(Result::Fail, now);
        } else if (elapsed >= length) {
            end(Result::Success, now);
        }
    }

private:
    bool end(Result how, conv::UnixTime now) {
        if (!running) {
            return false;
        }
        running = false;
        result = how;
        ended = now;
        succeeded = how == Result::Success ? now : succeeded;
        return true;
    }

    double length;
    double elapsed{0};
    bool running{false};
    std::optional<Result> result;
    std::optional<conv::UnixTime> ended;
    std::optional<conv::UnixTime> succeeded;
};

} // namespace velk::simulator
