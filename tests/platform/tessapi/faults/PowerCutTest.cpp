#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/WorkingFile.h"
#include "testing/TemporaryDirectory.h"
#include "tests/platform/tessapi/faults/CutDisk.h"
#include "tests/platform/tessapi/faults/FastClock.h"
#include "tests/platform/tessapi/faults/FaultDisk.h"
#include "tests/platform/tessapi/faults/Faults.h"
#include "tests/platform/tessapi/faults/MeasuredValues.h"
#include "tests/platform/tessapi/faults/RandomWork.h"
#include "tests/platform/tessapi/faults/StoreCheck.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <deque>
#include <exception>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tessapi::faults {
namespace {

using Event = FaultDisk::Event;
using Kind = FaultDisk::Event::Kind;

/// Runs of two programs' work on one store, recorded, and then cut at many points.
class PowerCutTest : public ::testing::Test {
protected:
    static constexpr std::int64_t CALLS = 240;
    static constexpr int FASTER = 10; ///< so that measured values are copied every 100 ms
    static bool inMemory;             ///< the store is worked on in memory, which a cut leaves nothing of

    void SetUp() override { inMemory = false; }

    struct Run {
        std::vector<Event> events;
        std::map<std::string, std::int64_t> states; ///< the number of the last call that left this
        MeasuredValues measured;
        std::string last; ///< all that the last call left

        void note(std::int64_t call, Engine& store) {
            const auto health = store.health();
            FaultDisk::instance().mark(call);
            const auto image = store.image();
            states[inMemory ? describeSettings(image) : describe(image)] = call;
            measured.note(image, health.copy ? health.copy->lastValuesMs : 0);
            last = describe(image);
        }
    };

    static std::shared_ptr<Engine> open(const std::filesystem::path& folder, const Engine::Options& options) {
        const auto url = "sqlite:" + (folder / "tess.db").string();
        return Engine::open(
            StoreUrl{url + (inMemory ? "?working=" + (folder / "work").string() + "&keep=1" : "")}, true,
            options);
    }

    /// The database that programs work on.
    static std::string fileIn(const std::filesystem::path& folder) {
        const auto file = (folder / "tess.db").string();
        return inMemory ? WorkingFile::pathIn((folder / "work").string(), file) : file;
    }

    static Engine::Options eager() {
        Engine::Options options;
        options.framesToCopy = 40;
        options.restBeforeSync = std::chrono::milliseconds{1};
        options.eventsKept = 40;
        options.changesKept = 60;
        if (inMemory) {
            static FastClock clock{FASTER};
            options.clock = &clock;
            options.restBeforeSync *= FASTER;
        }
        return options;
    }

    /// Two programs take turns; one of them starts anew every now and then.
    static Run recordRun(std::uint32_t seed, const Engine::Options& options,
                         std::chrono::microseconds pause) {
        const velk::testing::TemporaryDirectory folder{scratch()};
        Run run;
        std::minstd_rand random{seed};
        FaultDisk::instance().record();
        auto first = open(folder.path(), options);
        auto second = open(folder.path(), options);
        run.note(0, *first);
        for (std::int64_t call = 1; call <= CALLS; ++call) {
            const unsigned int who = random() % 2;
            RandomWork{*(who == 0 ? first : second), seed, who}.perform(
                call <= 2 ? 1 : static_cast<std::uint32_t>(call));
            run.note(call, *first);
            if (random() % 60 == 0) {
                second.reset();
                second = open(folder.path(), options);
            }
            std::this_thread::sleep_for(pause);
        }
        first.reset();
        second.reset();
        const auto memory = std::filesystem::path{fileIn(folder.path())}.filename().string();
        for (auto& event : FaultDisk::instance().recorded()) {
            if (!inMemory || event.file.rfind(memory, 0) != 0) {
                run.events.push_back(std::move(event));
            }
        }
        return run;
    }

    /// The last call that returned before the last sync of the log. Of a store in memory before the copy to
    /// the disk began that is surely complete: a copy syncs the log's new head, its commit and what goes from
    /// the log into the file, each at most once, so all that is known of the last sync is that the copy which
    /// began four syncs earlier is done.
    struct Durable {
        static constexpr std::size_t SYNCS = 4;

        std::int64_t returned{-1};
        std::deque<std::int64_t> atSync;
        std::int64_t call{-1};

        void happen(const Event& event) {
            if (event.kind == Kind::mark) {
                returned = event.offset;
            } else if (event.kind == Kind::sync && event.file == "tess.db-wal") {
                atSync.push_back(returned);
                if (!inMemory || atSync.size() > SYNCS) {
                    call = inMemory ? atSync.front() : returned;
                    atSync.pop_front();
                }
            }
        }
    };

    /// Opens what a cut has left. Nothing before the store's first sync is promised but that it opens.
    static bool survives(const CutDisk& disk, const Durable& durable, const Run& run, bool atTheEnd,
                         std::minstd_rand& random, Tally& tally) {
        const velk::testing::TemporaryDirectory folder{scratch()};
        disk.leave(folder.path(), random);
        std::ofstream{folder / "tess.db-lock", std::ios::binary} << std::string(random() % 200, '\x5a');
        StoreImage image;
        try {
            image = open(folder.path(), eager())->image();
        } catch (const std::exception& failure) {
            ADD_FAILURE() << failure.what();
            return false;
        }
        const auto found = inMemory ? describeSettings(image) : describe(image);
        const auto state = run.states.find(found);
        if (state == run.states.end() || state->second < durable.call) {
            ++tally.lost;
            ADD_FAILURE() << "after call " << durable.call << " there is "
                          << (state == run.states.end() ? "what never was\n" + found
                                                        : "call " + std::to_string(state->second));
            return false;
        }
        const auto problems =
            run.measured.problemOf(image, durable.returned) +
            (atTheEnd && describe(image) != run.last ? "not all is there at the end\n" : "") +
            problemTextOf(fileIn(folder.path()));
        EXPECT_EQ(problems, "");
        return problems.empty();
    }

    static void cut(const Run& run, std::uint32_t seed, int count, Tally& tally) {
        std::minstd_rand random{seed};
        std::multiset<std::size_t> points{run.events.size()};
        while (static_cast<int>(points.size()) < count) {
            points.insert(random() % (run.events.size() + 1));
        }
        CutDisk disk;
        Durable durable;
        std::size_t happened = 0;
        for (const auto point : points) {
            for (; happened < point; ++happened) {
                disk.happen(run.events[happened]);
                durable.happen(run.events[happened]);
            }
            ++tally.tried;
            tally.survived += survives(disk, durable, run, point == run.events.size(), random, tally) ? 1 : 0;
            if (HasFailure()) {
                return;
            }
        }
    }

    static void cutRuns(int runs, std::chrono::microseconds pause, Tally& tally) {
        std::size_t events = 0;
        std::size_t copies = 0;
        for (int run = 0; run < runs && !HasFailure(); ++run) {
            const auto number = seed() + static_cast<std::uint32_t>(run);
            const auto recorded = recordRun(number, eager(), pause);
            events += recorded.events.size();
            copies += recorded.measured.copies();
            EXPECT_TRUE(!inMemory || recorded.measured.copies() > 1) << "measured values were not copied";
            cut(recorded, number, 200, tally);
        }
        EXPECT_EQ(tally.survived, tally.tried);
        EXPECT_GT(tally.tried, 0);
        tally.note = std::to_string(runs) + " runs, " + std::to_string(events) + " writes and syncs" +
                     (inMemory ? ", at least " + std::to_string(copies) + " copies of measured values" : "");
    }
};

bool PowerCutTest::inMemory = false;

TEST_F(PowerCutTest, EveryCutLeavesAWholeStoreWithAllThatWasSynced) {
    Tally tally{"power cuts"};
    cutRuns(share(12), std::chrono::microseconds{200}, tally);
}

TEST_F(PowerCutTest, LikewiseTheCopyOnDiskOfAStoreThatIsWorkedOnInMemory) {
    Tally tally{"power cuts, worked on in memory"};
    inMemory = true;
    cutRuns(share(10), std::chrono::milliseconds{2}, tally);
}

TEST_F(PowerCutTest, WhatIsCommittedIsSyncedWithinASecond) {
    Tally tally{"commits until their sync"};
    auto options = Engine::Options{};
    const auto run = recordRun(seed(), options, std::chrono::milliseconds{all() ? 40 : 4});
    std::int64_t longest = 0;
    std::vector<std::int64_t> waiting;
    for (const auto& event : run.events) {
        if (event.kind == Kind::mark) {
            waiting.push_back(event.atMs);
            ++tally.tried;
        } else if (event.kind == Kind::sync && event.file == "tess.db-wal") {
            for (const auto returned : waiting) {
                longest = std::max(longest, event.atMs - returned);
                tally.survived += event.atMs - returned <= 1000 ? 1 : 0;
            }
            waiting.clear();
        }
    }
    EXPECT_TRUE(waiting.empty());
    EXPECT_EQ(tally.survived, tally.tried);
    tally.note = "at most " + std::to_string(longest) + " ms";
}

} // namespace
} // namespace tessapi::faults
