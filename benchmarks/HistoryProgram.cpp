// What the history of values costs: CPU time for a change, memory for a channel. Prints a table.
// Each figure is the median of five; CPU times are those of the process, so pauses do not count.

#include "daemon/StoreFeed.h"
#include "daemon/history/HistoryDesk.h"
#include "platform/common/Clock.h"
#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"
#include "testing/TemporaryDirectory.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using velk::common::Clock;
using velk::common::Uuid;
using velk::daemon::HistoryBook;
using velk::daemon::HistoryDesk;
using velk::daemon::HistoryKind;
using velk::daemon::IStoreReader;
using velk::daemon::StoreFeed;

constexpr std::int64_t BEGIN_MS = 1'700'000'000'000;
constexpr std::size_t ROUNDS = 5;
constexpr std::size_t NO_LIMIT = std::size_t{1} << 30U;

double median(const std::function<double()>& measure) {
    std::array<double, ROUNDS> figures{};
    std::generate(figures.begin(), figures.end(), measure);
    std::sort(figures.begin(), figures.end());
    return figures[ROUNDS / 2];
}

double cpuMicroseconds() {
    return std::chrono::duration<double, std::micro>(Clock::system().cpuTime()).count();
}

HistoryBook::Key keyOf(std::uint64_t channel) {
    return {Uuid{Uuid::VELK_NAMESPACE, std::to_string(channel / 20)},
            "PowerDistribution.Measure.ActivePower"};
}

/// A change of each of `channels` numbers every second, for `seconds`.
void changeEachSecond(HistoryBook& book, std::uint64_t channels, std::int64_t seconds) {
    for (std::int64_t second = 0; second < seconds; ++second) {
        for (std::uint64_t channel = 0; channel < channels; ++channel) {
            book.add(channel, BEGIN_MS + second * 1000, qz::CValue{static_cast<float>(second)});
        }
    }
}

void meetAll(HistoryBook& book, std::uint64_t channels) {
    for (std::uint64_t channel = 0; channel < channels; ++channel) {
        book.meet(channel, keyOf(channel), HistoryKind::number, qz::datatype::float32);
    }
}

double microsecondsOfAChange() {
    constexpr std::uint64_t channels = 100;
    constexpr std::int64_t seconds = 5000;
    HistoryBook book{{NO_LIMIT, {}}};
    meetAll(book, channels);
    const double before = cpuMicroseconds();
    changeEachSecond(book, channels, seconds);
    return (cpuMicroseconds() - before) / static_cast<double>(channels * seconds);
}

double bytesOfAChannelAfter(std::int64_t seconds) {
    constexpr std::uint64_t channels = 4;
    HistoryBook book{{NO_LIMIT, {}}};
    meetAll(book, channels);
    changeEachSecond(book, channels, seconds);
    return static_cast<double>(book.bytes()) / static_cast<double>(channels);
}

double microsecondsOfASlice() {
    HistoryBook book{{NO_LIMIT, {}}};
    meetAll(book, 1);
    changeEachSecond(book, 1, 7 * 86'400);
    constexpr int slices = 20;
    const double before = cpuMicroseconds();
    for (int i = 0; i < slices; ++i) {
        static_cast<void>(book.slice(0, BEGIN_MS, BEGIN_MS + std::int64_t{7} * 86'400'000, 160));
    }
    return (cpuMicroseconds() - before) / slices;
}

/// CPU time of a write into the store, with everything that follows from it in this process.
double microsecondsOfAWrite(bool withHistory) {
    constexpr int writes = 3000;
    const velk::testing::TemporaryDirectory folder;
    const std::string url = "sqlite:" + (folder / "tess.db").string();
    const auto store = tessapi::TessAccessor::open("benchmark", url);
    const std::uint64_t channel =
        store->inbandAccessor().emplaceChannel(1, "PowerDistribution.Measure.Voltage", false);
    // There is always somebody who listens: the library itself.
    store->inbandAccessor().subscribeMultipleChannels(
        {channel}, [](std::uint64_t, const qz::CValue&) {}, qz::sub::everyWrite, nullptr);
    HistoryDesk desk{{}, std::cerr, Clock::system(), [] { return BEGIN_MS; }};
    std::unique_ptr<StoreFeed> feed;
    if (withHistory) {
        feed = std::make_unique<StoreFeed>([&url] { return tessapi::TessAccessor::open("benchmark", url); },
                                           std::vector<IStoreReader*>{&desk}, std::cerr);
        feed->open();
    }
    const double before = cpuMicroseconds();
    for (int i = 0; i < writes; ++i) {
        store->inbandAccessor().setChannelCValue(channel, qz::CValue{static_cast<float>(i)});
        std::this_thread::sleep_for(std::chrono::milliseconds{1});
    }
    return (cpuMicroseconds() - before) / writes;
}

void print(const char* what, double figure, const char* unit) {
    std::printf("| %-70s | %10.2f %s |\n", what, figure, unit);
}

} // namespace

int main() {
    print("a change, in the history alone", median(microsecondsOfAChange), "us");
    print("a week of a change a second, told in 160 parts", median(microsecondsOfASlice), "us");
    const double bare = median([] { return microsecondsOfAWrite(false); });
    const double kept = median([] { return microsecondsOfAWrite(true); });
    print("a write into the store and one listener, 1 ms apart", bare, "us");
    print("the same with the history", kept, "us");
    print("a number that never changes", bytesOfAChannelAfter(1), "bytes");
    print("a number that changes each second, after an hour", bytesOfAChannelAfter(3600), "bytes");
    print("after a day", bytesOfAChannelAfter(86'400), "bytes");
    print("after seven days", bytesOfAChannelAfter(std::int64_t{7} * 86'400), "bytes");
    return 0;
}
