// What an hour of ten changes a second writes to a disk, for each way of keeping a store.
//
//     velk-benchmark-wear [DISK [MEMORY [SECONDS]]]
//
// DISK is a folder on a disk (the working folder), MEMORY one in memory (/dev/shm). Bytes are those that the
// system counts for this process when pages go to a disk: whole pages, each time one is written anew after a
// sync.

#include "testing/StoreLoad.h"
#include "testing/TemporaryDirectory.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <string>

namespace {

using velk::testing::FakeClock;
using velk::testing::TemporaryDirectory;

double bytesToDisk() {
    std::ifstream file{"/proc/self/io"};
    for (std::string name; file >> name;) {
        double count = 0;
        if (file >> count && name == "write_bytes:") {
            return count;
        }
    }
    return 0;
}

void measure(const std::string& name, const std::string& url, std::chrono::seconds time) {
    constexpr double MIB = 1024.0 * 1024.0;
    FakeClock clock{FakeClock::Passing::ByHand};
    tessapi::Engine::Options options;
    options.clock = &clock;
    const auto store = tessapi::Engine::open(tessapi::StoreUrl{url}, true, options);
    clock.awaitBlocked(1);
    velk::testing::StoreLoad load{*store, clock};
    load.run(std::chrono::seconds{60}); // until everything that there is has been copied once
    const auto before = bytesToDisk();
    load.run(time);
    const auto perHour = (bytesToDisk() - before) / MIB * 3600.0 / static_cast<double>(time.count());
    std::cout << std::left << std::setw(28) << name << std::right << std::fixed << std::setprecision(1)
              << std::setw(10) << perHour << " MiB an hour\n"
              << std::flush;
}

} // namespace

int main(int count, char** arguments) {
    const TemporaryDirectory disk{count > 1 ? arguments[1] : "."};
    const TemporaryDirectory memory{count > 2 ? arguments[2] : "/dev/shm"};
    const std::chrono::seconds time{count > 3 ? std::atoi(arguments[3]) : 3600};
    const auto working = "?working=" + memory.path().string();
    measure("on the disk itself", "sqlite:" + (disk / "simple.db").string(), time);
    measure("in memory, keep=10", "sqlite:" + (disk / "often.db").string() + working + "&keep=10", time);
    measure("in memory, keep=60 (usual)", "sqlite:" + (disk / "usual.db").string() + working, time);
    measure("in memory, keep=600", "sqlite:" + (disk / "seldom.db").string() + working + "&keep=600", time);
    return 0;
}
