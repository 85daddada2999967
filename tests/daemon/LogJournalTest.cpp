#include "daemon/LogJournal.h"

#include "daemon/WriteJournal.h"
#include "testing/FakeTessAccessor.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

namespace velk::daemon {
namespace {

using velk::common::Uuid;
using velk::powerdistribution::DeviceLogPiece;
using velk::powerdistribution::InternalLogChunk;
using velk::testing::FakeTessAccessor;
using Json = nlohmann::ordered_json;
using Entry = LogJournal::Entry;

const Uuid ONE{"00000000-0000-4000-8000-00000000a001"};
const Uuid OTHER{"00000000-0000-4000-8000-00000000a002"};

Entry entry(std::uint32_t id, std::uint32_t seconds) {
    Entry made;
    made.id = id;
    made.date = conv::UnixTime{seconds};
    made.code = 120;
    made.status = 1;
    made.mode = 3;
    made.reason = 7;
    made.data = 99;
    made.severity = -2;
    return made;
}

DeviceLogPiece piece(const std::vector<Entry>& entries) {
    return {InternalLogChunk{entries.begin(), entries.end()}, ""};
}

/// The entries `first` to `last`, a second apart.
DeviceLogPiece range(std::uint32_t first, std::uint32_t last) {
    std::vector<Entry> entries;
    for (std::uint32_t id = first; id <= last; ++id) {
        entries.push_back(entry(id, 1000 + id));
    }
    return piece(entries);
}

class LogJournalTest : public ::testing::Test {
protected:
    std::unique_ptr<tessapi::ITessAccessor> open() {
        if (unreachable) {
            throw std::runtime_error{"disk full"};
        }
        auto made = std::make_unique<FakeTessAccessor>();
        made->addDevice(20, uuid, 1);
        if (!stored.empty()) {
            const std::uint64_t device = made->emplaceDevice(WriteJournal::deviceUuid(), 1, 0);
            made->inbandAccessor().setChannelCValue(
                made->inbandAccessor().emplaceChannel(device, LogJournal::CHANNEL, false),
                qz::CValue{stored});
            made->forgetCalls();
        }
        store = made.get();
        return made;
    }

    std::string text() {
        tessapi::InBandAccessor& inband = store->inbandAccessor();
        const std::uint64_t device = store->deviceIdOf(WriteJournal::deviceUuid());
        return inband.getChannelCValue(inband.getCatchedChannelId(device, LogJournal::CHANNEL)).as_string();
    }

    std::vector<std::uint32_t> ids() {
        std::vector<std::uint32_t> numbers;
        const Json noted = Json::parse(text());
        for (const Json& note : noted["entries"]) {
            numbers.push_back(note["id"].get<std::uint32_t>());
        }
        return numbers;
    }

    std::uint64_t firstSequence() { return Json::parse(text())["entries"][0]["sequence"]; }
    std::size_t writes() { return store->calls("setChannelCValue").size(); }

    using Ids = std::vector<std::uint32_t>;

    FakeTessAccessor* store{nullptr};
    Uuid uuid{ONE};
    bool unreachable{false};
    std::string stored;
    std::ostringstream errors;
    LogJournal journal{[this] { return open(); }, errors};
};

TEST_F(LogJournalTest, NotesWhoseLogItIsAndEverythingOfAnEntry) {
    journal.record(piece({entry(40, 1'700'000'000)}));
    EXPECT_EQ(text(), R"({"device":"00000000-0000-4000-8000-00000000a001","error":null,"errorTime":null,)"
                      R"("first":{"sequence":1,"id":40,"time":1700000000,"severity":-2,"code":120,)"
                      R"("status":1,"mode":3,"reason":7,"data":99},)"
                      R"("entries":[{"sequence":1,"id":40,"time":1700000000,"severity":-2,"code":120,)"
                      R"("status":1,"mode":3,"reason":7,"data":99}]})");
}

TEST_F(LogJournalTest, ALogWithoutEntriesIsNotedOnce) {
    journal.record({});
    journal.record({});
    EXPECT_EQ(Json::parse(text())["entries"].size(), 0U);
    EXPECT_EQ(writes(), 1U);
}

TEST_F(LogJournalTest, KeepsTheLast256Entries) {
    journal.record(range(1, 300));
    ASSERT_EQ(ids().size(), 256U);
    EXPECT_EQ(ids().front(), 45U);
    EXPECT_EQ(ids().back(), 300U);
    EXPECT_EQ(firstSequence(), 45U);
}

TEST_F(LogJournalTest, ALogThatIsReadAgainFromItsBeginningIsNotNotedTwice) {
    journal.record(range(1, 300));
    journal.record(range(1, 299));
    journal.record(range(300, 301));
    EXPECT_EQ(writes(), 2U);
    EXPECT_EQ(ids().back(), 301U);
    EXPECT_EQ(firstSequence(), 46U);
}

TEST_F(LogJournalTest, EntriesAfterTheNumbersHaveWrappedFollowTheOthers) {
    journal.record(range(1, 300));
    journal.record(piece({entry(1, 5000), entry(2, 5001)}));
    EXPECT_EQ(ids().back(), 2U);
    EXPECT_EQ(firstSequence(), 47U);
}

TEST_F(LogJournalTest, ADeviceWhoseClockAndNumbersBeginAnewIsHeardAtOnce) {
    journal.record(range(1, 300));
    stored = text();
    LogJournal next{[this] { return open(); }, errors};
    next.record(piece({entry(1, 500), entry(2, 501)}));
    EXPECT_EQ(ids().back(), 2U);
    EXPECT_EQ(firstSequence(), 47U);
    next.record(piece({entry(1, 500), entry(2, 501), entry(3, 502)}));
    EXPECT_EQ(ids().back(), 3U);
    EXPECT_EQ(firstSequence(), 48U);
}

TEST_F(LogJournalTest, NumbersThatBeganAnewAreKnownWhenTheyAreReadAgain) {
    journal.record(range(1, 300));
    journal.record(piece({entry(1, 500)}));
    journal.record(range(2, 400));
    const std::uint64_t sequence = firstSequence();
    journal.record(piece({entry(1, 500)}));
    journal.record(range(2, 400));
    EXPECT_EQ(firstSequence(), sequence);
    EXPECT_EQ(writes(), 3U);
}

TEST_F(LogJournalTest, ANumberThatComesWithAnotherEntryBeginsTheNumbersAnew) {
    journal.record(range(1, 300));
    journal.record(piece({entry(50, 900), entry(51, 901)}));
    EXPECT_EQ(ids().back(), 51U);
    EXPECT_EQ(firstSequence(), 47U);
    EXPECT_EQ(Json::parse(text())["first"]["time"], 900);
}

TEST_F(LogJournalTest, ALogThatIsReadInPiecesAfterARestartIsNotNotedTwice) {
    journal.record(range(1, 300));
    stored = text();
    LogJournal next{[this] { return open(); }, errors};
    for (std::uint32_t id = 1; id < 300; id += 20) {
        next.record(range(id, id + 19));
    }
    EXPECT_EQ(writes(), 0U);
    EXPECT_EQ(text(), stored);
}

TEST_F(LogJournalTest, WithAnotherDeviceTheEntriesBeginAnewAndTheSequenceGoesOn) {
    journal.record(range(1, 3));
    store->addDevice(20, OTHER, 1);
    journal.record(range(9, 9));
    EXPECT_EQ(Json::parse(text())["device"], OTHER.toString());
    EXPECT_EQ(ids(), Ids{9});
    EXPECT_EQ(firstSequence(), 4U);
}

TEST_F(LogJournalTest, GoesOnWhereTheStoreEnds) {
    journal.record(range(1, 3));
    stored = text();
    LogJournal next{[this] { return open(); }, errors};
    next.record(range(1, 4));
    EXPECT_EQ(ids(), (Ids{1, 2, 3, 4}));
    EXPECT_EQ(Json::parse(text())["entries"][3]["sequence"], 4);
}

TEST_F(LogJournalTest, WhatTheStoreHasOfAnotherDeviceIsDropped) {
    journal.record(range(1, 3));
    stored = text();
    uuid = OTHER;
    LogJournal next{[this] { return open(); }, errors};
    next.record({});
    EXPECT_EQ(ids(), Ids{});
    EXPECT_EQ(Json::parse(text())["device"], OTHER.toString());
}

TEST_F(LogJournalTest, AStoredTextThatIsNoLogDoesNotMatter) {
    for (const char* nonsense :
         {"not json", "[]", "7", R"({"entries":[{"sequence":1}]})", R"({"entries":[]})"}) {
        stored = nonsense;
        LogJournal next{[this] { return open(); }, errors};
        next.record(range(1, 1));
        EXPECT_EQ(ids(), Ids{1}) << nonsense;
    }
    EXPECT_EQ(errors.str(), "");
}

TEST_F(LogJournalTest, WhyTheLogCannotBeReadIsNotedUntilItCan) {
    journal.record({{}, "out of paper"});
    journal.record({{}, "out of paper"});
    Json noted = Json::parse(text());
    EXPECT_EQ(noted["error"], "out of paper");
    EXPECT_GT(noted["errorTime"].get<std::uint32_t>(), 1'600'000'000U);
    EXPECT_EQ(writes(), 1U);
    journal.record({});
    noted = Json::parse(text());
    EXPECT_TRUE(noted["error"].is_null());
    EXPECT_TRUE(noted["errorTime"].is_null());
}

TEST_F(LogJournalTest, WhyAnEarlierDaemonCouldNotReadTheLogIsTakenBack) {
    journal.record({{}, "out of paper"});
    stored = text();
    LogJournal next{[this] { return open(); }, errors};
    next.record({});
    EXPECT_TRUE(Json::parse(text())["error"].is_null());
}

TEST_F(LogJournalTest, EntriesThatCameWithoutAStoreFollowThoseThatItHas) {
    journal.record(range(1, 2));
    stored = text();
    unreachable = true;
    LogJournal next{[this] { return open(); }, errors};
    next.record(range(3, 3));
    next.record(range(4, 4));
    EXPECT_EQ(errors.str(), "powerdistributiond: the device's log cannot be noted in the store: disk full; "
                            "tess will not show all of it until it can\n");
    unreachable = false;
    next.record(range(5, 5));
    EXPECT_EQ(ids(), (Ids{1, 2, 3, 4, 5}));
    EXPECT_EQ(firstSequence(), 1U);
    EXPECT_EQ(Json::parse(text())["entries"][4]["sequence"], 5);
}

TEST_F(LogJournalTest, AWriteThatTheStoreRefusedIsMadeUpForAndReportedOnce) {
    journal.record(range(1, 1));
    store->faults().failOn("setChannelCValue");
    journal.record(range(2, 2));
    journal.record(range(3, 3));
    const std::string text = errors.str();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1);
    store->faults().recover();
    journal.record({});
    EXPECT_EQ(ids(), (Ids{1, 2, 3}));
}

} // namespace
} // namespace velk::daemon
