#include "daemon/CommunicationJournal.h"
#include "daemon/history/HistoryDesk.h"
#include "platform/tessapi/DeviceAttribute.h"
#include "testing/FakeClock.h"
#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <optional>
#include <sstream>

// What a value was behind a link that is lost, nobody knows.

namespace velk::daemon {
namespace {

constexpr std::int64_t LINK_BEGIN = 1'700'049'600'000;
constexpr std::int64_t LINK_SECOND = 1000;
constexpr std::uint32_t LINKED = 2;
constexpr std::uint32_t LINK_LOST = 3;
constexpr std::uint32_t LINK_UNKNOWN = 4;

class LostLinkTest : public ::testing::Test {
protected:
    static constexpr std::uint64_t DEVICE_STATE = 500;
    static constexpr std::uint64_t BANK_STATE = 501;
    static constexpr std::uint64_t VOLTAGE = 510; ///< of the device
    static constexpr std::uint64_t CHARGE = 511;  ///< of a module of the power bank
    static constexpr std::uint64_t BANKING = 512; ///< of a part whose name begins like the power bank
    static constexpr std::uint64_t ADDRESS = 513; ///< of the machine

    static qz::CDevice device(std::uint64_t id, const std::string& place) {
        qz::CDevice made;
        made.id = id;
        made.uuid = common::Uuid{common::Uuid::VELK_NAMESPACE, "device " + std::to_string(id)};
        made.attributes.at(static_cast<std::size_t>(tessapi::DeviceAttribute::path)) = place;
        return made;
    }

    static tessapi::ChannelRecord record(std::uint64_t id, const std::string& name) {
        tessapi::ChannelRecord channel;
        channel.id = id;
        channel.name = name;
        channel.type = name == CommunicationJournal::STATE ? qz::datatype::uint32 : qz::datatype::float32;
        return channel;
    }

    void meetLink(std::uint64_t id, const qz::CDevice& of) {
        desk->meet(of, record(id, CommunicationJournal::STATE), false);
    }

    void meetValue(std::uint64_t id, const qz::CDevice& of) {
        desk->meet(of, record(id, "PowerDistribution.Measure.Sample"), false);
    }

    void meetAll() {
        meetLink(DEVICE_STATE, device(20, "PowerDistribution"));
        meetLink(BANK_STATE, device(1000, "BackupSystem.PowerBank"));
        meetValue(VOLTAGE, device(20, "PowerDistribution"));
        meetValue(CHARGE, device(1001, "BackupSystem.PowerBank.StorageModules.1"));
        meetValue(BANKING, device(1002, "BackupSystem.PowerBanks.1"));
        meetValue(ADDRESS, device(3, ""));
    }

    void start(const std::string& file = "") {
        HistorySettings settings;
        settings.file = file;
        desk.emplace(settings, errors, pauses, [this] { return nowMs; });
        meetAll();
    }

    void at(int second) { nowMs = LINK_BEGIN + second * LINK_SECOND; }

    void say(std::uint64_t link, std::uint32_t state) { desk->take({link, qz::CValue{state}, nowMs}); }

    void write(std::uint64_t channel, float value) { desk->take({channel, qz::CValue{value}, nowMs}); }

    /// Of each second from the beginning on the last value, "-" where nobody knows.
    std::string seconds(std::uint64_t channel, std::size_t count) const {
        const auto slice = desk->history().slice(
            channel, LINK_BEGIN, LINK_BEGIN + static_cast<std::int64_t>(count) * LINK_SECOND, count);
        std::ostringstream text;
        for (std::size_t i = 0; slice && i < count; ++i) {
            slice->columns[i] ? text << slice->columns[i]->last << " " : text << "- ";
        }
        return text.str();
    }

    std::int64_t nowMs{LINK_BEGIN};
    std::ostringstream errors;
    velk::testing::FakeClock pauses{velk::testing::FakeClock::Passing::ByHand};
    std::optional<HistoryDesk> desk;
};

TEST_F(LostLinkTest, WhileTheLinkIsLostNobodyKnowsAndAnUnchangedValueCountsAgainAfterwards) {
    start();
    say(DEVICE_STATE, LINKED);
    write(VOLTAGE, 230.0F);
    at(2);
    say(DEVICE_STATE, LINK_LOST);
    at(4);
    say(DEVICE_STATE, LINKED);
    EXPECT_EQ(seconds(VOLTAGE, 6), "230 230 - - 230 230 ");
}

TEST_F(LostLinkTest, TheMeanCountsNoneOfTheTimeWithoutALink) {
    start();
    write(VOLTAGE, 200.0F);
    at(1);
    say(DEVICE_STATE, LINK_LOST);
    at(9);
    say(DEVICE_STATE, LINKED);
    write(VOLTAGE, 100.0F);
    const auto slice = desk->history().slice(VOLTAGE, LINK_BEGIN, LINK_BEGIN + 10 * LINK_SECOND, 1);
    ASSERT_TRUE(slice && slice->whole);
    EXPECT_EQ(slice->whole->mean, 150.0);
}

TEST_F(LostLinkTest, WhatIsWrittenBehindALostLinkCountsFromItsReturnOn) {
    start();
    write(VOLTAGE, 230.0F);
    at(1);
    say(DEVICE_STATE, LINK_LOST);
    write(VOLTAGE, 0.0F);
    at(2);
    write(VOLTAGE, 228.0F);
    say(DEVICE_STATE, LINK_UNKNOWN);
    at(3);
    say(DEVICE_STATE, LINKED);
    EXPECT_EQ(seconds(VOLTAGE, 4), "230 - - 228 ");
}

TEST_F(LostLinkTest, APartThatIsLostTakesWhatIsBelowItAlong) {
    start();
    for (const std::uint64_t channel : {VOLTAGE, CHARGE, BANKING, ADDRESS}) {
        write(channel, 1.0F);
    }
    at(1);
    say(BANK_STATE, LINK_LOST);
    EXPECT_EQ(seconds(CHARGE, 2), "1 - ");
    EXPECT_EQ(seconds(BANKING, 2), "1 1 ");
    EXPECT_EQ(seconds(VOLTAGE, 2), "1 1 ");
    at(2);
    say(DEVICE_STATE, LINK_LOST);
    EXPECT_EQ(seconds(BANKING, 3), "1 1 - ");
    EXPECT_EQ(seconds(ADDRESS, 3), "1 1 1 ") << "no part of the equipment";
    at(3);
    say(DEVICE_STATE, LINKED);
    EXPECT_EQ(seconds(BANKING, 4), "1 1 - 1 ");
    EXPECT_EQ(seconds(CHARGE, 4), "1 - - - ") << "its own link is still lost";
}

TEST_F(LostLinkTest, TheStateOfTheLinkItselfIsAlwaysKnown) {
    start();
    say(DEVICE_STATE, LINKED);
    at(1);
    say(DEVICE_STATE, LINK_LOST);
    EXPECT_EQ(seconds(DEVICE_STATE, 2), "2 3 ");
}

TEST_F(LostLinkTest, AChannelThatComesWhileTheLinkIsLostCountsFromItsReturnOn) {
    start();
    say(DEVICE_STATE, LINK_LOST);
    tessapi::ChannelRecord late = record(600, "PowerDistribution.Measure.Late");
    late.value = qz::CValue{5.0F};
    late.initialized = true;
    desk->meet(device(20, "PowerDistribution"), late, true);
    EXPECT_EQ(seconds(600, 1), "");
    at(1);
    say(DEVICE_STATE, LINKED);
    EXPECT_EQ(seconds(600, 2), "- 5 ");
}

TEST_F(LostLinkTest, AnotherDeviceIsNotBehindTheLostLinkOfTheOneBefore) {
    start();
    say(DEVICE_STATE, LINK_LOST);
    at(1);
    qz::CDevice other = device(20, "PowerDistribution");
    other.uuid = common::Uuid{common::Uuid::VELK_NAMESPACE, "another"};
    meetLink(700, other);
    meetValue(701, other);
    desk->leave(DEVICE_STATE);
    write(701, 7.0F);
    EXPECT_EQ(seconds(701, 2), "- 7 ");
}

TEST_F(LostLinkTest, TheFileKeepsTheGapAndTheValueIsTakenFromTheStoreAfterIt) {
    const velk::testing::TemporaryDirectory folder;
    const std::string file = folder / "history";
    start(file);
    write(VOLTAGE, 230.0F);
    at(1);
    say(DEVICE_STATE, LINK_LOST);
    at(2);
    desk->finish();
    at(3);
    desk.reset();
    start(file);
    EXPECT_EQ(seconds(VOLTAGE, 4), "230 - - - ");
    at(4);
    write(VOLTAGE, 231.0F);
    EXPECT_EQ(seconds(VOLTAGE, 5), "230 - - - 231 ");
    EXPECT_EQ(errors.str(), "");
}

TEST_F(LostLinkTest, WhatWasSuspendedIsForgottenWithTheStore) {
    start();
    write(VOLTAGE, 230.0F);
    at(1);
    say(DEVICE_STATE, LINK_LOST);
    at(2);
    desk->rest();
    meetAll();
    say(DEVICE_STATE, LINKED);
    EXPECT_EQ(seconds(VOLTAGE, 3), "230 - - ");
}

} // namespace
} // namespace velk::daemon
