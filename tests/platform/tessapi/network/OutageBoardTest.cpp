#include "platform/tessapi/network/OutageBoard.h"

#include "testing/FakeClock.h"
#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>

namespace tessapi::network {
namespace {

const std::string STORE{"redis://store.example/berlin"};
const std::string HEAD{"WARNING - store " + STORE + ": "};

/// What is said of one store of which several parts of a program miss the server.
class OutageBoardTest : public ::testing::Test {
protected:
    OutageBoardTest() { ::testing::internal::CaptureStderr(); }
    ~OutageBoardTest() override {
        if (!isSaid) {
            said();
        }
    }

    std::string said() {
        isSaid = true;
        return ::testing::internal::GetCapturedStderr();
    }

    /// What the file of the board says; a store without a name when there is none.
    StoreOutage noted() const {
        StoreOutages found;
        OutageNote::look(folder.path(), found);
        EXPECT_LE(found.outages.size(), 1U);
        EXPECT_TRUE(found.refused.empty());
        return found.outages.empty() ? StoreOutage{} : found.outages.front();
    }

    velk::testing::TemporaryDirectory folder;
    velk::testing::FakeClock clock;
    LossBoard losses;
    OutageBoard board{folder.path(), losses, clock};
    // Parts are told apart by their addresses.
    const int one{1};
    const int two{2};
    const int three{3};

private:
    bool isSaid{false};
};

TEST_F(OutageBoardTest, OneLineBeginsAndOneEndsTheOutageOfAllParts) {
    board.begin(STORE, &one, "Connection refused");
    board.begin(STORE, &two, "Connection reset by peer");
    board.begin(STORE, &three, "Connection refused");
    board.end(STORE, &two, 12);
    board.end(STORE, &one, 0);
    board.end(STORE, &three, 400);
    EXPECT_EQ(said(), HEAD + "cannot be reached: Connection refused; values are kept until it is back\n" +
                          HEAD + "is back; 412 values kept meanwhile were written\n");
}

TEST_F(OutageBoardTest, EveryOutageIsTold) {
    for (int i = 0; i < 2; ++i) {
        board.begin(STORE, &one, "Connection refused");
        board.end(STORE, &one, 1);
    }
    const std::string once = HEAD +
                             "cannot be reached: Connection refused; values are kept until it is back\n" +
                             HEAD + "is back; 1 values kept meanwhile were written\n";
    EXPECT_EQ(said(), once + once);
}

TEST_F(OutageBoardTest, StoresAreToldApart) {
    board.begin(STORE, &one, "Connection refused");
    board.begin("redis://store.example/paris", &one, "Connection refused");
    EXPECT_NE(said().find("/paris: cannot be reached"), std::string::npos);
}

TEST_F(OutageBoardTest, WritesThatAreGivenUpAreToldOnceAndCountedAtTheEnd) {
    board.begin(STORE, &one, "no route");
    for (int i = 0; i < 50; ++i) {
        board.giveUp(STORE, 2);
    }
    board.end(STORE, &one, 10'000);
    EXPECT_EQ(said(), HEAD + "cannot be reached: no route; values are kept until it is back\n" + HEAD +
                          "too many writes are kept; from now on the oldest are given up\n" + HEAD +
                          "is back; 10000 values kept meanwhile were written, 100 were given up\n");
}

TEST_F(OutageBoardTest, ProgramThatEndsTellsOnceWhatIsLost) {
    board.begin(STORE, &one, "no route");
    board.begin(STORE, &two, "no route");
    board.leave(STORE, &one, 3);
    board.leave(STORE, &two, 4);
    EXPECT_EQ(said(), HEAD + "cannot be reached: no route; values are kept until it is back\n" + HEAD +
                          "this program ends, and 7 values that it kept are lost\n");
}

TEST_F(OutageBoardTest, StoreThatIsLostIsToldOnceUntilItIsThereAgain) {
    board.lose(STORE, &one, 0);
    board.lose(STORE, &two, 0);
    losses.find(STORE);
    board.lose(STORE, &one, 0);
    const std::string once =
        HEAD + "the server has lost the store or has another one of its name; it has to be opened anew\n";
    EXPECT_EQ(said(), once + once);
}

TEST_F(OutageBoardTest, ValuesThatGoWithALostStoreAreCounted) {
    board.begin(STORE, &one, "no route");
    board.lose(STORE, &one, 39);
    board.lose(STORE, &two, 2);
    board.begin(STORE, &one, "no route");
    EXPECT_EQ(said(),
              HEAD + "cannot be reached: no route; values are kept until it is back\n" + HEAD +
                  "the server has lost the store or has another one of its name; 39 values kept are lost; "
                  "it has to be opened anew\n" +
                  HEAD + "2 more values kept are lost\n" + HEAD +
                  "cannot be reached: no route; values are kept until it is back\n");
}

TEST_F(OutageBoardTest, WhatAllPartsKeepIsNotedTogether) {
    board.begin(STORE + "?password-file=/x", &one, "no route");
    board.begin(STORE + "?password-file=/x", &two, "no route");
    EXPECT_EQ(noted().store, "") << "no file is written by a part that may not wait for one";
    board.keep(STORE + "?password-file=/x", &one, {12, 5, 10'000});
    clock.advance(OutageBoard::NOTE_PAUSE);
    board.giveUp(STORE + "?password-file=/x", 3);
    board.keep(STORE + "?password-file=/x", &two, {400, 7, 10'000});
    const auto found = noted();
    EXPECT_EQ(found.store, STORE);
    EXPECT_EQ(found.values, 412U);
    EXPECT_EQ(found.channels, 12U);
    EXPECT_EQ(found.most, 10'000U);
    EXPECT_EQ(found.givenUp, 3U);
    EXPECT_GT(found.sinceMs, 0);
    EXPECT_GE(found.saidMs, found.sinceMs);
}

TEST_F(OutageBoardTest, NoteIsWrittenAtMostOnceASecond) {
    board.begin(STORE, &one, "no route");
    board.keep(STORE, &one, {1, 1, 10'000});
    clock.advance(OutageBoard::NOTE_PAUSE - std::chrono::nanoseconds{1});
    board.keep(STORE, &one, {2, 1, 10'000});
    EXPECT_EQ(noted().values, 1U);
    clock.advance(std::chrono::nanoseconds{1});
    board.keep(STORE, &one, {3, 1, 10'000});
    EXPECT_EQ(noted().values, 3U);
}

TEST_F(OutageBoardTest, NoteGoesWhenTheLastPartHasTheServerAgainEndsOrHasLostTheStore) {
    const auto begin = [this] {
        board.begin(STORE, &one, "no route");
        board.begin(STORE, &two, "no route");
        board.keep(STORE, &one, {1, 1, 10'000});
    };
    begin();
    board.end(STORE, &one, 1);
    EXPECT_EQ(noted().store, STORE) << "the other one still misses it";
    board.end(STORE, &two, 0);
    EXPECT_EQ(noted().store, "");
    begin();
    board.leave(STORE, &one, 1);
    board.leave(STORE, &two, 0);
    EXPECT_EQ(noted().store, "");
    begin();
    board.lose(STORE, &one, 1);
    board.lose(STORE, &two, 0);
    EXPECT_EQ(noted().store, "");
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(OutageBoardTest, PartThatHasNotMissedTheServerHasNothingNoted) {
    board.keep(STORE, &one, {1, 1, 10'000});
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(OutageBoardTest, LossThatSomebodyHasClaimedIsLeftToHimTogetherWithTheValues) {
    losses.claim();
    board.lose(STORE, &one, 39);
    board.lose(STORE, &two, 2);
    losses.lose(STORE, StoreFault::disappeared, 0);
    EXPECT_EQ(losses.takeValues(), 41U);
    EXPECT_EQ(losses.takeValues(), 0U);
    board.lose(STORE, &one, 5);
    losses.release();
    EXPECT_EQ(said(), HEAD + "5 more values kept are lost\n") << "nobody has taken these";
}

TEST_F(OutageBoardTest, LossIsAnnouncedByWhoHasClaimedItUntilHeReleasesIt) {
    losses.announce();
    EXPECT_FALSE(losses.isAnnounced()) << "nobody has claimed it";
    losses.claim();
    EXPECT_FALSE(losses.isAnnounced());
    losses.announce();
    EXPECT_TRUE(losses.isAnnounced());
    losses.release();
    EXPECT_FALSE(losses.isAnnounced());
}

TEST_F(OutageBoardTest, FileThatWasRemovedIsToldOnceUntilItIsThereAgain) {
    const std::string file{"sqlite:/x/tess.db"};
    losses.lose(file, StoreFault::disappeared, 0);
    losses.lose(file, StoreFault::disappeared, 0);
    EXPECT_EQ(said(), "WARNING - store " + file +
                          ": the store's file was removed or replaced; it has to be opened anew\n");
}

} // namespace
} // namespace tessapi::network
