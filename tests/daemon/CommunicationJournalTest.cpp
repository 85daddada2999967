#include "daemon/CommunicationJournal.h"

#include "cli/CommunicationNote.h"
#include "daemon/WriteJournal.h"
#include "platform/tessapi/InBandAccessor.h"
#include "testing/FakeTessAccessor.h"

#include <gtest/gtest.h>

#include <sstream>

namespace velk::daemon {
namespace {

using cli::CommunicationNote;

class CommunicationJournalTest : public ::testing::Test {
protected:
    static constexpr std::uint64_t DEVICE_STATE = 500;
    static constexpr std::uint64_t BANK_STATE = 501;

    /// The channel as the store shows it.
    static tessapi::ChannelRecord state(std::uint64_t id, std::uint32_t value, std::int64_t changedMs) {
        tessapi::ChannelRecord channel;
        channel.id = id;
        channel.name = CommunicationJournal::STATE;
        channel.value = qz::CValue{value};
        channel.initialized = true;
        channel.changedMs = changedMs;
        return channel;
    }

    static qz::CDevice device(std::uint64_t id, const std::string& place) {
        qz::CDevice made;
        made.id = id;
        made.attributes.at(static_cast<std::size_t>(tessapi::DeviceAttribute::path)) = place;
        return made;
    }

    /// As the feed does; `change` and the like come after it.
    void begin(CommunicationJournal& journal, std::uint32_t deviceState = 2) {
        journal.begin(store);
        journal.meet(device(20, "PowerDistribution"), state(DEVICE_STATE, deviceState, 1000), true);
        journal.meet(device(30, "BackupSystem.PowerBank"), state(BANK_STATE, 2, 2000), true);
    }

    /// "time device state" of what stands in the store.
    std::vector<std::string> notes() {
        tessapi::InBandAccessor& inband = store.inbandAccessor();
        const std::uint64_t own = store.deviceIdOf(WriteJournal::deviceUuid());
        const qz::CValue stored =
            inband.getChannelCValue(inband.getCatchedChannelId(own, CommunicationNote::CHANNEL));
        std::vector<std::string> texts;
        for (const CommunicationNote& note : CommunicationNote::parseAll(stored.as_string())) {
            texts.push_back(std::to_string(note.timeMs) + " " + note.device + " " + note.state);
        }
        return texts;
    }

    velk::testing::FakeTessAccessor store;
    std::ostringstream errors;
    CommunicationJournal journal{errors};
};

TEST_F(CommunicationJournalTest, LinksThatComeAndGoAreNotedWithTheirTimes) {
    begin(journal);
    journal.take({DEVICE_STATE, qz::CValue{3U}, 5000});
    journal.take({DEVICE_STATE, qz::CValue{3U}, 6000});
    journal.take({BANK_STATE, qz::CValue{4U}, 7000});
    journal.take({DEVICE_STATE, qz::CValue{2U}, 8000});
    journal.take({999, qz::CValue{3U}, 9000});
    EXPECT_EQ(notes(), (std::vector<std::string>{"1000  connected", "2000 BackupSystem.PowerBank connected",
                                                 "5000  lost", "7000 BackupSystem.PowerBank unknown",
                                                 "8000  connected"}));
    EXPECT_EQ(errors.str(), "");
}

TEST_F(CommunicationJournalTest, AnotherDaemonGoesOnAndNotesWhatHasChangedMeanwhile) {
    begin(journal);
    CommunicationJournal next{errors};
    next.begin(store);
    next.meet(device(20, "PowerDistribution"), state(DEVICE_STATE, 3, 4000), true);
    next.meet(device(30, "BackupSystem.PowerBank"), state(BANK_STATE, 2, 4500), true);
    EXPECT_EQ(notes(), (std::vector<std::string>{"1000  connected", "2000 BackupSystem.PowerBank connected",
                                                 "4000  lost"}));
}

TEST_F(CommunicationJournalTest, WhatIsLetGoAtTheEndOfTheDaemonIsStoppedAndNotLost) {
    begin(journal);
    journal.expectEnd();
    journal.take({DEVICE_STATE, qz::CValue{3U}, 5000});
    CommunicationJournal next{errors};
    next.begin(store);
    next.meet(device(20, "PowerDistribution"), state(DEVICE_STATE, 3, 5000), true);
    next.take({DEVICE_STATE, qz::CValue{2U}, 8000});
    next.take({DEVICE_STATE, qz::CValue{3U}, 9000});
    EXPECT_EQ(notes(), (std::vector<std::string>{"1000  connected", "2000 BackupSystem.PowerBank connected",
                                                 "5000  stopped", "8000  connected", "9000  lost"}));
}

TEST_F(CommunicationJournalTest, AChannelThatIsNewIsNotedWithItsFirstWrite) {
    journal.begin(store);
    journal.meet(device(20, ""), state(DEVICE_STATE, 2, 1000), false);
    journal.take({DEVICE_STATE, qz::CValue{2U}, 1500});
    EXPECT_EQ(notes(), std::vector<std::string>{"1500  connected"});
}

TEST_F(CommunicationJournalTest, TheLast256AreKept) {
    begin(journal);
    for (int i = 0; i < 300; ++i) {
        journal.take({DEVICE_STATE, qz::CValue{i % 2 == 0 ? 3U : 2U}, 10'000 + i});
    }
    const std::vector<std::string> kept = notes();
    ASSERT_EQ(kept.size(), 256U);
    EXPECT_EQ(kept.front(), "10044  lost");
    EXPECT_EQ(kept.back(), "10299  connected");
}

TEST_F(CommunicationJournalTest, AStoreThatFailsIsToldLaterAndTheFailureOnce) {
    begin(journal);
    store.faults().failOn("setChannelCValue");
    journal.take({DEVICE_STATE, qz::CValue{3U}, 5000});
    journal.take({DEVICE_STATE, qz::CValue{2U}, 6000});
    store.faults().recover();
    journal.tick();
    EXPECT_EQ(notes().back(), "6000  connected");
    EXPECT_EQ(notes().size(), 4U);
    const std::string told = errors.str();
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1);
    EXPECT_EQ(told.rfind("powerdistributiond: a link that came or went cannot be noted in the store: ", 0),
              0U);
}

TEST_F(CommunicationJournalTest, NotesThatAreNoneDoNotMatter) {
    const std::uint64_t own = WriteJournal::emplaceDaemonDevice(store);
    store.inbandAccessor().setChannelCValue(
        store.inbandAccessor().emplaceChannel(own, CommunicationJournal::CHANNEL, false),
        qz::CValue{R"([1,{}])"});
    begin(journal);
    EXPECT_EQ(notes().size(), 2U);
}

} // namespace
} // namespace velk::daemon
