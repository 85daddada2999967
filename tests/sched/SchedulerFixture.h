#pragma once

#include "platform/common/CpuLoadCooldown.h"
#include "platform/common/Mutex.h"
#include "powerdistribution/sched/BasicScheduler.h"
#include "testing/FakeClock.h"

#include <gtest/gtest.h>

#include <functional>
#include <latch>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// A cool-down that does what the test says instead of resting.
class ScriptedCooldown : public velk::common::sched::ICooldown {
public:
    void begin() override { ++begins; }
    void rest() override { onRest(); }
    void interrupt() override {}

    int begins{0};
    std::function<void()> onRest;
};

/// A scheduler whose cycles the test counts, with the jobs of a cycle over before its rest ends. Its wait for
/// room takes no time unless it is made `ByHand`.
class SchedulerTest : public testing::Test {
protected:
    using FakeClock = velk::testing::FakeClock;

    explicit SchedulerTest(FakeClock::Passing passing = FakeClock::Passing::AtOnce) : clock{passing} {}

    using Job = std::function<void()>;
    using Scheduler = velk::common::sched::BasicScheduler<Job>;
    using Task = velk::common::sched::Task<Job>;
    using Names = std::vector<std::string>;

    void push(std::uint32_t rank, Job job, std::uint32_t kind = Task::RECURRING) {
        scheduler.push(
            {.basePriority = rank, .currentPriority = rank, .kind = kind, .function = std::move(job)});
    }

    void pushOnce(std::uint32_t rank, Job job) { push(rank, std::move(job), 0); }

    /// A task that writes its name into the log of the cycle.
    void pushNamed(std::uint32_t rank, const std::string& name, std::uint32_t kind = Task::RECURRING) {
        push(
            rank, [this, name] { note(name); }, kind);
    }

    void note(const std::string& name) {
        const velk::common::MutexLock lock{mutex};
        log.push_back(name);
    }

    /// What ran since the last call.
    Names takeLog() {
        const velk::common::MutexLock lock{mutex};
        return std::exchange(log, {});
    }

    /// Runs `background` here until `cycles` rests are over; `atRest` gets the number of the cycle, from 1.
    /// Gives what ran in each cycle.
    std::vector<Names> run(
        int cycles, unsigned int workers = 1, const std::function<void(int)>& atRest = [](int) {}) {
        std::vector<Names> logs;
        cooldown.onRest = [&] {
            settle(awaitedWorkers.value_or(static_cast<int>(workers)));
            logs.push_back(takeLog());
            const int cycle = static_cast<int>(logs.size());
            atRest(cycle);
            if (cycle == cycles) {
                scheduler.running = false;
            }
        };
        scheduler.running = true;
        scheduler.pool = std::make_shared<velk::common::ThreadPool>(workers);
        scheduler.background();
        return logs;
    }

    /// Returns when so many workers are between two jobs at once.
    void settle(int workers) {
        std::latch all{workers};
        std::vector<std::future<void>> results;
        for (int i = 0; i < workers; ++i) {
            results.push_back(scheduler.pool->async([&] { all.arrive_and_wait(); }));
        }
        for (auto& result : results) {
            result.get();
        }
    }

    FakeClock clock;
    /// How many workers each rest waits for: all, unless the test keeps some of them busy.
    std::optional<int> awaitedWorkers;
    velk::common::Mutex mutex;
    Names log VELK_GUARDED_BY(mutex);
    Scheduler scheduler{1, std::make_unique<ScriptedCooldown>(), clock};
    ScriptedCooldown& cooldown{static_cast<ScriptedCooldown&>(scheduler.cooldown())};
};
