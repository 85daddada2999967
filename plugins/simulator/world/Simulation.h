#pragma once

#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "plugins/simulator/world/Command.h"
#include "plugins/simulator/world/DeviceLink.h"
#include "plugins/simulator/world/FaultTable.h"
#include "plugins/simulator/world/Headlines.h"
#include "plugins/simulator/world/Scenario.h"
#include "plugins/simulator/world/SimulatedDevice.h"

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace velk::simulator {

/// The world of one simulated device: moves its time, plays its scenario and does to it what commands say.
///
/// Threads: any for all operations but `start` and `stop`, which come from one thread at a time. One thread
/// of its own moves the time while the speed is not 0. A step of time and a command exclude each other.
class Simulation {
public:
    using Time = SimulatedDevice::Time;

    struct Options {
        double speed{1}; ///< simulated seconds a real second; 0: by `advance` alone
        Time tick{100};  ///< length of one step
        std::vector<std::filesystem::path> folders; ///< where scenarios are looked for, in this order
        std::optional<Scenario> scenario;           ///< played from the start
    };

    Simulation(Options settings, std::shared_ptr<SimulatedDevice> world, std::shared_ptr<FaultTable> present,
               std::shared_ptr<DeviceLink> wire, velk::common::Clock& time);
    ~Simulation(); ///< stops
    Simulation(const Simulation&) = delete;
    Simulation& operator=(const Simulation&) = delete;

    void start();
    /// Ends whatever moves the time, also an `advance` in another thread, and joins the own thread.
    void stop() VELK_EXCLUDES(mutex);

    /// Does what the command says and gives the members of the answer, such as `,"value":230`. Throws
    /// std::exception that tells why it could not be done; nothing has changed then.
    std::string execute(const Command& command) VELK_EXCLUDES(mutex);

    Headlines& headlines() { return said; }

private:
    struct Play {
        Scenario scenario;
        Time begun{0};
        std::size_t next{0};
    };

    void run() VELK_EXCLUDES(mutex);
    void advance(Time time) VELK_EXCLUDES(mutex);
    void tick(Time length) VELK_REQUIRES(mutex);
    void playDueSteps() VELK_REQUIRES(mutex);
    void doStep(const Scenario::Step& step) VELK_REQUIRES(mutex);
    std::string doCommand(const Command& command) VELK_REQUIRES(mutex);
    void beginToPlay(Scenario scenario) VELK_REQUIRES(mutex);
    void clearFaults(std::optional<FaultKind> kind);
    std::string statusText() VELK_REQUIRES(mutex);

    const Time tickLength;
    const std::vector<std::filesystem::path> folders;
    const std::shared_ptr<SimulatedDevice> device;
    const std::shared_ptr<FaultTable> faults;
    const std::shared_ptr<DeviceLink> link;
    velk::common::Clock& clock;
    Headlines said;

    velk::common::Mutex mutex;
    std::condition_variable_any changed;
    double speed VELK_GUARDED_BY(mutex);
    bool stopping VELK_GUARDED_BY(mutex){false};
    std::optional<Scenario> first VELK_GUARDED_BY(mutex);
    std::optional<Play> play VELK_GUARDED_BY(mutex);

    std::thread thread;
};

} // namespace velk::simulator
