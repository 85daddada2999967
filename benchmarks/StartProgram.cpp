// One start of the library over a store, in a process of its own. Arguments: the plug-in, the URL of the
// store, a folder for the configuration. Prints one line: nanoseconds from the start to MONITOR, bytes on the
// heap that came with it, kilobytes of resident memory that came with it, nanoseconds to let go of it all.

#include "powerdistribution/core/PowerDistributionManager.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <malloc.h>
#include <sstream>
#include <string>
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

} // namespace

int main(int count, char** arguments) {
    if (count != 4) {
        std::cerr << "usage: velk-benchmark-start PLUGIN URL FOLDER\n";
        return 2;
    }
    constexpr std::uint32_t IN_SERVICE = 16;
    setenv("TESS_URL", arguments[2], 1);
    const auto configuration = std::filesystem::path{arguments[3]} / "velk.json";
    std::ofstream{configuration} << R"({"protocolLibraries": [")" << arguments[1] << "\"]}";
    // The transitions are not what is asked for here.
    std::ostringstream transitions;
    auto* const output = std::cout.rdbuf(transitions.rdbuf());

    ShortPauses clock;
    Clock::Duration started{};
    Clock::Duration arrived{};
    std::size_t heap = heapBytes();
    long resident = residentKilobytes();
    {
        started = clock.now();
        PowerDistributionManager manager;
        const auto onServiceState = [&](std::uint32_t state) {
            if (state != IN_SERVICE) {
                return;
            }
            arrived = clock.now();
            heap = heapBytes() - heap;
            resident = residentKilobytes() - resident;
            manager.exit();
        };
        manager.exec({configuration, {}, {}, onServiceState, &clock});
        std::cout.rdbuf(output);
        std::cout << (arrived - started).count() << ' ' << heap << ' ' << resident << ' ' << std::flush;
        started = clock.now();
    }
    std::cout << (clock.now() - started).count() << std::endl;
    return 0;
}
