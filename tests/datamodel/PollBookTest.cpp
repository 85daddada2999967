#include "powerdistribution/datamodel/PollBook.h"

#include "RecordingHandler.h"
#include "testing/FakeClock.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

namespace {

using namespace velk::powerdistribution;
using datamodel::PollBook;
using std::chrono::milliseconds;
using std::chrono::seconds;

/// Throws what is no exception of the standard library.
class WildHandler : public handlers::BaseHandler {
public:
    using BaseHandler::BaseHandler;
    void refresh() override { throw 5; }
};

class PollBookTest : public ::testing::Test {
protected:
    std::shared_ptr<velk::testing::RecordingHandler> make() {
        return std::make_shared<velk::testing::RecordingHandler>(
            EPath{ECircuit::Inputs, 1U, EMeasurement::Voltage}, log);
    }

    PollBook::Note note() const { return book.noteOf(*handler).value(); }

    velk::testing::FakeClock clock;
    std::shared_ptr<velk::testing::CallLog> log = std::make_shared<velk::testing::CallLog>();
    PollBook book{clock};
    std::shared_ptr<velk::testing::RecordingHandler> handler = make();
    PollBook::Entry& entry = book.add(handler, 4);
};

TEST_F(PollBookTest, PollRefreshesTheHandlerAndIsCounted) {
    book.poll(entry);
    EXPECT_EQ(log->calls(), std::vector<std::string>{"refresh Inputs.1.Measure.Voltage"});
    EXPECT_EQ(note().reads, 1U);
    EXPECT_EQ(note().rank, 4U);
}

TEST_F(PollBookTest, HandlerThatWasNeverPolledHasNoTimes) {
    EXPECT_EQ(note().reads, 0U);
    EXPECT_EQ(note().sinceRead, std::nullopt);
    EXPECT_EQ(note().period, std::nullopt);
    EXPECT_EQ(note().failure, "");
    EXPECT_EQ(note().sinceFailure, std::nullopt);
}

TEST_F(PollBookTest, HandlerThatIsNotInTheBookHasNoNote) {
    EXPECT_FALSE(book.noteOf(*make()).has_value());
}

TEST_F(PollBookTest, EmptyHandleIsPolledForNothing) {
    PollBook::Entry& empty = book.add(nullptr, 0);
    EXPECT_NO_THROW(book.poll(empty));
    EXPECT_TRUE(log->calls().empty());
}

TEST_F(PollBookTest, TimeSinceTheLastPollCountsFromIt) {
    book.poll(entry);
    clock.advance(seconds{3});
    EXPECT_EQ(note().sinceRead, seconds{3});
    EXPECT_EQ(note().period, std::nullopt);
    book.poll(entry);
    EXPECT_EQ(note().sinceRead, seconds{0});
}

TEST_F(PollBookTest, PeriodBeginsWithTheFirstIntervalAndFollowsLaterOnesByAnEighth) {
    book.poll(entry);
    clock.advance(milliseconds{800});
    book.poll(entry);
    EXPECT_EQ(note().period, milliseconds{800});
    clock.advance(milliseconds{1600});
    book.poll(entry);
    EXPECT_EQ(note().period, milliseconds{900});
    clock.advance(milliseconds{100});
    book.poll(entry);
    EXPECT_EQ(note().period, milliseconds{800});
}

TEST_F(PollBookTest, FailedPollIsNotedWithItsTextAndPasses) {
    handler->throwOn("refresh", "no answer");
    EXPECT_THROW(book.poll(entry), std::runtime_error);
    clock.advance(seconds{2});
    EXPECT_EQ(note().failure, "no answer");
    EXPECT_EQ(note().sinceFailure, seconds{2});
    EXPECT_EQ(note().reads, 1U);
}

TEST_F(PollBookTest, LastFailureStaysAfterAPollThatWentWell) {
    handler->throwOn("refresh", "no answer");
    EXPECT_THROW(book.poll(entry), std::runtime_error);
    handler->throwOn("refresh", "");
    clock.advance(seconds{5});
    book.poll(entry);
    EXPECT_EQ(note().failure, "no answer");
    EXPECT_EQ(note().sinceFailure, seconds{5});
    EXPECT_EQ(note().sinceRead, seconds{0});
}

TEST_F(PollBookTest, WhatIsNoStandardExceptionIsNotedToo) {
    const auto wild = std::make_shared<WildHandler>(EPath{EStatus::Mode});
    PollBook::Entry& wildEntry = book.add(wild, 0);
    EXPECT_THROW(book.poll(wildEntry), int);
    EXPECT_EQ(book.noteOf(*wild)->failure, "an exception that is none of the standard library");
}

TEST_F(PollBookTest, ReadingOfAllBySomebodyElseCountsAsTheLastOne) {
    book.noteAllRead();
    clock.advance(seconds{1});
    EXPECT_EQ(note().sinceRead, seconds{1});
    EXPECT_EQ(note().reads, 0U);
}

TEST_F(PollBookTest, EntryThatWasAddedLastCounts) {
    book.add(handler, 60);
    EXPECT_EQ(note().rank, 60U);
}

} // namespace
