#pragma once

#include "kit/Board.h"
#include "kit/Options.h"
#include "kit/Plugin.h"
#include "kit/Reporter.h"
#include "kit/TreeWalk.h"
#include "platform/common/Uuid.h"
#include "powerdistribution/core/Value.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velk::kit {

using Milliseconds = std::chrono::milliseconds;

/// A data point that the plug-in serves, and what its first reads have told.
struct Point {
    powerdistribution::EPath path;
    std::string text; ///< of the path
    Family family{Family::Private};
    std::string type; ///< of the last value that it gave; empty before
    std::chrono::microseconds quickest = std::chrono::microseconds::max(); ///< of its reads
};

/// What ran, and how it ended when it threw.
using Failure = std::optional<std::string>;

/// Runs `action`; what it threw, as "exception: …", or nothing.
Failure failureOf(const std::function<void()>& action);

/// The child's work on one plug-in: what its steps share. Calls of the plug-in stand on the board while they
/// run, and an exception of the plug-in becomes a finding here, so that steps need not catch.
///
/// Threads: `build`, `read` and `doing` any; the rest belongs to the child's first thread.
class Session {
public:
    using EPath = powerdistribution::EPath;
    using Value = powerdistribution::Value;
    using WrapperPtr = powerdistribution::protocols::ValueWrapperPtr;
    using Wrapper = powerdistribution::protocols::IValueWrapper;

    Session(const Options& asked, Board& sharedBoard, Reporter& pipe) :
        options{asked}, board{sharedBoard}, report{pipe} {}

    /// What the plug-in serves at `path`; null also after an exception, which is reported.
    WrapperPtr build(const EPath& path) const { return build(path, path.nodesToString()); }
    WrapperPtr build(const EPath& path, const std::string& text) const;

    /// Empty also after an exception, which is reported unless `failure` takes it.
    Value read(const Wrapper& wrapper, const std::string& text, Failure* failure = nullptr) const;

    /// The present state of the link; nothing after an exception, which is reported.
    std::optional<powerdistribution::protocols::CommunicationStatus> status() const;

    /// Calls `discover` until it is true; false when it is not in time, or throws, which is reported.
    bool discover() const;

    /// Waits until `isDone`, asking every 20 ms; false when it did not come in time.
    static bool await(Milliseconds most, const std::function<bool()>& isDone);

    /// Runs `action` under the name of a call; an exception is reported as a finding on `operation`.
    bool call(std::string_view operation, const std::function<void()>& action) const;

    /// True for a path whose trial has ended an earlier child.
    bool isAvoided(const std::string& text) const { return options.avoided.count(text) != 0; }

    const Options& options;
    Board& board;
    Reporter& report;
    Plugin plugin;
    std::unique_ptr<TreeWalk> walk; ///< null before the walk
    std::vector<Point> points;
    velk::common::Uuid identity;
    std::size_t threadsBefore{1}; ///< of this process, before the plug-in was loaded
};

/// The present moment, for measuring how long calls take.
inline std::chrono::steady_clock::time_point now() {
    return std::chrono::steady_clock::now();
}

/// "12 ms", "1.3 s".
std::string textOf(std::chrono::microseconds time);

std::string textOf(const velk::common::Uuid& uuid);

} // namespace velk::kit
