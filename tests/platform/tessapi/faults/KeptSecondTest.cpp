#include "platform/qz/CSingleAlarmConfig.h"
#include "platform/tessapi/engine/Engine.h"
#include "testing/TemporaryDirectory.h"
#include "tests/platform/tessapi/faults/FaultDisk.h"
#include "tests/platform/tessapi/faults/Faults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace tessapi::faults {
namespace {

using Event = FaultDisk::Event;
using Kind = FaultDisk::Event::Kind;

/// What is kept soon of a store that is worked on in memory: up to the sync, by the clock of the machine.
class KeptSecondTest : public ::testing::Test {
protected:
    /// What the call leaves on the disk.
    static std::string textOf(int call) { return "text-of-call-" + std::to_string(call) + "."; }

    /// On a device of its own, so that no later call takes it away again.
    static void perform(Engine& store, int call) {
        using Call = void (*)(Engine&, std::uint64_t device, const std::string& text);
        static const std::vector<Call> CALLS{
            [](Engine& of, std::uint64_t device, const std::string& text) {
                of.setAttribute(device, 5, text);
            },
            [](Engine& of, std::uint64_t device, const std::string& text) {
                of.emplaceChannel(device, text);
            },
            [](Engine& of, std::uint64_t device, const std::string& text) {
                of.setValue(of.emplaceChannel(device, "Daemon.Communication"), qz::CValue{text});
            },
            [](Engine& of, std::uint64_t device, const std::string& text) {
                qz::CMultistateMap labels;
                labels.add(qz::CValue{1U}, text);
                of.setStates(of.emplaceChannel(device, "PowerDistribution.Status.StoragePresent"), labels);
            },
            [](Engine& of, std::uint64_t device, const std::string& text) {
                qz::tess::CSingleAlarmConfig config;
                config.triggers.push_back({LevelAlarm::critical, 1, qz::CValue{240.0F}, {}, 3, text, {}, 0});
                of.setAlarmConfig(of.emplaceChannel(device, "PowerDistribution.Measure.Voltage"), config);
            },
        };
        const velk::common::Uuid uuid{velk::common::Uuid::VELK_NAMESPACE, textOf(call)};
        CALLS[static_cast<std::size_t>(call) % CALLS.size()](store, store.emplaceDevice(uuid, 1, 0),
                                                             textOf(call));
    }

    static std::vector<Event> record(int calls) {
        const velk::testing::TemporaryDirectory folder{scratch()};
        FaultDisk::instance().record();
        const auto store = Engine::open(StoreUrl{"sqlite:" + (folder / "tess.db").string() +
                                                 "?working=" + (folder / "work").string() + "&keep=3600"},
                                        true);
        std::minstd_rand random{seed()};
        for (int call = 0; call < calls; ++call) {
            perform(*store, call);
            FaultDisk::instance().mark(call);
            std::this_thread::sleep_for(std::chrono::milliseconds{random() % 200});
        }
        std::this_thread::sleep_for(std::chrono::seconds{1});
        return FaultDisk::instance().recorded(); // before the end of the program copies what is left
    }

    /// Milliseconds from the return of the call to the sync of the copy that has it; -1 when there is none.
    static std::int64_t delayOf(int call, const std::vector<Event>& events) {
        const auto isOfCopy = [](const Event& event, Kind kind) {
            return event.kind == kind && event.file == "tess.db-wal";
        };
        const auto returned = std::find_if(events.begin(), events.end(), [call](const Event& event) {
            return event.kind == Kind::mark && event.offset == call;
        });
        const auto written = std::find_if(events.begin(), events.end(), [&](const Event& event) {
            return isOfCopy(event, Kind::write) && event.bytes.find(textOf(call)) != std::string::npos;
        });
        const auto synced = std::find_if(written, events.end(),
                                         [&](const Event& event) { return isOfCopy(event, Kind::sync); });
        return returned == events.end() || synced == events.end()
                   ? -1
                   : std::max<std::int64_t>(0, synced->atMs - returned->atMs);
    }
};

TEST_F(KeptSecondTest, WhatIsCommittedInMemoryIsCopiedAndSyncedWithinASecond) {
    Tally tally{"commits in memory until the sync of their copy"};
    const int calls = all() ? 200 : 10;
    const auto events = record(calls);
    std::int64_t longest = 0;
    for (int call = 0; call < calls; ++call) {
        const auto delay = delayOf(call, events);
        ++tally.tried;
        tally.survived += delay >= 0 && delay <= 1000 ? 1 : 0;
        EXPECT_GE(delay, 0) << "call " << call << " was not synced";
        longest = std::max(longest, delay);
    }
    EXPECT_EQ(tally.survived, tally.tried);
    tally.note = "at most " + std::to_string(longest) + " ms";
}

} // namespace
} // namespace tessapi::faults
