#include "tests/platform/tessapi/StoreTest.h"

#include <algorithm>
#include <chrono>

namespace tessapi::contract {
namespace {

using qz::CValue;

class StoreBrowserTest : public StoreTest {
protected:
    static std::int64_t nowMs() {
        return std::chrono::duration_cast<std::chrono::milliseconds>(
                   std::chrono::system_clock::now().time_since_epoch())
            .count();
    }

    /// The writes of one channel among those of the whole store.
    static std::vector<CValue> valuesOfChannel(const std::vector<ChannelWrite>& writes,
                                               std::uint64_t channel) {
        std::vector<CValue> values;
        for (const ChannelWrite& write : writes) {
            if (write.channel == channel) {
                values.push_back(write.value);
            }
        }
        return values;
    }
};

VELK_TEST_EVERY_ENGINE(StoreBrowserTest);

TEST_P(StoreBrowserTest, TellsWhichStoreItIs) {
    EXPECT_EQ(client().browser().url(), url());
}

TEST_P(StoreBrowserTest, AFreshStoreHoldsTheRootAlone) {
    const StoreSnapshot snapshot = client().browser().snapshot();
    ASSERT_EQ(snapshot.devices.size(), 1u);
    EXPECT_EQ(snapshot.devices[0].id, ROOT);
    EXPECT_EQ(snapshot.devices[0].uuid, client().store().uuidOf(ROOT));
    EXPECT_TRUE(snapshot.channels.empty());
}

TEST_P(StoreBrowserTest, DevicesComeByTheirIdentifiers) {
    const std::uint64_t first = client().device("first");
    client().device("distribution", ROOT, 20);
    client().device("equipment", ROOT, 2);
    client().channels().setDeviceAttribute(first, DeviceAttribute::path, "Inputs.1");
    const auto devices = client().browser().snapshot().devices;
    std::vector<std::uint64_t> ids;
    for (const qz::CDevice& device : devices) {
        ids.push_back(device.id);
    }
    EXPECT_EQ(ids, (std::vector<std::uint64_t>{1, 2, 20, first}));
    EXPECT_EQ(devices[3].uuid, uuidFor("first"));
    EXPECT_EQ(devices[3].parentId, ROOT);
    EXPECT_EQ(devices[3].attributes[7], "Inputs.1");
}

TEST_P(StoreBrowserTest, ChannelsComeByDeviceThenByIdentifier) {
    const std::uint64_t late = client().device("late");
    const std::uint64_t early = client().device("early", ROOT, 2);
    const std::uint64_t a = client().channel(late, names::UINT32);
    const std::uint64_t b = client().channel(early, names::FLOAT32);
    const std::uint64_t c = client().channel(late, names::FLOAT32);
    const std::uint64_t d = client().channel(early, names::UINT32);
    std::vector<std::uint64_t> ids;
    for (const ChannelRecord& channel : client().browser().snapshot().channels) {
        ids.push_back(channel.id);
    }
    EXPECT_EQ(ids,
              (std::vector<std::uint64_t>{std::min(b, d), std::max(b, d), std::min(a, c), std::max(a, c)}));
}

TEST_P(StoreBrowserTest, ARecordTellsEverythingOfItsChannel) {
    const std::uint64_t device = client().device("device");
    const std::uint64_t channel = client().channel(device, names::FLOAT32);
    const ChannelRecord before = client().record(channel);
    EXPECT_EQ(before.deviceId, device);
    EXPECT_EQ(before.name, names::FLOAT32);
    EXPECT_EQ(before.type, qz::datatype::float32);
    EXPECT_FALSE(before.initialized);
    EXPECT_FALSE(before.value.isValid());
    EXPECT_EQ(before.writtenMs, 0);
    EXPECT_EQ(before.changedMs, 0);
    EXPECT_EQ(before.unit, "V");
    EXPECT_FALSE(before.description.empty());
    EXPECT_TRUE(before.states.empty());
    EXPECT_TRUE(before.alarmConfig.triggers.empty());
    EXPECT_TRUE(before.activeAlarms.empty());
    client().set(channel, 230.0f);
    const ChannelRecord after = another()->record(channel);
    EXPECT_TRUE(after.initialized);
    EXPECT_EQ(after.value, CValue{230.0f});
}

TEST_P(StoreBrowserTest, AnUnknownNameHasNeitherUnitNorDescription) {
    const ChannelRecord record = client().record(client().channel(ROOT, "Something.Else"));
    EXPECT_EQ(record.type, qz::datatype::string);
    EXPECT_EQ(record.unit, "");
    EXPECT_EQ(record.description, "");
}

TEST_P(StoreBrowserTest, TheTimeOfAWriteIsTheWallClock) {
    const std::uint64_t channel = client().channel(ROOT, names::UINT32);
    const std::int64_t before = nowMs();
    client().set(channel, 1u);
    const std::int64_t after = nowMs();
    const ChannelRecord record = client().record(channel);
    EXPECT_GE(record.writtenMs, before);
    EXPECT_LE(record.writtenMs, after);
    EXPECT_EQ(record.changedMs, record.writtenMs);
}

TEST_P(StoreBrowserTest, AnUnchangedWriteMovesTheTimeOfTheWriteAlone) {
    const std::uint64_t channel = client().channel(ROOT, names::UINT32);
    client().set(channel, 1u);
    const std::int64_t changed = client().record(channel).changedMs;
    const std::int64_t deadline = nowMs() + 30000;
    while (client().record(channel).writtenMs == changed && nowMs() < deadline) {
        client().set(channel, 1u);
    }
    EXPECT_GT(client().record(channel).writtenMs, changed);
    EXPECT_EQ(client().record(channel).changedMs, changed);
    client().set(channel, 2u);
    const ChannelRecord record = client().record(channel);
    EXPECT_GT(record.changedMs, changed);
    EXPECT_EQ(record.changedMs, record.writtenMs);
}

TEST_P(StoreBrowserTest, EveryWriteOfEveryChannelIsTold) {
    const auto writes = client().watchAll();
    const std::uint64_t device = client().device("made later");
    const std::uint64_t first = client().channel(device, names::UINT32);
    const std::uint64_t second = client().channel(device, names::STRING);
    const std::int64_t before = nowMs();
    client().set(first, 1u);
    another()->set(second, "text");
    client().set(first, 1u);
    const auto told = writes.waitFor(3);
    ASSERT_EQ(told.size(), 3u);
    EXPECT_EQ(told[0].channel, first);
    EXPECT_EQ(told[0].value, CValue{1u});
    EXPECT_EQ(told[1].channel, second);
    EXPECT_EQ(told[1].value, CValue{"text"});
    EXPECT_EQ(told[2].channel, first);
    for (const ChannelWrite& write : told) {
        EXPECT_GE(write.timeMs, before);
        EXPECT_LE(write.timeMs, nowMs());
    }
}

TEST_P(StoreBrowserTest, AWatcherOfEverythingMissesNothingWhileItIsBusy) {
    const std::uint64_t channel = client().channel(ROOT, names::UINT32);
    const auto writes = client().watchAll();
    const Gate gate = client().block();
    std::vector<CValue> expected;
    for (std::uint32_t number = 1; number <= 200; ++number) {
        client().set(channel, number);
        expected.emplace_back(number);
    }
    gate.open();
    client().settle();
    EXPECT_EQ(valuesOfChannel(writes.all(), channel), expected);
}

TEST_P(StoreBrowserTest, NothingIsToldAtSubscription) {
    const std::uint64_t channel = client().channel(ROOT, names::UINT32);
    client().set(channel, 1u);
    const auto writes = client().watchAll();
    client().settle();
    EXPECT_TRUE(valuesOfChannel(writes.all(), channel).empty());
}

} // namespace
} // namespace tessapi::contract
