#include "cli/Communication.h"

#include "platform/common/ProcessMark.h"
#include "tests/cli/SnapshotBuilder.h"

#include <gtest/gtest.h>

namespace velk::cli {
namespace {

using test::SnapshotBuilder;

SnapshotBuilder withBank() {
    SnapshotBuilder builder;
    builder.device(1000, 20, "BackupSystem");
    builder.device(1001, 1000, "BackupSystem.PowerBank");
    builder.channel(20, "Status.Mode", qz::CValue{2U});
    builder.channel(1001, "Measure.Voltage", qz::CValue{27.0F});
    return builder;
}

TEST(CommunicationTest, ValuesAreFreshWhileTheDeviceIsConnected) {
    const StoreView view{withBank().build()};
    const Communication communication{view};
    EXPECT_TRUE(communication.device().good);
    EXPECT_EQ(communication.device().state, "connected");
    EXPECT_TRUE(communication.isFresh(view.require("Status.Mode")));
    EXPECT_TRUE(communication.isFresh(view.require("BackupSystem.PowerBank.Measure.Voltage")));
}

TEST(CommunicationTest, EveryValueOfALostDeviceIsOnlyTheLastKnown) {
    SnapshotBuilder builder = withBank();
    builder.change(20, "CommunicationStatus.State", qz::CValue{3U});
    const StoreView view{builder.build()};
    const Communication communication{view};
    EXPECT_FALSE(communication.isFresh(view.require("Status.Mode")));
    EXPECT_FALSE(communication.isFresh(view.require("BackupSystem.PowerBank.Measure.Voltage")));
    EXPECT_EQ(communication.of(view.require("Status.Mode")).state, "lost");
}

TEST(CommunicationTest, TheTimeOfTheLossIsWhatTheDeviceSays) {
    SnapshotBuilder builder = withBank();
    builder.change(20, "CommunicationStatus.State", qz::CValue{3U});
    const StoreView without{builder.build()};
    EXPECT_EQ(Communication{without}.device().sinceMs, SnapshotBuilder::CONNECTED_MS);
    builder.channel(20, "CommunicationStatus.Since", qz::CValue{qz::CTimestamp{1'699'990'000, ""}});
    const StoreView with{builder.build()};
    EXPECT_EQ(Communication{with}.device().sinceMs, 1'699'990'000'000);
}

TEST(CommunicationTest, WhileTheDaemonIsSilentEveryValueIsOnlyTheLastKnown) {
    SnapshotBuilder builder = withBank();
    builder.communication(1001, 2U);
    const StoreView view{builder.build()};
    const Communication communication{view, Communication::Daemon::silent};
    EXPECT_TRUE(communication.isDaemonSilent());
    EXPECT_FALSE(communication.isDaemonGone());
    EXPECT_FALSE(communication.isDaemonAtRest());
    EXPECT_FALSE(communication.device().good);
    EXPECT_EQ(communication.device().state, "not watched: the daemon does not answer; connected");
    EXPECT_EQ(communication.device().sinceMs, SnapshotBuilder::CONNECTED_MS);
    EXPECT_FALSE(communication.isFresh(view.require("Status.Mode")));
    EXPECT_FALSE(communication.isFresh(view.require("BackupSystem.PowerBank.Measure.Voltage")));
    EXPECT_FALSE(communication.isFresh(view.require("CommunicationStatus.State")))
        << "nobody would notice a loss";
}

TEST(CommunicationTest, LossThatASilentDaemonHasStillNoticedIsTold) {
    SnapshotBuilder builder = withBank();
    builder.change(20, "CommunicationStatus.State", qz::CValue{3U});
    const StoreView view{builder.build()};
    EXPECT_EQ((Communication{view, Communication::Daemon::silent}.device().state), "lost");
}

TEST(CommunicationTest, DaemonThatHasEndedIsNotSilent) {
    SnapshotBuilder builder = withBank();
    builder.daemonProcess(1002, "");
    const StoreView view{builder.build()};
    const Communication communication{view, Communication::Daemon::silent};
    EXPECT_FALSE(communication.isDaemonSilent());
    EXPECT_TRUE(communication.isDaemonAtRest());
    EXPECT_EQ(communication.device().state, "not watched: the daemon is not running; connected");
}

TEST(CommunicationTest, APartWithItsOwnStateCanBeLostAlone) {
    SnapshotBuilder builder = withBank();
    builder.communication(1001, 3U);
    const StoreView view{builder.build()};
    const Communication communication{view};
    EXPECT_TRUE(communication.isFresh(view.require("Status.Mode")));
    EXPECT_FALSE(communication.isFresh(view.require("BackupSystem.PowerBank.Measure.Voltage")));
}

TEST(CommunicationTest, AConnectedPartOfALostDeviceIsNotFresh) {
    SnapshotBuilder builder = withBank();
    builder.communication(1001, 2U);
    builder.change(20, "CommunicationStatus.State", qz::CValue{3U});
    const StoreView view{builder.build()};
    EXPECT_FALSE(Communication{view}.isFresh(view.require("BackupSystem.PowerBank.Measure.Voltage")));
}

TEST(CommunicationTest, AnUnknownStateIsNotGood) {
    for (const std::uint32_t state : {0U, 1U, 3U, 4U}) {
        SnapshotBuilder builder = withBank();
        builder.change(20, "CommunicationStatus.State", qz::CValue{state});
        const StoreView view{builder.build()};
        EXPECT_FALSE(Communication{view}.isFresh(view.require("Status.Mode"))) << state;
    }
    SnapshotBuilder empty = withBank();
    empty.change(20, "CommunicationStatus.State", qz::CValue{});
    const StoreView view{empty.build()};
    EXPECT_FALSE(Communication{view}.device().good);
    EXPECT_EQ(Communication{view}.device().state, "unknown");
}

TEST(CommunicationTest, WhatTheProgramsSayOfThemselvesIsAlwaysFresh) {
    SnapshotBuilder builder = withBank();
    builder.change(20, "CommunicationStatus.State", qz::CValue{3U});
    builder.channel(2, "Status.OperatingStatus", qz::CValue{16U});
    builder.channel(1, "x", qz::CValue{"aa:bb"}).name = "System.Ethernet.MacAddress";
    const StoreView view{builder.build()};
    const Communication communication{view};
    EXPECT_TRUE(communication.isFresh(view.require("PowerEquipment.Status.OperatingStatus")));
    EXPECT_TRUE(communication.isFresh(view.require("System.Ethernet.MacAddress")));
    EXPECT_TRUE(communication.isFresh(view.require("CommunicationStatus.State")));
}

TEST(CommunicationTest, ASettingAskedForWhileTheDeviceIsLostIsUnconfirmed) {
    SnapshotBuilder builder = withBank();
    builder.change(20, "CommunicationStatus.State", qz::CValue{3U});
    builder.channel(20, "Setting.AutomaticSwitchOnDelay", qz::CValue{30}).changedMs =
        SnapshotBuilder::CONNECTED_MS + 1;
    builder.channel(20, "Setting.AutomaticSwitchOffDelay", qz::CValue{30}).changedMs =
        SnapshotBuilder::CONNECTED_MS - 1;
    const StoreView view{builder.build()};
    const Communication communication{view};
    EXPECT_TRUE(communication.isUnconfirmed(view.require("Setting.AutomaticSwitchOnDelay")));
    EXPECT_FALSE(communication.isUnconfirmed(view.require("Setting.AutomaticSwitchOffDelay")));
    EXPECT_FALSE(communication.isUnconfirmed(view.require("Status.Mode")));
}

TEST(CommunicationTest, NothingIsFreshWhenTheDaemonHasEnded) {
    SnapshotBuilder builder = withBank();
    builder.device(1002, 1, "Daemon");
    builder.daemonProcess(1002, "");
    const StoreView resting{builder.build()};
    EXPECT_FALSE(Communication{resting}.isFresh(resting.require("Status.Mode")));
    EXPECT_EQ(Communication{resting}.device().state, "not watched: the daemon is not running; connected");

    builder.daemonProcess(1002, "pid=1 start=999999999999 boot=of-another-day space=pid:[1]");
    const StoreView killed{builder.build()};
    EXPECT_FALSE(Communication{killed}.isFresh(killed.require("Status.Mode")));

    builder.daemonProcess(1002, velk::common::ProcessMark::ofThisProcess());
    const StoreView working{builder.build()};
    EXPECT_TRUE(Communication{working}.isFresh(working.require("Status.Mode")));
}

constexpr const char* OF_ANOTHER_DAY = "pid=1 start=999999999999 boot=of-another-day space=pid:[1]";

TEST(CommunicationTest, TheStateThatAKilledDaemonLeftIsOnlyTheLastKnown) {
    SnapshotBuilder builder = withBank();
    builder.device(1002, 1, "Daemon");
    for (const char* mark : {"", OF_ANOTHER_DAY}) {
        builder.daemonProcess(1002, mark);
        const StoreView ended{builder.build()};
        EXPECT_FALSE(Communication{ended}.isFresh(ended.require("CommunicationStatus.State"))) << mark;
    }
    builder.daemonProcess(1002, velk::common::ProcessMark::ofThisProcess());
    const StoreView working{builder.build()};
    EXPECT_TRUE(Communication{working}.isFresh(working.require("CommunicationStatus.State")));
}

TEST(CommunicationTest, OnlyASettingAskedForAfterTheDaemonHasEndedIsUnconfirmed) {
    SnapshotBuilder builder = withBank();
    builder.device(1002, 1, "Daemon");
    builder.daemonProcess(1002, "");
    builder.channel(20, "Setting.AutomaticSwitchOnDelay", qz::CValue{30}).changedMs =
        SnapshotBuilder::ENDED_MS - 1;
    builder.channel(20, "Setting.AutomaticSwitchOffDelay", qz::CValue{30}).changedMs =
        SnapshotBuilder::ENDED_MS + 1;
    const StoreView view{builder.build()};
    EXPECT_FALSE(Communication{view}.isUnconfirmed(view.require("Setting.AutomaticSwitchOnDelay")));
    EXPECT_TRUE(Communication{view}.isUnconfirmed(view.require("Setting.AutomaticSwitchOffDelay")));
}

TEST(CommunicationTest, NothingIsUnconfirmedWhenNobodyKnowsWhenTheDaemonEnded) {
    SnapshotBuilder builder = withBank();
    builder.device(1002, 1, "Daemon");
    builder.daemonProcess(1002, OF_ANOTHER_DAY);
    builder.channel(20, "Setting.AutomaticSwitchOnDelay", qz::CValue{30}).changedMs = SnapshotBuilder::NOW_MS;
    const StoreView view{builder.build()};
    EXPECT_FALSE(Communication{view}.isFresh(view.require("Setting.AutomaticSwitchOnDelay")));
    EXPECT_FALSE(Communication{view}.isUnconfirmed(view.require("Setting.AutomaticSwitchOnDelay")));
}

} // namespace
} // namespace velk::cli
