// Many threads at once, and many lifetimes one after the other.

#include "kit/Memory.h"
#include "kit/Steps.h"

#include <algorithm>
#include <thread>

namespace velk::kit {

using powerdistribution::typeName;
using powerdistribution::Value;
namespace protocols = powerdistribution::protocols;

namespace {

constexpr unsigned int ROUNDS_OF_A_THREAD = 30;
constexpr std::chrono::milliseconds LONGEST_READING{1500};
constexpr std::chrono::milliseconds LONGEST_LIFETIMES{4000};
constexpr std::chrono::microseconds QUICK_READ{1000};

/// Of half the rounds. Less may be the heap's own.
constexpr std::int64_t GROWTH_BYTES = 8192;

void readAt(const Session& session, const Point& point) {
    const auto wrapper = session.build(point.path, point.text);
    if (!wrapper || !wrapper->isReadable()) {
        return;
    }
    const Value value = session.read(*wrapper, point.text);
    const bool isOther = value.hasValue() && !point.type.empty() && typeName(value) != point.type;
    if (isOther) {
        session.report.error(point.text, point.type + " also from many threads", describe(value));
    }
}

/// Each thread begins elsewhere, so that all of them meet on every data point.
void readAll(const Session& session, unsigned int thread, std::chrono::steady_clock::time_point deadline) {
    slotOfThisThread() = static_cast<std::int32_t>(thread) + 1;
    const std::size_t count = session.points.size();
    const std::size_t begin = count * thread / session.options.threads;
    for (unsigned int round = 0; round < ROUNDS_OF_A_THREAD; ++round) {
        for (std::size_t i = 0; i < count; ++i) {
            if (now() > deadline) {
                return;
            }
            readAt(session, session.points[(begin + i) % count]);
        }
        session.status();
    }
}

/// Some of the points, evenly spread.
std::vector<const Point*> spread(const std::vector<Point>& points, std::size_t most) {
    std::vector<const Point*> chosen;
    const std::size_t count = std::min(points.size(), std::max<std::size_t>(most, 1));
    for (std::size_t i = 0; i < count; ++i) {
        chosen.push_back(&points[i * points.size() / count]);
    }
    return chosen;
}

void live(const Session& session, const std::vector<const Point*>& points) {
    for (const Point* point : points) {
        const auto wrapper = session.build(point->path, point->text);
        if (wrapper && !point->type.empty() && point->quickest < QUICK_READ) {
            session.read(*wrapper, point->text);
        }
    }
}

/// A factory of its own, as after each return of the device.
bool liveInAFactory(Session& session) {
    std::shared_ptr<protocols::IWrapperFactory> factory;
    const bool isGood = session.call(
        "wrapperFactory", [&] { factory = session.plugin.library->wrapperFactory(session.plugin.protocol); });
    return isGood && factory != nullptr;
}

/// How many points can be built so often without taking too long.
std::size_t affordable(const Session& session) {
    const auto start = now();
    live(session, spread(session.points, session.points.size()));
    const auto each = (now() - start) / static_cast<int>(session.points.size()) + std::chrono::nanoseconds{1};
    return static_cast<std::size_t>(LONGEST_LIFETIMES / (each * static_cast<int>(session.options.rounds)));
}

/// Bytes that so many rounds have left behind.
std::int64_t growthOver(Session& session, unsigned int rounds, const std::vector<const Point*>& points,
                        std::chrono::steady_clock::time_point deadlineOfFactories) {
    const std::int64_t before = memoryInUse();
    for (unsigned int round = 0; round < rounds; ++round) {
        live(session, points);
        if (now() < deadlineOfFactories && !liveInAFactory(session)) {
            return 0;
        }
    }
    return memoryInUse() - before;
}

} // namespace

bool tryManyThreads(Session& session) {
    const auto deadline = now() + LONGEST_READING;
    std::vector<std::thread> threads;
    for (unsigned int thread = 0; thread < session.options.threads; ++thread) {
        threads.emplace_back([&session, thread, deadline] { readAll(session, thread, deadline); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    checkIdentity(session, "the end of reads from many threads");
    return true;
}

bool tryLifetimes(Session& session) {
    if (session.options.rounds == 0) {
        return true;
    }
    const auto points = spread(session.points, affordable(session));
    const auto deadline = now() + LONGEST_LIFETIMES;
    const unsigned int half = (session.options.rounds + 1) / 2;
    growthOver(session, half / 10 + 1, points, deadline); // what is made once is made here
    std::int64_t growth = growthOver(session, half, points, deadline);
    std::int64_t least = std::min(growth, growthOver(session, half, points, deadline));
    if (least >= GROWTH_BYTES) {
        // What a thread of the plug-in holds for a moment is not there a third time.
        least = std::min(least, growthOver(session, half, points, deadline));
    }
    if (least >= GROWTH_BYTES) {
        session.report.error("buildWrapper",
                             "memory flat over " + std::to_string(session.options.rounds) +
                                 " rounds of building " + std::to_string(points.size()) +
                                 " wrappers and a factory",
                             "a growth of " + std::to_string(2 * least) + " bytes");
    }
    return true;
}

} // namespace velk::kit
