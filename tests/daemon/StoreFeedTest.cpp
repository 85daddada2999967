#include "daemon/StoreFeed.h"

#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"
#include "testing/FakeClock.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

namespace velk::daemon {
namespace {

using velk::common::MutexLock;

/// Notes what it is told.
class NotingReader : public IStoreReader {
public:
    void begin(tessapi::ITessAccessor&) override { note("begin"); }
    void meet(const qz::CDevice& device, const tessapi::ChannelRecord& channel, bool isFormer) override {
        note((isFormer ? "former " : "new ") + std::to_string(device.id) + " " + channel.name);
        const MutexLock lock{mutex};
        names[channel.id] = channel.name;
    }
    void leave(std::uint64_t channel) override { note("left " + nameOf(channel)); }
    void take(const tessapi::ChannelWrite& write) override {
        std::ostringstream text;
        text << nameOf(write.channel) << " " << write.value;
        note(text.str());
    }
    void tick() override { note("tick"); }

    /// Blocks until it has been told `told`; everything that was noted before goes.
    void await(const std::string& told) {
        MutexLock lock{mutex};
        for (;;) {
            const auto found = std::find(notes.begin(), notes.end(), told);
            if (found != notes.end()) {
                notes.erase(notes.begin(), found + 1);
                return;
            }
            velk::common::Clock::system().waitFor(noted, lock, std::chrono::seconds{10});
        }
    }

    std::vector<std::string> all() {
        const MutexLock lock{mutex};
        return notes;
    }

private:
    void note(const std::string& text) {
        const MutexLock lock{mutex};
        notes.push_back(text);
        noted.notify_all();
    }
    std::string nameOf(std::uint64_t channel) {
        const MutexLock lock{mutex};
        return names[channel];
    }

    velk::common::Mutex mutex;
    std::condition_variable_any noted;
    std::vector<std::string> notes VELK_GUARDED_BY(mutex);
    std::map<std::uint64_t, std::string> names VELK_GUARDED_BY(mutex);
};

class StoreFeedTest : public ::testing::Test {
protected:
    std::unique_ptr<tessapi::ITessAccessor> open() {
        if (unreachable) {
            throw std::runtime_error{"disk full"};
        }
        return tessapi::TessAccessor::open("test", "memory:store-feed");
    }

    void start() {
        feed = std::make_unique<StoreFeed>([this] { return open(); }, std::vector<IStoreReader*>{&reader},
                                           errors, clock);
        feed->open();
    }

    void secondPasses() {
        clock.awaitBlocked(1);
        clock.advance(StoreFeed::TICK);
    }

    std::uint64_t channel(const char* name) {
        return writer->inbandAccessor().emplaceChannel(1, name, false);
    }

    /// A channel "b" that was made and written after the start; its writes have come, and wait.
    std::uint64_t startAndWriteNewChannel() {
        const std::uint64_t a = channel("a");
        start();
        const std::uint64_t b = channel("b");
        writer->inbandAccessor().setChannelCValue(b, qz::CValue{"1"});
        writer->inbandAccessor().setChannelCValue(b, qz::CValue{"2"});
        writer->inbandAccessor().setChannelCValue(a, qz::CValue{"3"});
        reader.await("a 3"); // so those before have come, too
        return b;
    }

    std::atomic<bool> unreachable{false};
    std::unique_ptr<tessapi::TessAccessor> writer{tessapi::TessAccessor::open("test", "memory:store-feed")};
    std::ostringstream errors;
    NotingReader reader;
    velk::testing::FakeClock clock{velk::testing::FakeClock::Passing::ByHand};
    std::unique_ptr<StoreFeed> feed; ///< last: it calls the reader
};

TEST_F(StoreFeedTest, WhatIsThereIsMetFirstAndThenEveryWriteIsGiven) {
    const std::uint64_t a = channel("a");
    start();
    EXPECT_EQ(reader.all(), (std::vector<std::string>{"begin", "former 1 a"}));
    writer->inbandAccessor().setChannelCValue(a, qz::CValue{"1"});
    writer->inbandAccessor().setChannelCValue(a, qz::CValue{"1"});
    reader.await("a 1");
    reader.await("a 1");
}

TEST_F(StoreFeedTest, WritesOfAChannelThatIsNewWaitUntilItHasBeenMet) {
    const std::uint64_t b = startAndWriteNewChannel();
    EXPECT_TRUE(reader.all().empty());
    secondPasses();
    reader.await("tick");
    clock.awaitBlocked(1);
    secondPasses();
    // What was noted before the first tick went with it; it came in this order or not at all.
    writer->inbandAccessor().setChannelCValue(b, qz::CValue{"4"});
    reader.await("b 4");
}

TEST_F(StoreFeedTest, AChannelThatIsNewIsMetBeforeItsWritesInTheirOrder) {
    startAndWriteNewChannel();
    feed->open(); // looks after what waits
    EXPECT_EQ(reader.all(), (std::vector<std::string>{"new 1 b", "b 1", "b 2"}));
}

TEST_F(StoreFeedTest, AChannelThatIsGoneIsLeftWhenAnotherIsMet) {
    channel("a");
    start();
    reader.await("former 1 a");
    writer->inbandAccessor().removeAllChannelsExcept(1, {});
    const std::uint64_t b = channel("b");
    writer->inbandAccessor().setChannelCValue(b, qz::CValue{"1"});
    while (reader.all().empty()) {
        feed->open();
        std::this_thread::yield();
    }
    EXPECT_EQ(reader.all(), (std::vector<std::string>{"new 1 b", "left a", "b 1"}));
}

TEST_F(StoreFeedTest, AStoreThatCannotBeOpenedIsTriedAgainAndToldOnce) {
    unreachable = true;
    start();
    secondPasses();
    reader.await("tick");
    unreachable = false;
    secondPasses();
    reader.await("begin");
    feed.reset();
    EXPECT_EQ(errors.str(),
              "powerdistributiond: what is written into the store cannot be read: disk full; tess history "
              "and tess events will not know of it\n");
}

} // namespace
} // namespace velk::daemon
