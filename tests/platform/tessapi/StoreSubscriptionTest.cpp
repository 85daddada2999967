#include "tests/platform/tessapi/StoreTest.h"

#include <set>
#include <thread>

namespace tessapi::contract {
namespace {

using qz::CValue;

/// Subscriptions of type 0: one call per write.
class StoreSubscriptionTest : public StoreTest {
protected:
    void SetUp() override { channel = client().channel(client().device("device"), names::UINT32); }

    static std::vector<CValue> numbers(std::uint32_t from, std::uint32_t to) {
        std::vector<CValue> values;
        for (std::uint32_t number = from; number <= to; ++number) {
            values.emplace_back(number);
        }
        return values;
    }

    std::uint64_t channel{UNKNOWN_ID};
};

VELK_TEST_EVERY_ENGINE(StoreSubscriptionTest);

TEST_P(StoreSubscriptionTest, AWriteIsDeliveredWithItsValue) {
    const auto writes = client().watch({channel});
    client().set(channel, 5u);
    EXPECT_EQ(writes.waitFor(1), (std::vector<Write>{{channel, CValue{5u}}}));
}

TEST_P(StoreSubscriptionTest, NothingIsDeliveredAtSubscription) {
    client().set(channel, 5u);
    const auto writes = client().watch({channel});
    client().settle();
    EXPECT_TRUE(writes.all().empty());
}

TEST_P(StoreSubscriptionTest, AWriteBeforeTheSubscriptionIsNeverDelivered) {
    const Gate gate = client().block();
    client().set(channel, 1u);
    const auto writes = client().watch({channel});
    client().set(channel, 2u);
    gate.open();
    client().settle();
    EXPECT_EQ(valuesOf(writes.all()), numbers(2, 2));
}

TEST_P(StoreSubscriptionTest, AnUnchangedWriteIsDeliveredToo) {
    const auto writes = client().watch({channel});
    for (int round = 0; round < 3; ++round) {
        client().set(channel, 5u);
    }
    client().settle();
    EXPECT_EQ(valuesOf(writes.all()), std::vector<CValue>(3, CValue{5u}));
}

TEST_P(StoreSubscriptionTest, AnUnchangedWriteOfAnotherClientIsDeliveredToo) {
    const auto other = another();
    const auto writes = client().watch({channel});
    for (int round = 0; round < 3; ++round) {
        client().set(channel, 5u);
        other->set(channel, 5u);
    }
    client().settle();
    EXPECT_EQ(valuesOf(writes.all()), std::vector<CValue>(6, CValue{5u}));
}

TEST_P(StoreSubscriptionTest, WritesOfAnotherClientAreDelivered) {
    const auto other = another();
    const auto writes = client().watch({channel});
    const auto echoes = other->watch({channel});
    for (std::uint32_t number = 1; number <= 100; ++number) {
        other->set(channel, number);
    }
    EXPECT_EQ(valuesOf(writes.waitFor(100)), numbers(1, 100));
    EXPECT_EQ(valuesOf(echoes.waitFor(100)), numbers(1, 100));
    client().settle();
    EXPECT_EQ(writes.all().size(), 100u);
}

TEST_P(StoreSubscriptionTest, NoWriteIsLostOrMergedWhileTheSubscriberIsBusy) {
    const auto writes = client().watch({channel});
    const Gate gate = client().block();
    const auto other = another();
    for (std::uint32_t number = 1; number <= 500; ++number) {
        (number % 2 == 0 ? *other : client()).set(channel, number);
    }
    EXPECT_TRUE(writes.all().empty());
    gate.open();
    EXPECT_EQ(valuesOf(writes.waitFor(500)), numbers(1, 500));
}

TEST_P(StoreSubscriptionTest, WritesOfSeveralChannelsComeInTheirOrder) {
    const std::uint64_t second = client().channel(client().device("other"), names::UINT32);
    const auto writes = client().watch({second, channel});
    const auto other = another();
    std::vector<Write> expected;
    for (std::uint32_t number = 1; number <= 100; ++number) {
        const Write write{number % 3 == 0 ? channel : second, CValue{number}};
        (number % 2 == 0 ? *other : client()).channels().setChannelCValue(write.first, write.second);
        expected.push_back(write);
    }
    EXPECT_EQ(writes.waitFor(100), expected);
}

TEST_P(StoreSubscriptionTest, AllSubscribersSeeTheSameOrderOfConcurrentWrites) {
    const auto other = another();
    const auto here = client().watch({channel});
    const auto there = other->watch({channel});
    constexpr std::uint32_t WRITES = 250;
    std::vector<std::thread> writers;
    for (std::uint32_t writer = 0; writer < 4; ++writer) {
        StoreClient& through = writer % 2 == 0 ? client() : *other;
        writers.emplace_back([this, &through, writer] {
            for (std::uint32_t number = 0; number < WRITES; ++number) {
                through.set(channel, writer * WRITES + number);
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    const auto seen = valuesOf(here.waitFor(4 * WRITES));
    EXPECT_EQ(seen, valuesOf(there.waitFor(4 * WRITES)));
    ASSERT_EQ(seen.size(), 4 * WRITES);
    std::vector<std::uint32_t> next{0, 0, 0, 0};
    for (const CValue& value : seen) {
        const std::uint32_t number = value.as_uint32();
        ASSERT_EQ(number % WRITES, next[number / WRITES]++) << "a writer's own order is kept";
    }
    EXPECT_EQ(client().channels().getChannelCValue(channel), seen.back());
}

TEST_P(StoreSubscriptionTest, EveryCallComesOnTheOneThreadOfItsClient) {
    const std::uint64_t device = client().device("device");
    const Recorder<std::thread::id> threads;
    const auto note = [threads] { threads.add(std::this_thread::get_id()); };
    InBandAccessor& store = client().channels();
    const auto onWrite = [note](std::uint64_t, const CValue&) { note(); };
    store.subscribeMultipleChannels({channel}, onWrite, qz::sub::everyWrite, nullptr);
    store.subscribeMultipleChannels({channel}, onWrite, qz::sub::changes, nullptr);
    store.subscribeDevice(
        device, [note](std::uint64_t) { note(); }, qz::sub::attributes, false, nullptr);
    store.subscribeDeviceAlarms(
        device, [note](const qz::CAlarmUpdate&) { note(); }, nullptr);
    client().setAlarms(channel, {{LevelAlarm::warning, 3, CValue{1u}, {}, -1, "", {}, 0}});
    std::thread{[this, device] {
        client().set(channel, 1u);
        client().channels().setDeviceAttribute(device, DeviceAttribute::model, "text");
    }}.join();
    const auto all = threads.waitFor(4);
    EXPECT_EQ(all.size(), 4u);
    EXPECT_EQ((std::set<std::thread::id>{all.begin(), all.end()}).size(), 1u);
    EXPECT_NE(all.front(), std::this_thread::get_id());
}

TEST_P(StoreSubscriptionTest, EveryClientHasAThreadOfItsOwn) {
    const auto other = another();
    const Recorder<std::thread::id> here;
    const Recorder<std::thread::id> there;
    client().channels().subscribeMultipleChannels(
        {channel}, [here](std::uint64_t, const CValue&) { here.add(std::this_thread::get_id()); },
        qz::sub::everyWrite, nullptr);
    other->channels().subscribeMultipleChannels(
        {channel}, [there](std::uint64_t, const CValue&) { there.add(std::this_thread::get_id()); },
        qz::sub::everyWrite, nullptr);
    client().set(channel, 1u);
    EXPECT_NE(here.waitFor(1).at(0), there.waitFor(1).at(0));
}

TEST_P(StoreSubscriptionTest, ACallbackMayUseTheStoreAndItsWritesAreDeliveredAfterIt) {
    const std::uint64_t echo = client().channel(client().device("device"), names::STRING);
    const Recorder<std::string> steps;
    client().channels().subscribeMultipleChannels(
        {channel},
        [this, steps, echo](std::uint64_t, const CValue& value) {
            steps.add("begin");
            client().set(echo, "seen " + std::to_string(value.as_uint32()));
            EXPECT_EQ(client().channels().getChannelCValue(echo), CValue{"seen 1"});
            client().channel(client().device("made inside"), names::FLOAT32);
            steps.add("end");
        },
        qz::sub::everyWrite, nullptr);
    client().channels().subscribeMultipleChannels(
        {echo}, [steps](std::uint64_t, const CValue& value) { steps.add(value.as_string()); },
        qz::sub::everyWrite, nullptr);
    client().set(channel, 1u);
    EXPECT_EQ(steps.waitFor(3), (std::vector<std::string>{"begin", "end", "seen 1"}));
    EXPECT_NE(client().store().deviceIdOf(uuidFor("made inside")), UNKNOWN_ID);
}

TEST_P(StoreSubscriptionTest, ACallbackMaySubscribe) {
    const Recorder<Write> inner;
    client().channels().subscribeMultipleChannels(
        {channel},
        [this, inner](std::uint64_t, const CValue& value) {
            if (value == CValue{1u}) {
                client().channels().subscribeMultipleChannels(
                    {channel},
                    [inner](std::uint64_t id, const CValue& seen) {
                        inner.add({id, seen});
                    },
                    qz::sub::everyWrite, nullptr);
            }
        },
        qz::sub::everyWrite, nullptr);
    client().set(channel, 1u);
    client().settle();
    client().set(channel, 2u);
    EXPECT_EQ(valuesOf(inner.waitFor(1)), numbers(2, 2));
}

TEST_P(StoreSubscriptionTest, HundredsOfSubscribersAreServed) {
    constexpr std::size_t SUBSCRIBERS = 400;
    std::vector<Recorder<Write>> recorders;
    for (std::size_t number = 0; number < SUBSCRIBERS; ++number) {
        recorders.push_back(
            client().watch({channel}, number % 2 == 0 ? qz::sub::everyWrite : qz::sub::changes));
    }
    client().set(channel, 1u);
    for (const auto& recorder : recorders) {
        EXPECT_EQ(valuesOf(recorder.waitFor(1)), numbers(1, 1));
    }
}

TEST_P(StoreSubscriptionTest, OneSubscriptionWatchesThousandsOfChannels) {
    const std::uint64_t device = client().device("device");
    std::vector<std::uint64_t> channels;
    for (int number = 0; number < 3000; ++number) {
        channels.push_back(client().channel(device, "Test." + std::to_string(number)));
    }
    const auto writes = client().watch(channels);
    client().set(channels.front(), "first");
    client().set(channels.back(), "last");
    EXPECT_EQ(writes.waitFor(2),
              (std::vector<Write>{{channels.front(), CValue{"first"}}, {channels.back(), CValue{"last"}}}));
}

TEST_P(StoreSubscriptionTest, TheRemovalOfAChannelIsSilent) {
    const std::uint64_t device = client().device("device");
    client().set(channel, 1u);
    const auto writes = client().watch({channel});
    const auto changes = client().watch({channel}, qz::sub::changes);
    const auto attributes = client().watchDevice(device);
    client().channels().removeAllChannelsExcept(device, {});
    client().settle();
    EXPECT_TRUE(writes.all().empty());
    EXPECT_TRUE(changes.all().empty());
    EXPECT_TRUE(attributes.all().empty());
}

TEST_P(StoreSubscriptionTest, DestroyingAClientEndsItsSubscriptions) {
    auto other = another();
    const auto writes = other->watch({channel});
    client().set(channel, 1u);
    EXPECT_EQ(writes.waitFor(1).size(), 1u);
    other.reset();
    client().set(channel, 2u);
    client().settle();
    EXPECT_EQ(writes.all().size(), 1u);
}

TEST_P(StoreSubscriptionTest, AWriteCallsItsSubscribersInTheOrderOfTheirSubscription) {
    const Recorder<std::string> calls;
    const auto subscribe = [&](const std::string& name, const std::vector<std::uint64_t>& to) {
        client().channels().subscribeMultipleChannels(
            to, [calls, name](std::uint64_t, const CValue&) { calls.add(name); }, qz::sub::everyWrite,
            nullptr);
    };
    const std::uint64_t other = client().channel(client().device("device"), names::FLOAT32);
    subscribe("first", {channel, other});
    client().browser().subscribeAllChannels([calls](const ChannelWrite&) { calls.add("all"); }, nullptr);
    subscribe("another channel", {other});
    subscribe("last", {channel});
    client().set(channel, 1u);
    EXPECT_EQ(calls.waitFor(3), (std::vector<std::string>{"first", "all", "last"}));
}

TEST_P(StoreSubscriptionTest, AChannelThatIsListedTwiceIsDeliveredOnce) {
    std::uint64_t subscription = 0;
    const auto writes = client().watch({channel, channel}, qz::sub::everyWrite, &subscription);
    client().set(channel, 1u);
    client().settle();
    EXPECT_EQ(writes.all().size(), 1u);
    client().channels().unsubscribe(subscription);
    client().set(channel, 2u);
    client().settle();
    EXPECT_EQ(writes.all().size(), 1u);
}

} // namespace
} // namespace tessapi::contract
