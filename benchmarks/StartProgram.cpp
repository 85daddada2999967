// One start of the library over a store, in a process of its own. Arguments: the plug-in, the URL of the
// store, a folder for the configuration. Prints one line: nanoseconds from the start to MONITOR, nanoseconds
// of CPU time for it, then, when every data point has been polled, bytes on the heap and kilobytes of
// resident memory that all of it takes, and nanoseconds to let go of it.

#include "powerdistribution/core/PowerDistributionManager.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <iostream>
#include <malloc.h>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

using velk::common::Clock;
using velk::powerdistribution::PowerDistributionManager;

/// The machine's clock with short pauses, so that a stop is noticed at once.
class ShortPauses final : public Clock {
public:
    Duration now() const override { return Clock::system().now(); }
    Duration cpuTime() const override { return Clock::system().cpuTime(); }
    void sleepFor(Duration pause) override {
        Clock::system().sleepFor(std::min<Duration>(pause, std::chrono::milliseconds{1}));
    }
    void waitFor(std::condition_variable_any& condition, velk::common::MutexLock& lock,
                 Duration timeout) override {
        Clock::system().waitFor(condition, lock, timeout);
    }
};

std::size_t heapBytes() {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

long residentKilobytes() {
    std::ifstream file{"/proc/self/statm"};
    long total = 0;
    long resident = 0;
    file >> total >> resident;
    return resident * sysconf(_SC_PAGESIZE) / 1024;
}

/// Blocks until even the data points that come up every 61st cycle have been polled: a task of the scheduler
/// keeps something from its first run on.
void awaitPolls(const PowerDistributionManager& manager) {
    const auto reads = [&manager] {
        return manager.describe("Outlets.1.Setting.AutomaticSwitchOnDelay").publishers.at(0).reads;
    };
    const std::uint32_t atFirst = reads();
    do {
        Clock::system().sleepFor(std::chrono::milliseconds{100});
    } while (reads() == atFirst);
}

struct Result {
    Clock::Duration start{};
    Clock::Duration startCpu{};
    Clock::Duration end{};
    std::size_t heap{0};
    long resident{0};
};

Result run(const std::string& configuration) {
    ShortPauses clock;
    Result result;
    const std::size_t heapBefore = heapBytes();
    const long residentBefore = residentKilobytes();
    const Clock::Duration begin = clock.now();
    const Clock::Duration beginCpu = clock.cpuTime();
    auto manager = std::make_unique<PowerDistributionManager>();
    std::promise<void> arrived;
    std::thread lifecycle{[&] {
        manager->exec({configuration,
                       {},
                       {},
                       [&](std::uint32_t state) {
                           constexpr std::uint32_t IN_SERVICE = 16;
                           if (state == IN_SERVICE) {
                               result.start = clock.now() - begin;
                               result.startCpu = clock.cpuTime() - beginCpu;
                               arrived.set_value();
                           }
                       },
                       &clock});
    }};
    arrived.get_future().wait();
    awaitPolls(*manager);
    result.heap = heapBytes() - heapBefore;
    result.resident = residentKilobytes() - residentBefore;
    manager->exit();
    lifecycle.join();
    const Clock::Duration ending = clock.now();
    manager.reset();
    result.end = clock.now() - ending;
    return result;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 4) {
        std::cerr << "usage: velk-benchmark-start PLUGIN URL FOLDER\n";
        return 2;
    }
    setenv("TESS_URL", arguments[2], 1);
    const std::string configuration = std::filesystem::path{arguments[3]} / "velk.json";
    std::ofstream{configuration} << R"({"protocolLibraries": [")" << arguments[1]
                                 << R"("], "maxRestTimeMs": 0, "maxCpuLoadPercent": 100})";
    // The transitions are not what is asked for here.
    std::ostringstream transitions;
    auto* const output = std::cout.rdbuf(transitions.rdbuf());
    const Result result = run(configuration);
    std::cout.rdbuf(output);
    std::cout << result.start.count() << ' ' << result.startCpu.count() << ' ' << result.heap << ' '
              << result.resident << ' ' << result.end.count() << std::endl;
    return 0;
}
