#pragma once

#include "testing/TemporaryDirectory.h"
#include "tests/scenarios/Life.h"
#include "tests/scenarios/Mirror.h"
#include "tests/scenarios/SimulatorClient.h"
#include "tests/scenarios/StoreEye.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace velk::scenarios {

/// Does to a running system whatever can happen to it, at random, and looks at every quiet point whether the
/// store equals the device. The same seed gives the same deeds in the same order.
///
/// Threads: one; one of a process at a time, since it takes the standard streams.
class Soak {
public:
    explicit Soak(std::uint32_t seed);
    ~Soak();
    Soak(const Soak&) = delete;
    Soak& operator=(const Soak&) = delete;

    /// One cycle: some random deeds, then quiet, then the comparison. Throws std::runtime_error that tells
    /// what is not as it should be.
    void cycle();

    /// The deeds of late, the newest last.
    const std::deque<std::string>& lastDeeds() const { return deeds; }

    /// What has happened so far.
    struct Figures {
        std::size_t cycles{0};
        std::size_t deeds{0};
        std::size_t faults{0};
        std::size_t losses{0};   ///< times that the lifecycle has noticed a loss
        std::size_t builds{0};   ///< times that the data model was built
        std::size_t runs{0};     ///< managers
        std::size_t failures{0}; ///< runs that an exception has ended
        std::size_t compared{0}; ///< data points
    };
    const Figures& figures() const { return sofar; }

private:
    using Deed = void (Soak::*)();

    std::uint32_t below(std::uint32_t bound) {
        return std::uniform_int_distribution<std::uint32_t>{0, bound - 1}(random);
    }
    template <typename T>
    const T& oneOf(const std::vector<T>& all) {
        return all.at(below(static_cast<std::uint32_t>(all.size())));
    }

    void note(const std::string& deed);
    /// Gives the command to the device; what it refuses is no failure.
    std::string command(const std::string& json);

    void fault();
    void failingOperation();
    void clear();
    void mains();
    void load();
    void battery();
    void panel();
    void log();
    void identity();
    void advance();
    void pass();
    void writeSetting();
    void requestAction();
    void writeStore(std::uint64_t channel, const qz::CValue& value);
    void exitAndStart();

    void awaitStandstill() const;
    void letPass();
    void start(const std::string& faults);
    void awaitEnd();
    void becomeQuiet();
    void awaitMonitor();
    void compare();
    void readTransitions();
    void await(const std::function<bool()>& condition, const std::function<std::string()>& what);
    std::string anyPath(const std::function<bool(const std::string&, const DevicePoint&)>& suits);

    const std::uint32_t seed;
    std::mt19937 random;
    velk::testing::TemporaryDirectory folder;
    const std::string storeUrl;
    StoreEye eye;
    SimulatorClient simulator;
    Life life;
    std::string state;
    DevicePoints known; ///< the points as they were at the last quiet point
    std::uint32_t firmware{0};
    const std::chrono::steady_clock::time_point begun{std::chrono::steady_clock::now()};
    std::deque<std::string> deeds; ///< each with the time since the beginning
    Figures sofar;
};

} // namespace velk::scenarios
