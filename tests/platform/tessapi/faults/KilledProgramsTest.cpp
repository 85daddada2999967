#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/WorkingFile.h"
#include "testing/ChildProcess.h"
#include "testing/TemporaryDirectory.h"
#include "tests/platform/tessapi/faults/FastClock.h"
#include "tests/platform/tessapi/faults/Faults.h"
#include "tests/platform/tessapi/faults/RandomWork.h"
#include "tests/platform/tessapi/faults/StoreCheck.h"
#include "tests/platform/tessapi/stress/Acknowledged.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace tessapi::faults {
namespace {

using stress::Acknowledged;
using velk::testing::ChildProcess;

/// Programs that are killed at random moments, and what a store in memory says that they should have left.
class KilledProgramsTest : public ::testing::Test {
protected:
    static constexpr unsigned int WRITERS = 3;
    enum Place : std::size_t { reader = WRITERS, copier, filler, places };

    /// What the writer with a number has done, done again in memory.
    struct Shadow {
        explicit Shadow(unsigned int who) :
            store{Engine::open(StoreUrl{"memory:shadow " + std::to_string(who)}, true)},
            work{*store, seed(), who} {}

        std::shared_ptr<Engine> store;
        RandomWork work;
        std::uint32_t done{0};
    };

    std::string path(const std::string& name) const { return (folder / name).string(); }
    std::string url() const {
        return "sqlite:" + path("tess.db") + (inMemory ? "?working=" + work() + "&keep=1" : "");
    }
    std::string work() const { return path("work"); }
    /// The database that the programs work on.
    std::string file() const {
        return inMemory ? WorkingFile::pathIn(work(), path("tess.db")) : path("tess.db");
    }
    std::string noteOf(std::size_t place) const { return path("acknowledged " + std::to_string(place)); }

    std::unique_ptr<ChildProcess> start(std::size_t place) const {
        const auto run = [](std::vector<std::string> words) {
            words.insert(words.begin(), VELK_FAULT_WORKER);
            return std::make_unique<ChildProcess>(words);
        };
        switch (place) {
        case reader:
            return run({url(), "read"});
        case copier:
            return run({file(), "copy"});
        case filler:
            return run({folder.path().string(), "fill", std::to_string(seed()), std::to_string(filled + 1),
                        noteOf(place)});
        default:
            return run({url(), "write", std::to_string(place), std::to_string(seed()),
                        std::to_string(shadows[place].done + 1), noteOf(place)});
        }
    }

    /// Whether a killed writer has left what was acknowledged, and at most one call more.
    bool isAllThere(Shadow& shadow, std::size_t place, Engine& store, Tally& tally) const {
        // First, before the others have written so much that its records are too old to be kept.
        const auto found = RandomWork{store, seed(), static_cast<unsigned int>(place)}.description();
        const auto acknowledged = Acknowledged{noteOf(place)}.get();
        while (shadow.done < acknowledged) {
            shadow.work.perform(++shadow.done);
        }
        const auto expected = shadow.work.description();
        if (found == expected) {
            return true;
        }
        shadow.work.perform(++shadow.done); // done, and killed before it was told so
        if (found == shadow.work.description()) {
            return true;
        }
        ++tally.lost;
        ADD_FAILURE() << "after call " << acknowledged << " of writer " << place << " there is\n"
                      << found << "instead of\n"
                      << expected;
        return false;
    }

    /// Whether each new store is filled or has nothing in it, and those that were acknowledged are filled.
    bool areFilledOrEmpty(Tally& tally) {
        const auto acknowledged = Acknowledged{noteOf(filler)}.get();
        const auto last = std::max(acknowledged, filled) + 1; // killed while it filled this one
        bool good = true;
        for (auto number = filled + 1; number <= last; ++number) {
            const auto file = path(std::to_string(number));
            const auto store = Engine::open(StoreUrl{"sqlite:" + file}, true);
            const auto found = RandomWork{*store, seed(), 0}.description();
            const bool isFilled = found == image;
            if (!isFilled && (number <= acknowledged || !found.empty())) {
                tally.lost += number <= acknowledged ? 1 : 0;
                ADD_FAILURE() << "new store " << number << " has\n" << found;
                good = false;
            }
            good = good && problemTextOf(file).empty();
        }
        filled = last;
        return good;
    }

    bool check(std::size_t place, Engine& store, Tally& tally) {
        const auto problems = problemTextOf(file());
        EXPECT_EQ(problems, "");
        if (place < WRITERS) {
            return isAllThere(shadows[place], place, store, tally) && problems.empty();
        }
        return (place != filler || areFilledOrEmpty(tally)) && problems.empty();
    }

    void fillModel() {
        const auto model = Engine::open(StoreUrl{"memory:model"}, true);
        RandomWork work{*model, seed(), 0};
        for (std::uint32_t call = 1; call <= 100; ++call) {
            work.perform(call);
        }
        image = work.description();
    }

    void noteCopy(Engine& store) {
        const auto copy = store.health().copy;
        const auto copiedMs = copy ? copy->lastValuesMs : 0;
        copies += copiedMs != lastCopyMs ? 1 : 0;
        lastCopyMs = copiedMs;
    }

    /// Kills programs one after the other, and at last all of them.
    void kill(int kills, Tally& tally) {
        fillModel();
        FastClock clock{FastClock::OF_KILLED_PROGRAMS};
        Engine::Options options;
        options.clock = &clock;
        const auto store = Engine::open(StoreUrl{url()}, true, options);
        std::array<std::unique_ptr<ChildProcess>, places> programs;
        for (std::size_t place = 0; place < places; ++place) {
            programs[place] = start(place);
        }
        std::minstd_rand random{seed()};
        for (; tally.tried < kills && !HasFailure(); ++tally.tried) {
            std::this_thread::sleep_for(std::chrono::milliseconds{5 + random() % 40});
            // Writers more often than the others.
            const std::size_t drawn = random() % (places + WRITERS);
            const std::size_t place = drawn < places ? drawn : drawn - places;
            programs[place]->signal(SIGKILL);
            EXPECT_EQ(programs[place]->finish(), 128 + SIGKILL);
            EXPECT_EQ(programs[place]->errors(), "");
            tally.survived += check(place, *store, tally) ? 1 : 0;
            programs[place] = start(place);
            noteCopy(*store);
        }
        EXPECT_EQ(tally.survived, tally.tried);
        for (auto& program : programs) {
            program->signal(SIGKILL);
            EXPECT_EQ(program->finish(), 128 + SIGKILL);
        }
        for (std::size_t place = 0; place < WRITERS; ++place) {
            EXPECT_TRUE(isAllThere(shadows[place], place, *store, tally));
            calls += shadows[place].done;
        }
        EXPECT_GT(calls, 0U);
    }

    const velk::testing::TemporaryDirectory folder{scratch()};
    bool inMemory{false};
    std::array<Shadow, WRITERS> shadows{Shadow{0}, Shadow{1}, Shadow{2}};
    std::uint32_t filled{0};
    std::uint32_t calls{0};
    int copies{0}; ///< of all measured values, at least
    std::int64_t lastCopyMs{0};
    std::string image;
};

TEST_F(KilledProgramsTest, EveryKillLeavesAWholeStoreWithAllThatWasAcknowledged) {
    Tally tally{"killed programs"};
    kill(share(500), tally);
    EXPECT_GT(filled, 0U);
    tally.note = std::to_string(calls) + " calls acknowledged, " + std::to_string(filled) + " stores filled";
}

TEST_F(KilledProgramsTest, LikewiseInMemoryAndTheCopyOnDiskHasEverythingAfterTheMemoryIsGone) {
    Tally tally{"killed programs, worked on in memory"};
    inMemory = true;
    kill(share(200), tally);
    std::filesystem::remove_all(work());
    const auto store = Engine::open(StoreUrl{url()}, true);
    for (std::size_t place = 0; place < WRITERS; ++place) {
        EXPECT_TRUE(isAllThere(shadows[place], place, *store, tally));
    }
    EXPECT_EQ(problemTextOf(file()), "");
    EXPECT_GE(copies, share(200) / 20);
    tally.note = std::to_string(calls) + " calls acknowledged, at least " + std::to_string(copies) +
                 " copies of measured values";
}

} // namespace
} // namespace tessapi::faults
