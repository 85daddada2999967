#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/SharedPage.h"
#include "platform/tessapi/engine/Wakeup.h"
#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace shortcuts {
namespace {

using qz::CValue;
using tessapi::Change;
using tessapi::Engine;
using tessapi::SharedPage;
using tessapi::Wakeup;
using velk::common::Uuid;

constexpr std::uint64_t NONE = ~std::uint64_t{0};
constexpr std::chrono::seconds LONG{60};
const Uuid FIRST{"00000000-0000-4000-8000-000000000001"};
const Uuid SECOND{"00000000-0000-4000-8000-000000000002"};
const std::string SOURCE{"PowerDistribution.Status.Source"};

/// Where an engine answers by itself, and where it must not.
class ShortcutsTest : public ::testing::Test {
protected:
    std::string path() const { return (folder / "tess.db").string(); }
    std::shared_ptr<Engine> open() const { return Engine::open(tessapi::StoreUrl{"sqlite:" + path()}, true); }
    std::int64_t startOf(const std::shared_ptr<Engine>& engine) const { return engine->startOf({}).seq; }

    const velk::testing::TemporaryDirectory folder;
    const std::shared_ptr<Engine> engine{open()};
    const std::shared_ptr<Engine> other{open()};
};

TEST_F(ShortcutsTest, ADeviceThatIsThereIsFoundWithoutAWrite) {
    const auto device = engine->emplaceDevice(FIRST, 1, 0);
    const auto ticket = engine->wakeup().ticket();
    EXPECT_EQ(engine->emplaceDevice(FIRST, 1, 0), device);
    EXPECT_EQ(other->emplaceDevice(FIRST, 999'999, 20), device);
    EXPECT_EQ(engine->wakeup().ticket(), ticket);
}

TEST_F(ShortcutsTest, ADeviceThatAnotherProgramRemovesIsNotKnownAnyMore) {
    const auto device = engine->emplaceDevice(FIRST, 1, 0);
    EXPECT_EQ(engine->deviceIdOf(FIRST), device);
    other->removeSubDevices(1, {}, 10);
    EXPECT_EQ(engine->deviceIdOf(FIRST), NONE);
    EXPECT_NE(engine->emplaceDevice(FIRST, 1, 0), device) << "identifiers are never used again";
}

TEST_F(ShortcutsTest, ADeviceWhoseSeatIsTakenIsNotKnownAnyMore) {
    EXPECT_EQ(engine->emplaceDevice(FIRST, 1, 20), 20U);
    EXPECT_EQ(engine->deviceIdOf(FIRST), 20U);
    EXPECT_EQ(engine->emplaceDevice(SECOND, 1, 20), 20U);
    EXPECT_EQ(engine->deviceIdOf(FIRST), NONE);
    EXPECT_EQ(engine->deviceIdOf(SECOND), 20U);
}

TEST_F(ShortcutsTest, ADeviceThatIsNotThereIsFoundOnceAnotherProgramHasMadeIt) {
    EXPECT_EQ(engine->deviceIdOf(FIRST), NONE);
    const auto device = other->emplaceDevice(FIRST, 1, 0);
    EXPECT_EQ(engine->deviceIdOf(FIRST), device);
}

TEST_F(ShortcutsTest, ManyChannelsAreFoundAndMadeInTheOrderOfTheirNames) {
    std::vector<std::string> names;
    for (const char* letter : {"m", "c", "z", "a", "k", "b", "y", "d", "x", "e"}) {
        names.push_back(std::string{"Channel."} + letter);
    }
    const auto early = other->emplaceChannel(1, "Channel.k");
    other->setValue(early, CValue{"known"});
    const auto between = other->emplaceChannel(1, "Channel.bb");
    auto asked = names;
    asked.push_back("Channel.a");
    const auto made = engine->emplaceChannels(1, asked);
    ASSERT_EQ(made.size(), asked.size());
    for (std::size_t i = 0; i < asked.size(); ++i) {
        EXPECT_EQ(made[i], other->findChannel(1, asked[i])) << asked[i];
    }
    EXPECT_EQ(made[4], early);
    EXPECT_EQ(made[10], made[3]);
    EXPECT_EQ(std::count(made.begin(), made.end(), between), 0);
    EXPECT_EQ(engine->valueOf(early), CValue{"known"});
    const auto ticket = engine->wakeup().ticket();
    EXPECT_EQ(other->emplaceChannels(1, asked), made);
    EXPECT_EQ(engine->wakeup().ticket(), ticket);
    EXPECT_EQ(engine->emplaceChannels(999'999, asked), std::vector<std::uint64_t>(asked.size(), NONE));
}

TEST_F(ShortcutsTest, AStartIsOfThePresentWhoeverHasWritten) {
    const auto channel = engine->emplaceChannel(1, SOURCE);
    for (std::uint32_t i = 0; i < 20; ++i) {
        (i % 3 == 0 ? engine : other)->setValue(channel, CValue{i});
        const auto start = engine->startOf({channel});
        EXPECT_EQ(start.values.at(channel), CValue{i});
        EXPECT_TRUE(engine->newsAfter(start.seq).changes.empty());
        EXPECT_EQ(engine->newsAfter(start.seq - 1).changes.size(), 1U);
        EXPECT_EQ(startOf(other), start.seq);
    }
}

TEST_F(ShortcutsTest, ACommitThatIsNoNewsLeavesTheStartAsItIs) {
    const auto channel = engine->emplaceChannel(1, SOURCE);
    engine->setValue(channel, CValue{1U});
    const auto start = startOf(engine);
    engine->emplaceChannel(1, "Another");
    EXPECT_EQ(startOf(engine), start);
    other->emplaceChannel(1, "One more");
    EXPECT_EQ(startOf(engine), start);
    other->setValue(channel, CValue{2U});
    EXPECT_EQ(startOf(engine), start + 1);
}

TEST_F(ShortcutsTest, AStartIsOfThePresentAlsoForWhoHasAPageThatTheOthersHaveLeft) {
    const auto channel = other->emplaceChannel(1, SOURCE);
    other->setValue(channel, CValue{1U});
    std::filesystem::remove(path() + "-lock");
    other->setValue(channel, CValue{2U}); // in another page from here on
    EXPECT_EQ(startOf(engine), startOf(other)) << "an old write would be news to who begins to watch";
}

TEST_F(ShortcutsTest, AStartOverAChannelThatIsGoneHasNoValue) {
    const auto channel = engine->emplaceChannel(1, SOURCE);
    engine->setValue(channel, CValue{1U});
    EXPECT_TRUE(engine->startOf({channel}).values.at(channel).isValid());
    other->removeChannels(1, {});
    EXPECT_FALSE(engine->startOf({channel}).values.at(channel).isValid());
}

/// Says what it is told to say.
class Listener final : public tessapi::IOwnListener {
public:
    explicit Listener(bool passesOver) : answer{passesOver} {}

    bool passOver(std::span<const Change> changes) override {
        for (const auto& change : changes) {
            heard.push_back(change.seq);
        }
        return answer;
    }

    std::atomic<bool> answer;
    std::vector<std::int64_t> heard;
};

TEST_F(ShortcutsTest, AListenerIsAskedForTheCommitsOfItsOwnProgramWithoutAGap) {
    Listener listener{true};
    engine->add(listener);
    const auto channel = engine->emplaceChannel(1, SOURCE);
    const auto start = startOf(engine);
    engine->setValues({{channel, CValue{1U}}, {channel, CValue{2U}}});
    other->setValue(channel, CValue{3U});
    engine->setValue(channel, CValue{4U});
    EXPECT_EQ(listener.heard, (std::vector<std::int64_t>{start + 1, start + 2, start + 4}));
    engine->remove(listener);
    engine->setValue(channel, CValue{5U});
    EXPECT_EQ(listener.heard.size(), 3U);
}

/// A thread that waits at a bell, until it is woken.
class Sleeper {
public:
    Sleeper(tessapi::IBell& bell, SharedPage& page) :
        thread{[&bell] {
            const auto ticket = bell.ticket();
            bell.wait(ticket, LONG);
        }} {
        while (page.words().waiting == 0) {
            std::this_thread::yield();
        }
    }
    ~Sleeper() { thread.join(); }

private:
    std::thread thread;
};

TEST_F(ShortcutsTest, AListenerThatPassesACommitOverIsNotWoken) {
    SharedPage page{path() + "-lock", "test"};
    Listener listener{true};
    engine->add(listener);
    const auto channel = engine->emplaceChannel(1, SOURCE);
    const Sleeper sleeper{engine->wakeup(), page};
    engine->setValue(channel, CValue{1U});
    EXPECT_NE(page.words().waiting, 0U) << "nobody was woken";
    listener.answer = false;
    engine->setValue(channel, CValue{2U});
    EXPECT_EQ(page.words().waiting, 0U);
    engine->remove(listener);
}

TEST_F(ShortcutsTest, AnotherProgramIsWokenForWhatIsPassedOverHere) {
    SharedPage page{path() + "-lock", "test"};
    Listener listener{true};
    engine->add(listener);
    const auto channel = engine->emplaceChannel(1, SOURCE);
    {
        const Sleeper sleeper{other->wakeup(), page};
        engine->setValue(channel, CValue{1U});
        EXPECT_EQ(page.words().waiting, 0U);
    }
    engine->remove(listener);
}

TEST(WakeupTest, WhoWaitsBesideTheOwnListenerIsWoken) {
    SharedPage page;
    Wakeup own{page};
    Wakeup another{page};
    page.words().waiting = 0;
    own.wait(own.ticket() + 1, LONG); // it comes back at once and leaves its sign
    const auto alone = page.words().waiting.load();
    own.signalOthers();
    EXPECT_EQ(page.words().waiting, alone);
    another.wait(another.ticket() + 1, LONG);
    EXPECT_NE(page.words().waiting, alone) << "several";
    own.signalOthers();
    EXPECT_EQ(page.words().waiting, 0U);
    own.wait(own.ticket() + 1, LONG);
    another.signalOthers();
    EXPECT_EQ(page.words().waiting, 0U);
}

TEST(WakeupTest, WhatAnEarlierReleaseLeavesInThePageIsTakenForSeveral) {
    SharedPage page;
    Wakeup own{page};
    page.words().waiting = 1;
    own.wait(own.ticket() + 1, LONG);
    EXPECT_EQ(page.words().waiting, 1U);
    own.signalOthers();
    EXPECT_EQ(page.words().waiting, 0U);
}

} // namespace
} // namespace shortcuts
