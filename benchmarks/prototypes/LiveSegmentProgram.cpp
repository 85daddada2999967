// Measures the experiment with live values in shared memory beside a pipe and a Redis server, and kills
// writers. Prints medians of five.

#include "benchmarks/Quantile.h"
#include "benchmarks/RedisClient.h"
#include "benchmarks/Stopwatch.h"
#include "benchmarks/prototypes/LiveSegment.h"
#include "testing/RedisServer.h"

#include <csignal>
#include <cstdio>
#include <functional>
#include <random>
#include <sys/wait.h>
#include <vector>

namespace {

using namespace velk::benchmarks;

constexpr int SETS = 2'000;

/// Times at which a listener in another process has each value, which it writes into shared memory.
using Times = double[SETS];

Times& sharedTimes() {
    return *static_cast<Times*>(
        mmap(nullptr, sizeof(Times), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
}

/// Median in nanoseconds from the call of `set` to the listener.
double delay(const std::function<void(Times&)>& listen, const std::function<void(int)>& set) {
    Times& heard = sharedTimes();
    const pid_t listener = fork();
    if (listener == 0) {
        listen(heard);
        _exit(0);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds{50});
    std::vector<double> begun(SETS);
    pace(SETS, 1'000, [&](int i) {
        begun[static_cast<std::size_t>(i)] = nowNs();
        set(i);
    });
    waitpid(listener, nullptr, 0);
    std::vector<double> delays;
    for (std::size_t i = 0; i < SETS; ++i) {
        delays.push_back(heard[i] - begun[i]);
    }
    munmap(&heard, sizeof heard);
    return quantile(delays, 0.5);
}

double overSegment() {
    LiveSegment segment;
    return delay(
        [&](Times& heard) {
            for (std::uint64_t seen = 0; seen < SETS;) {
                segment.await(seen);
                for (; seen < segment.head(); ++seen) {
                    heard[segment.entry(seen + 1).value.word] = nowNs();
                }
            }
        },
        [&](int i) { segment.set(0, static_cast<std::uint64_t>(i)); });
}

double overPipe() {
    int ends[2];
    if (pipe(ends) != 0) {
        throw std::runtime_error{"no pipe"};
    }
    const double median = delay(
        [&](Times& heard) {
            int value = 0;
            for (int seen = 0; seen < SETS && read(ends[0], &value, sizeof value) == sizeof value; ++seen) {
                heard[value] = nowNs();
            }
        },
        [&](int i) {
            if (write(ends[1], &i, sizeof i) != sizeof i) {
                throw std::runtime_error{"the pipe is broken"};
            }
        });
    close(ends[0]);
    close(ends[1]);
    return median;
}

double medianOfFive(const std::function<double()>& measure) {
    std::vector<double> all;
    for (int i = 0; i < 5; ++i) {
        all.push_back(measure());
    }
    return quantile(all, 0.5);
}

/// Whether slots, ring and triggers agree: the newest entry of each channel is what its slot has.
bool isSound(const LiveSegment& segment) {
    std::vector<bool> looked(LiveSegment::CHANNELS);
    const std::uint64_t head = segment.head();
    for (std::uint64_t seq = head; seq > 0 && head - seq < LiveSegment::RING; --seq) {
        const auto entry = segment.entry(seq);
        if (entry.seq != seq || !entry.value.isWhole()) {
            return false;
        }
        if (looked.at(entry.channel)) {
            continue;
        }
        looked.at(entry.channel) = true;
        const auto value = segment.get(entry.channel);
        for (std::size_t trigger = 0; trigger < 2; ++trigger) {
            if (segment.isActive(entry.channel, trigger) !=
                LiveSegment::shouldBeActive(value.word, trigger)) {
                return false;
            }
        }
        if (!value.isWhole() || value.word != entry.value.word) {
            return false;
        }
    }
    return true;
}

int kill(int count) {
    LiveSegment segment;
    std::mt19937 random{20261121}; // NOLINT(cert-msc51-cpp): the same every time
    std::uniform_int_distribution<int> pause{100, 3'000};
    int held = 0;
    for (int i = 0; i < count; ++i) {
        const pid_t writer = fork();
        if (writer == 0) {
            for (std::uint64_t turn = 0;; ++turn) {
                segment.set(turn % LiveSegment::CHANNELS, turn * 0x9E3779B97F4A7C15U);
            }
        }
        const double end = nowNs() + pause(random) * 1e3;
        while (nowNs() < end) {
            if (!segment.get(static_cast<std::size_t>(i) % LiveSegment::CHANNELS).isWhole()) {
                std::puts("a torn value was read");
                return 1;
            }
        }
        ::kill(writer, SIGKILL);
        waitpid(writer, nullptr, 0);
        held += segment.recover() ? 1 : 0;
        if (!isSound(segment)) {
            std::printf("kill %d left something torn\n", i);
            return 1;
        }
    }
    std::printf("%d kills, %d of them within a set, no torn value, %llu sets\n", count, held,
                static_cast<unsigned long long>(segment.head()));
    return 0;
}

} // namespace

int main() {
    LiveSegment segment;
    const velk::testing::RedisServer server;
    RedisClient redis{server.socket()};
    redis.prepare(LiveSegment::CHANNELS);
    const double set = medianOfFive([&] {
        return perRun(1'000'000, [&](int i) {
            segment.set(static_cast<std::size_t>(i) % LiveSegment::CHANNELS, static_cast<std::uint64_t>(i));
        });
    });
    const double call = medianOfFive(
        [&] { return perRun(5'000, [&](int i) { redis.set(i % 100, static_cast<float>(i)); }); });
    const double bare = medianOfFive(overPipe);
    const double news = medianOfFive(overSegment);
    std::printf("set: %.3f us; Redis, a function call: %.1f us; ratio %.4f\n", set / 1e3, call / 1e3,
                set / call);
    std::printf("to another process: %.1f us; a pipe: %.1f us; ratio %.2f\n", news / 1e3, bare / 1e3,
                news / bare);
    return kill(250);
}
