#include "daemon/WriteJournal.h"

#include "testing/FakeTessAccessor.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

namespace velk::daemon {
namespace {

using velk::powerdistribution::DeviceWrite;
using velk::powerdistribution::Value;
using velk::testing::FakeTessAccessor;
using Json = nlohmann::ordered_json;

DeviceWrite writeOf(std::int32_t asked) {
    return {"Outlets.1", "Setting.AutomaticSwitchOffDelay", Value{asked}, true,
            "",          conv::UnixTime{1'700'000'000}};
}

class WriteJournalTest : public ::testing::Test {
protected:
    /// The journal's client of the store; the test keeps looking at it.
    std::unique_ptr<tessapi::ITessAccessor> open() {
        if (unreachable) {
            throw std::runtime_error{"disk full"};
        }
        auto made = std::make_unique<FakeTessAccessor>();
        if (!storedNotes.empty()) {
            const std::uint64_t device = made->emplaceDevice(WriteJournal::deviceUuid(), 1, 0);
            made->inbandAccessor().setChannelCValue(
                made->inbandAccessor().emplaceChannel(device, WriteJournal::WRITES, false),
                qz::CValue{storedNotes});
        }
        store = made.get();
        return made;
    }

    std::string text(const char* channel) {
        tessapi::InBandAccessor& inband = store->inbandAccessor();
        const std::uint64_t device = store->deviceIdOf(WriteJournal::deviceUuid());
        return inband.getChannelCValue(inband.getCatchedChannelId(device, channel)).as_string();
    }

    std::size_t writes() { return store->calls("setChannelCValue").size(); }

    FakeTessAccessor* store{nullptr};
    bool unreachable{false};
    std::string storedNotes;
    std::vector<tessapi::WriteRecord> records() { return store->browser().writeRecords(0, 1000); }

    std::ostringstream errors;
    WriteJournal journal{[this] { return open(); }, errors};
};

TEST_F(WriteJournalTest, OpeningMakesAChildOfTheRootWithItsChannelsAndNoNote) {
    journal.open();
    EXPECT_EQ(store->calls("emplaceDevice"),
              std::vector<std::string>{"emplaceDevice(" + WriteJournal::deviceUuid().toString() + ", 1, 0)"});
    EXPECT_EQ(store->inbandAccessor().getDeviceAttribute(store->deviceIdOf(WriteJournal::deviceUuid()),
                                                         tessapi::DeviceAttribute::path),
              "Daemon");
    EXPECT_EQ(store->calls("emplaceChannel").size(), 3U);
    EXPECT_EQ(writes(), 0U);
}

TEST_F(WriteJournalTest, ANoteTellsEverythingOfAWrite) {
    journal.open();
    journal.record(writeOf(30));
    const std::string note =
        R"({"sequence":1,"device":"Outlets.1","channel":"Setting.AutomaticSwitchOffDelay",)"
        R"("asked":"30","accepted":true,"error":null,"time":"2023-11-14T22:13:20.000Z","by":null})";
    EXPECT_EQ(text("Daemon.LastWrite"), note);
    EXPECT_EQ(text("Daemon.Writes"), "[" + note + "]");
}

TEST_F(WriteJournalTest, ARefusedWriteHasItsReason) {
    journal.record({"", "Action.StartTest", Value{true}, false, "not now", conv::UnixTime{0}});
    const Json note = Json::parse(text("Daemon.LastWrite"));
    EXPECT_EQ(note["device"], "");
    EXPECT_EQ(note["asked"], "true");
    EXPECT_EQ(note["accepted"], false);
    EXPECT_EQ(note["error"], "not now");
}

TEST_F(WriteJournalTest, TheArrayIsWrittenBeforeTheNewestNoteAlone) {
    journal.open();
    journal.record(writeOf(1));
    const std::vector<std::string> calls = store->calls("setChannelCValue");
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_NE(calls[0].find("[{"), std::string::npos);
    EXPECT_EQ(calls[1].find("[{"), std::string::npos);
}

TEST_F(WriteJournalTest, TheLast256NotesAreKeptOldestFirst) {
    for (int i = 1; i <= 300; ++i) {
        journal.record(writeOf(i));
    }
    const Json notes = Json::parse(text("Daemon.Writes"));
    ASSERT_EQ(notes.size(), 256U);
    EXPECT_EQ(notes.front()["sequence"], 45);
    EXPECT_EQ(notes.back()["sequence"], 300);
    EXPECT_EQ(notes.back()["asked"], "300");
}

TEST_F(WriteJournalTest, TheSequenceGoesOnWhereTheStoreEnds) {
    storedNotes = R"([{"sequence":41},{"nonsense":1},{"sequence":42}])";
    journal.open();
    journal.record(writeOf(1));
    const Json notes = Json::parse(text("Daemon.Writes"));
    ASSERT_EQ(notes.size(), 3U);
    EXPECT_EQ(notes[0]["sequence"], 41);
    EXPECT_EQ(notes[1]["sequence"], 42);
    EXPECT_EQ(notes[2]["sequence"], 43);
}

TEST_F(WriteJournalTest, NotesThatAreNoneDoNotMatter) {
    for (const char* text : {"not json", "{}", "7"}) {
        storedNotes = text;
        WriteJournal other{[this] { return open(); }, errors};
        other.record(writeOf(1));
        EXPECT_EQ(Json::parse(this->text("Daemon.Writes")).size(), 1U) << text;
    }
}

TEST_F(WriteJournalTest, NotesTakenWithoutAStoreAreWrittenWhenThereIsOne) {
    unreachable = true;
    journal.open();
    journal.record(writeOf(1));
    journal.record(writeOf(2));
    EXPECT_EQ(errors.str(),
              "powerdistributiond: writes to the device cannot be noted in the store: disk full; tess "
              "will not hear of outcomes until they can\n");
    unreachable = false;
    storedNotes = R"([{"sequence":10}])";
    journal.record(writeOf(3));
    const Json notes = Json::parse(text("Daemon.Writes"));
    ASSERT_EQ(notes.size(), 4U);
    EXPECT_EQ(notes[1]["sequence"], 11);
    EXPECT_EQ(notes[3]["sequence"], 13);
    EXPECT_EQ(Json::parse(text("Daemon.LastWrite"))["sequence"], 13);
}

TEST_F(WriteJournalTest, EveryNoteIsSaidOnceAloneEvenAfterTheStoreHasFailed) {
    journal.open();
    store->faults().failOn("setChannelCValue");
    journal.record(writeOf(1));
    journal.record(writeOf(2));
    store->faults().recover();
    store->forgetCalls();
    journal.record(writeOf(3));
    const std::vector<std::string> calls = store->calls("setChannelCValue");
    ASSERT_EQ(calls.size(), 4U);
    EXPECT_NE(calls[1].find("\"sequence\":1"), std::string::npos);
    EXPECT_NE(calls[2].find("\"sequence\":2"), std::string::npos);
    EXPECT_NE(calls[3].find("\"sequence\":3"), std::string::npos);
}

TEST_F(WriteJournalTest, AFailureIsReportedOnceUntilTheStoreHasWorkedAgain) {
    journal.open();
    const auto lines = [this] {
        const std::string text = errors.str();
        return std::count(text.begin(), text.end(), '\n');
    };
    store->faults().failOn("setChannelCValue");
    journal.record(writeOf(1));
    journal.record(writeOf(2));
    EXPECT_EQ(lines(), 1);
    store->faults().recover();
    journal.record(writeOf(3));
    store->faults().failOn("setChannelCValue");
    journal.record(writeOf(4));
    EXPECT_EQ(lines(), 2);
}

TEST_F(WriteJournalTest, MoreNotesThanAreKeptWithoutAStoreLoseTheOldest) {
    unreachable = true;
    for (int i = 1; i <= 260; ++i) {
        journal.record(writeOf(i));
    }
    unreachable = false;
    journal.record(writeOf(261));
    const Json notes = Json::parse(text("Daemon.Writes"));
    ASSERT_EQ(notes.size(), 256U);
    EXPECT_EQ(notes.front()["asked"], "6");
    EXPECT_EQ(notes.back()["asked"], "261");
}

TEST_F(WriteJournalTest, AWriteIsARecordOfTheStoreToo) {
    journal.record(writeOf(30));
    journal.record({"", "Action.StartTest", Value{true}, false, "not now", conv::UnixTime{1'700'000'001}});
    journal.record({"", "Action.StartTest", Value{true}, false, "", conv::UnixTime{1'700'000'002}});
    const std::vector<tessapi::WriteRecord> records = store->browser().writeRecords(0, 10);
    const tessapi::WriteRecord accepted{
        1, 1'700'000'000'000, "", "", "Outlets.1.Setting.AutomaticSwitchOffDelay", "30", ""};
    const tessapi::WriteRecord failed{2, 1'700'000'001'000, "", "", "Action.StartTest", "true", "not now"};
    const tessapi::WriteRecord refused{3, 1'700'000'002'000, "", "", "Action.StartTest", "true", "refused"};
    EXPECT_EQ(records, (std::vector<tessapi::WriteRecord>{accepted, failed, refused}));
}

TEST_F(WriteJournalTest, ARecordOfAWriteOfThisSecondHasItsMillisecond) {
    const Json note = {{"device", ""},
                       {"channel", "Action.StartTest"},
                       {"asked", "true"},
                       {"accepted", true},
                       {"by", nullptr}};
    EXPECT_EQ(recordOf(note, conv::UnixTime{7}, 7'999).timeMs, 7'999);
    EXPECT_EQ(recordOf(note, conv::UnixTime{7}, 8'000).timeMs, 7'000);
}

TEST_F(WriteJournalTest, RecordsThatTheStoreHasNotTakenFollowInOrder) {
    journal.open();
    store->faults().failOn("recordWrite");
    for (int i = 1; i <= 300; ++i) {
        journal.record(writeOf(i));
    }
    store->faults().recover();
    journal.record(writeOf(301));
    const std::vector<tessapi::WriteRecord> records = store->browser().writeRecords(0, 1000);
    ASSERT_EQ(records.size(), 256U);
    EXPECT_EQ(records.front().asked, "46");
    EXPECT_EQ(records.back().asked, "301");
    EXPECT_EQ(Json::parse(text("Daemon.LastWrite"))["asked"], "301");
}

TEST_F(WriteJournalTest, OutcomeIsSaidAlsoWhenTheStoreTakesNoRecord) {
    journal.open();
    store->faults().failOn("recordWrite");
    journal.record(writeOf(30));
    journal.record(writeOf(31));
    EXPECT_EQ(Json::parse(text("Daemon.LastWrite"))["asked"], "31");
    EXPECT_EQ(store->calls("setChannelCValue").size(), 4U) << "an array and a note of each";
    EXPECT_EQ(errors.str(),
              "powerdistributiond: writes to the device cannot be recorded in the store: fake store: "
              "recordWrite: Input/output error [generic:5]; tess events will not show them until they can\n");
}

TEST_F(WriteJournalTest, WhatTheStoreHasNotTakenIsOfferedByATickWithoutAnotherWrite) {
    journal.open();
    store->faults().failOn("recordWrite");
    store->faults().failOn("setChannelCValue");
    journal.record(writeOf(30));
    journal.tick();
    EXPECT_TRUE(records().empty());
    store->faults().recover();
    journal.tick();
    EXPECT_EQ(Json::parse(text("Daemon.LastWrite"))["asked"], "30");
    ASSERT_EQ(records().size(), 1U);
    store->forgetCalls();
    journal.tick();
    EXPECT_TRUE(store->calls().empty()) << "nothing is owed";
    EXPECT_EQ(records().size(), 1U);
}

TEST_F(WriteJournalTest, RecordsAloneThatTheStoreHasNotTakenAreOfferedByATick) {
    journal.open();
    store->faults().failOn("recordWrite");
    journal.record(writeOf(30));
    store->faults().recover();
    store->forgetCalls();
    journal.tick();
    EXPECT_EQ(records().size(), 1U);
    EXPECT_TRUE(store->calls("setChannelCValue").empty()) << "the outcome was said before";
}

TEST_F(WriteJournalTest, StoreThatCouldNotBeOpenedIsOpenedByATick) {
    unreachable = true;
    journal.open();
    unreachable = false;
    journal.tick();
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(store->calls("emplaceChannel").size(), 3U);
}

TEST_F(WriteJournalTest, RecordsThatTheStoreNeverGotAreToldOnceWithTheirNumber) {
    journal.open();
    store->faults().failOn("recordWrite");
    for (int i = 1; i <= 300; ++i) {
        journal.record(writeOf(i));
    }
    errors.str("");
    store->faults().recover();
    journal.tick();
    journal.tick();
    EXPECT_EQ(records().size(), 256U);
    EXPECT_EQ(errors.str(),
              "powerdistributiond: the store has no record of 44 writes to the device, which it "
              "did not take in time; tess events will not show them\n");
}

/// The end of a journal whose store, and what it says, outlive it.
class EndOfWriteJournalTest : public ::testing::Test {
protected:
    /// Hands everything on to a store that stays.
    class Client : public FakeTessAccessor {
    public:
        explicit Client(FakeTessAccessor& all) : store{all} {}
        velk::testing::FakeInBandAccessor& inbandAccessor() override { return store.inbandAccessor(); }
        velk::testing::FakeStoreBrowser& browser() override { return store.browser(); }
        std::uint64_t emplaceDevice(const velk::common::Uuid& uuid, std::uint64_t parent,
                                    std::uint64_t wanted) override {
            return store.emplaceDevice(uuid, parent, wanted);
        }

    private:
        FakeTessAccessor& store;
    };

    std::unique_ptr<WriteJournal> made() {
        return std::make_unique<WriteJournal>(
            [this]() -> std::unique_ptr<tessapi::ITessAccessor> {
                if (++openings; unreachable) {
                    throw std::runtime_error{"disk full"};
                }
                return std::make_unique<Client>(store);
            },
            errors);
    }

    FakeTessAccessor store;
    bool unreachable{false};
    int openings{0};
    std::ostringstream errors;
};

TEST_F(EndOfWriteJournalTest, WhatTheStoreHasNotTakenIsOfferedAtTheEnd) {
    std::unique_ptr<WriteJournal> journal = made();
    journal->open();
    store.faults().failOn("recordWrite");
    store.faults().failOn("setChannelCValue");
    journal->record(writeOf(30));
    store.faults().recover();
    errors.str("");
    journal.reset();
    EXPECT_EQ(store.browser().writeRecords(0, 10).size(), 1U);
    EXPECT_EQ(store.calls("setChannelCValue").size(), 3U) << "one failed, the array, the note";
    EXPECT_EQ(errors.str(), "");
}

TEST_F(EndOfWriteJournalTest, WhatTheStoreDoesNotTakeAtTheEndIsToldWithItsNumber) {
    std::unique_ptr<WriteJournal> journal = made();
    journal->open();
    store.faults().failOn("recordWrite");
    store.faults().failOn("setChannelCValue");
    journal->record(writeOf(30));
    errors.str("");
    EXPECT_NO_THROW(journal.reset());
    EXPECT_EQ(errors.str(),
              "powerdistributiond: the store has no record of 1 write to the device, which it did "
              "not take in time; tess events will not show it\n");
}

TEST_F(EndOfWriteJournalTest, StoreThatIsNotOpenIsNotTriedAtTheEnd) {
    std::unique_ptr<WriteJournal> journal = made();
    unreachable = true;
    journal->record(writeOf(30));
    EXPECT_EQ(openings, 1);
    journal.reset();
    EXPECT_EQ(openings, 1);
    EXPECT_NE(errors.str().find("no record of 1 write"), std::string::npos);
}

TEST(AskedTextTest, IsTheStoresOwnNotation) {
    EXPECT_EQ(askedText(Value{true}), "true");
    EXPECT_EQ(askedText(Value{std::int32_t{-1}}), "-1");
    EXPECT_EQ(askedText(Value{std::uint32_t{3}}), "3");
    EXPECT_EQ(askedText(Value{230.1F}), "230.1");
    EXPECT_EQ(askedText(Value{std::string{"abc"}}), "abc");
    std::ostringstream time;
    time << qz::CValue{qz::CTimestamp{1'700'000'000, ""}};
    EXPECT_EQ(askedText(Value{conv::UnixTime{1'700'000'000}}), time.str());
    EXPECT_EQ(askedText(Value{}), "empty");
}

} // namespace
} // namespace velk::daemon
