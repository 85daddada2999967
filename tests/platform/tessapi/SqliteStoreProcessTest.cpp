#include "tests/platform/tessapi/SqliteStoreTest.h"
#include "tests/platform/tessapi/WriterProcess.h"

#include <set>

namespace tessapi::contract {
namespace {

using qz::CValue;

const std::string SOURCE{"PowerDistribution.Status.Source"};

/// Several processes on one store.
class SqliteStoreProcessTest : public SqliteStoreTest {
protected:
    static std::vector<CValue> numbers(std::uint32_t from, std::uint32_t to) {
        std::vector<CValue> values;
        for (std::uint32_t number = from; number <= to; ++number) {
            values.emplace_back(number);
        }
        return values;
    }

    std::unique_ptr<WriterProcess> start(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), url());
        return std::make_unique<WriterProcess>(arguments);
    }

    std::unique_ptr<WriterProcess> count(const std::string& device, std::uint32_t from,
                                         std::uint32_t to) const {
        return start({"count", device, SOURCE, std::to_string(from), std::to_string(to)});
    }
};

TEST_F(SqliteStoreProcessTest, EveryWriteOfAnotherProcessIsDeliveredInOrder) {
    const auto client = open();
    const std::uint64_t channel = client->channel(client->device("device"), SOURCE);
    const auto writes = client->watch({channel});
    EXPECT_EQ(count("device", 1, 300)->wait(), 0);
    EXPECT_EQ(valuesOf(writes.waitFor(300)), numbers(1, 300));
    client->settle();
    EXPECT_EQ(writes.all().size(), 300u);
}

TEST_F(SqliteStoreProcessTest, TheWritesOfSeveralProcessesAreAllDelivered) {
    const auto client = open();
    std::vector<std::uint64_t> channels;
    for (const char* name : {"a", "b", "c"}) {
        channels.push_back(client->channel(client->device(name), SOURCE));
    }
    const auto writes = client->watch(channels);
    {
        const auto a = count("a", 1, 100);
        const auto b = count("b", 1, 100);
        for (std::uint32_t number = 1; number <= 100; ++number) {
            client->set(channels[2], number);
        }
        EXPECT_EQ(a->wait(), 0);
        EXPECT_EQ(b->wait(), 0);
    }
    const auto told = writes.waitFor(300);
    for (const std::uint64_t channel : channels) {
        std::vector<CValue> ofChannel;
        for (const Write& write : told) {
            if (write.first == channel) {
                ofChannel.push_back(write.second);
            }
        }
        EXPECT_EQ(ofChannel, numbers(1, 100));
    }
}

TEST_F(SqliteStoreProcessTest, WhatAnotherProcessMadeIsThereAtOnce) {
    const auto client = open();
    const auto writer = start({"device", "device"});
    const auto printed = writer->readLine();
    ASSERT_TRUE(printed);
    EXPECT_EQ(std::to_string(client->store().deviceIdOf(uuidFor("device"))), *printed);
    EXPECT_EQ(writer->wait(), 0);
}

TEST_F(SqliteStoreProcessTest, AnAcknowledgedWriteOfAnotherProcessIsReadAtOnce) {
    const auto client = open();
    const std::uint64_t channel = client->channel(client->device("device"), SOURCE);
    const auto writer = count("device", 1, 200);
    std::uint32_t latest{0};
    while (const auto line = writer->readLine()) {
        const std::uint32_t acknowledged = static_cast<std::uint32_t>(std::stoul(*line));
        const std::uint32_t read = client->channels().getChannelCValue(channel).as_uint32();
        EXPECT_GE(read, acknowledged);
        EXPECT_GE(read, latest) << "no older value after a newer one";
        latest = read;
    }
    EXPECT_EQ(latest, 200u);
}

TEST_F(SqliteStoreProcessTest, ProcessesNeverGetTheSameIdentifier) {
    const auto client = open();
    std::set<std::uint64_t> given;
    for (int number = 0; number < 5; ++number) {
        const auto writer = start({"device", "theirs " + std::to_string(number)});
        given.insert(client->device("ours " + std::to_string(number)));
        const auto printed = writer->readLine();
        ASSERT_TRUE(printed);
        given.insert(std::stoull(*printed));
    }
    EXPECT_EQ(given.size(), 10u);
}

TEST_F(SqliteStoreProcessTest, AlarmsRaisedByAnotherProcessAreTold) {
    const auto client = open();
    const std::uint64_t device = client->device("device");
    const std::uint64_t channel = client->channel(device, SOURCE);
    client->setAlarms(channel, {{LevelAlarm::critical, 3, CValue{2u}, {}, -1, "A1", {}, 0}});
    const auto updates = client->watchAlarms(device);
    EXPECT_EQ(count("device", 1, 3)->wait(), 0);
    const auto told = updates.waitFor(2);
    ASSERT_EQ(told.size(), 2u);
    EXPECT_EQ(told[0].level, LevelAlarm::critical);
    EXPECT_EQ(told[1].level, LevelAlarm::good);
}

TEST_F(SqliteStoreProcessTest, AttributesWrittenByAnotherProcessAreTold) {
    const auto client = open();
    const std::uint64_t device = client->device("device");
    const auto told = client->watchDevice(device);
    EXPECT_EQ(start({"attribute", "device", "UPS 3000"})->wait(), 0);
    EXPECT_EQ(told.waitFor(1), (std::vector<std::uint64_t>{device}));
    EXPECT_EQ(client->channels().getDeviceAttribute(device, DeviceAttribute::model), "UPS 3000");
}

TEST_F(SqliteStoreProcessTest, WhatAnotherProcessRemovedIsGone) {
    const auto client = open();
    const std::uint64_t channel = client->channel(client->device("device"), SOURCE);
    client->set(channel, 1u);
    EXPECT_EQ(start({"remove"})->wait(), 0);
    EXPECT_EQ(client->store().deviceIdOf(uuidFor("device")), ITessAccessor::UNKNOWN_ID);
    EXPECT_FALSE(client->channels().getChannelCValue(channel).isValid());
    EXPECT_THROW(client->set(channel, 2u), std::runtime_error);
}

TEST_F(SqliteStoreProcessTest, AKilledProcessLosesNothingThatWasAcknowledged) {
    for (std::uint32_t round = 0; round < 5; ++round) {
        const std::string device = "device " + std::to_string(round);
        const auto writer = count(device, 1, 100000000);
        std::uint32_t acknowledged{0};
        while (acknowledged < 50 + round) {
            const auto line = writer->readLine();
            ASSERT_TRUE(line);
            acknowledged = static_cast<std::uint32_t>(std::stoul(*line));
        }
        writer->kill();
        while (const auto line = writer->readLine()) {
            acknowledged = static_cast<std::uint32_t>(std::stoul(*line));
        }
        EXPECT_EQ(writer->wait(), -9);
        const auto client = open();
        const std::uint64_t channel =
            client->channels().getCatchedChannelId(client->store().deviceIdOf(uuidFor(device)), SOURCE);
        EXPECT_GE(client->channels().getChannelCValue(channel).as_uint32(), acknowledged);
    }
}

TEST_F(SqliteStoreProcessTest, AKilledProcessDoesNotHoldUpTheOthers) {
    const auto client = open();
    const std::uint64_t channel = client->channel(client->device("device"), SOURCE);
    const auto writes = client->watch({channel});
    {
        const auto writer = count("device", 1, 100000000);
        ASSERT_TRUE(writer->readLine());
    } // killed while it writes
    client->settle();
    const std::size_t before = writes.all().size();
    client->set(channel, 4000000000u);
    const auto told = writes.waitFor(before + 1);
    ASSERT_EQ(told.size(), before + 1);
    EXPECT_EQ(told.back(), (Write{channel, CValue{4000000000u}}));
}

} // namespace
} // namespace tessapi::contract
