// The other process of the benchmarks of the store. What it does is its first argument:
//   hear-store URL CHANNEL      hears every write of the channel
//   hear-redis SOCKET           hears every message
//   hear-pipe                   reads floats from its standard input
//   write-store URL CHANNEL N RATE   sets the channel N times, RATE times a second
//   write-redis SOCKET CHANNEL N RATE
// Prints "ready" when it has begun. A listener ends when its standard input is closed or with the value -1;
// it prints the CPU time that it has used since it was ready, then a line for each value: value, monotonic
// time. A writer prints a line for each set: how long it took. All times in nanoseconds.

#include "benchmarks/RedisClient.h"
#include "benchmarks/Stopwatch.h"
#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"

#include <iomanip>
#include <iostream>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using namespace velk::benchmarks;

/// Keeps what was heard, and prints it when it is over.
class Heard {
public:
    Heard() { times.reserve(100'000); }
    void begin() {
        std::cout << "ready" << std::endl;
        cpuBefore = cpuNs();
    }
    void note(float value) { times.emplace_back(value, nowNs()); }
    void print() const {
        std::cout << std::fixed << std::setprecision(0) << "cpu " << cpuNs() - cpuBefore << '\n';
        for (const auto& [value, time] : times) {
            std::cout << value << ' ' << time << '\n';
        }
        std::cout << std::flush;
    }

private:
    std::vector<std::pair<float, double>> times;
    double cpuBefore{0};
};

void hearStore(const std::string& url, std::uint64_t channel) {
    const auto store = tessapi::TessAccessor::open("peer", url, false);
    Heard heard;
    store->inbandAccessor().subscribeMultipleChannels(
        {channel}, [&heard](std::uint64_t, const qz::CValue& value) { heard.note(value.as_float()); },
        qz::sub::everyWrite, nullptr);
    heard.begin();
    std::string line;
    while (std::getline(std::cin, line)) {
    }
    heard.print();
}

void hearRedis(const std::string& socket) {
    RedisClient client{socket};
    client.subscribe();
    Heard heard;
    heard.begin();
    for (float value = client.receive(); value >= 0; value = client.receive()) {
        heard.note(value);
    }
    heard.print();
}

void hearPipe() {
    Heard heard;
    heard.begin();
    float value = 0;
    while (read(STDIN_FILENO, &value, sizeof value) == sizeof value) {
        heard.note(value);
    }
    heard.print();
}

template <class Set>
void write(int count, int rate, Set set) {
    std::vector<double> took;
    took.reserve(static_cast<std::size_t>(count));
    std::cout << "ready" << std::endl;
    pace(count, rate, [&](int i) {
        const double begin = nowNs();
        set(static_cast<float>(i));
        took.push_back(nowNs() - begin);
    });
    std::cout << std::fixed << std::setprecision(0);
    for (const double one : took) {
        std::cout << one << '\n';
    }
}

} // namespace

int main(int count, char** arguments) {
    const std::vector<std::string> words{arguments + 1, arguments + count};
    const std::string what = words.empty() ? "" : words[0];
    if (what == "hear-store" && words.size() == 3) {
        hearStore(words[1], std::stoull(words[2]));
    } else if (what == "hear-redis" && words.size() == 2) {
        hearRedis(words[1]);
    } else if (what == "hear-pipe") {
        hearPipe();
    } else if (what == "write-store" && words.size() == 5) {
        const auto store = tessapi::TessAccessor::open("peer", words[1], false);
        const std::uint64_t channel = std::stoull(words[2]);
        write(std::stoi(words[3]), std::stoi(words[4]),
              [&](float value) { store->inbandAccessor().setChannelCValue(channel, qz::CValue{value}); });
    } else if (what == "write-redis" && words.size() == 5) {
        RedisClient client{words[1]};
        const int channel = std::stoi(words[2]);
        write(std::stoi(words[3]), std::stoi(words[4]), [&](float value) { client.set(channel, value); });
    } else {
        std::cerr
            << "usage: velk-benchmark-peer hear-store|hear-redis|hear-pipe|write-store|write-redis ...\n";
        return 2;
    }
    return 0;
}
