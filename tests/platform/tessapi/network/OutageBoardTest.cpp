#include "platform/tessapi/network/OutageBoard.h"

#include <gtest/gtest.h>

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

    OutageBoard board;

private:
    bool isSaid{false};
};

TEST_F(OutageBoardTest, OneLineBeginsAndOneEndsTheOutageOfAllParts) {
    board.begin(STORE, "Connection refused");
    board.begin(STORE, "Connection reset by peer");
    board.begin(STORE, "Connection refused");
    board.end(STORE, 12);
    board.end(STORE, 0);
    board.end(STORE, 400);
    EXPECT_EQ(said(), HEAD + "cannot be reached: Connection refused; values are kept until it is back\n" +
                          HEAD + "is back; 412 values kept meanwhile were written\n");
}

TEST_F(OutageBoardTest, EveryOutageIsTold) {
    for (int i = 0; i < 2; ++i) {
        board.begin(STORE, "Connection refused");
        board.end(STORE, 1);
    }
    const std::string once = HEAD +
                             "cannot be reached: Connection refused; values are kept until it is back\n" +
                             HEAD + "is back; 1 values kept meanwhile were written\n";
    EXPECT_EQ(said(), once + once);
}

TEST_F(OutageBoardTest, StoresAreToldApart) {
    board.begin(STORE, "Connection refused");
    board.begin("redis://store.example/paris", "Connection refused");
    EXPECT_NE(said().find("/paris: cannot be reached"), std::string::npos);
}

TEST_F(OutageBoardTest, WritesThatAreGivenUpAreToldOnceAndCountedAtTheEnd) {
    board.begin(STORE, "no route");
    for (int i = 0; i < 50; ++i) {
        board.giveUp(STORE, 2);
    }
    board.end(STORE, 10'000);
    EXPECT_EQ(said(), HEAD + "cannot be reached: no route; values are kept until it is back\n" + HEAD +
                          "too many writes are kept; from now on the oldest are given up\n" + HEAD +
                          "is back; 10000 values kept meanwhile were written, 100 were given up\n");
}

TEST_F(OutageBoardTest, ProgramThatEndsTellsOnceWhatIsLost) {
    board.begin(STORE, "no route");
    board.begin(STORE, "no route");
    board.leave(STORE, 3);
    board.leave(STORE, 4);
    EXPECT_EQ(said(), HEAD + "cannot be reached: no route; values are kept until it is back\n" + HEAD +
                          "this program ends, and 7 values that it kept are lost\n");
}

TEST_F(OutageBoardTest, StoreThatIsLostIsToldOnceUntilItIsOpenedAnew) {
    board.lose(STORE, 0, false);
    board.lose(STORE, 0, false);
    board.open(STORE);
    board.lose(STORE, 0, false);
    const std::string once =
        HEAD + "the server has lost the store or has another one of its name; it has to be opened anew\n";
    EXPECT_EQ(said(), once + once);
}

TEST_F(OutageBoardTest, ValuesThatGoWithALostStoreAreCounted) {
    board.begin(STORE, "no route");
    board.lose(STORE, 39, true);
    board.begin(STORE, "no route");
    EXPECT_EQ(said(),
              HEAD + "cannot be reached: no route; values are kept until it is back\n" + HEAD +
                  "the server has lost the store or has another one of its name; 39 values kept are lost; "
                  "it has to be opened anew\n" +
                  HEAD + "cannot be reached: no route; values are kept until it is back\n");
}

} // namespace
} // namespace tessapi::network
