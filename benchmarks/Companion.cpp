// The other process of the benchmarks. What it does is its first argument:
//   echo URL DEVICE       echoes every write of the device's channel "Ping" into its channel "Pong"
//   watch URL CHANNEL...  prints a line for each write: channel, value, monotonic time in nanoseconds
//   burn                  keeps one core busy
// Prints "ready" when it has begun, and ends when its standard input is closed; `burn` ends when it is
// killed.

#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"

#include <chrono>
#include <iostream>
#include <string>
#include <vector>

namespace {

void awaitEnd() {
    std::cout << "ready" << std::endl;
    std::string line;
    while (std::getline(std::cin, line)) {
    }
}

void echo(const std::string& url, std::uint64_t device) {
    const auto store = tessapi::TessAccessor::open("companion", url, false);
    tessapi::InBandAccessor& channels = store->inbandAccessor();
    const std::uint64_t ping = channels.getCatchedChannelId(device, "Ping");
    const std::uint64_t pong = channels.getCatchedChannelId(device, "Pong");
    channels.subscribeMultipleChannels(
        {ping}, [&](std::uint64_t, const qz::CValue& value) { channels.setChannelCValue(pong, value); },
        qz::sub::everyWrite, nullptr);
    awaitEnd();
}

void watch(const std::string& url, const std::vector<std::uint64_t>& ids) {
    const auto store = tessapi::TessAccessor::open("companion", url, false);
    store->inbandAccessor().subscribeMultipleChannels(
        ids,
        [](std::uint64_t channel, const qz::CValue& value) {
            const auto now = std::chrono::steady_clock::now().time_since_epoch();
            std::cout << channel << ' ' << static_cast<long>(value.asNumber().value_or(0)) << ' '
                      << std::chrono::nanoseconds{now}.count() << std::endl;
        },
        qz::sub::everyWrite, nullptr);
    awaitEnd();
}

[[noreturn]] void burn() {
    std::cout << "ready" << std::endl;
    for (volatile unsigned int turns = 0;;) {
        turns = turns + 1;
    }
}

} // namespace

int main(int count, char** arguments) {
    const std::vector<std::string> words{arguments + 1, arguments + count};
    if (words.size() == 3 && words[0] == "echo") {
        echo(words[1], std::stoull(words[2]));
    } else if (words.size() > 2 && words[0] == "watch") {
        std::vector<std::uint64_t> ids;
        for (std::size_t i = 2; i < words.size(); ++i) {
            ids.push_back(std::stoull(words[i]));
        }
        watch(words[1], ids);
    } else if (words.size() == 1 && words[0] == "burn") {
        burn();
    } else {
        std::cerr << "usage: velk-benchmark-companion echo URL DEVICE | watch URL CHANNEL... | burn\n";
        return 2;
    }
    return 0;
}
