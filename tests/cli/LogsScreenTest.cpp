#include "cli/LogsCommand.h"
#include "tests/cli/SampleDevices.h"
#include "tests/cli/TestSession.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace velk::cli {
namespace {

using test::MemoryDevice;
using Json = nlohmann::ordered_json;

std::string entry(std::uint64_t sequence, std::uint32_t id) {
    return R"({"sequence":)" + std::to_string(sequence) + R"(,"id":)" + std::to_string(id) +
           R"(,"time":1700000000,"severity":2,"code":120,"status":1,"mode":3,"reason":7,"data":99})";
}

std::string logOf(const std::string& entries, const std::string& error = "null") {
    return R"({"device":")" + MemoryDevice::uuid("device").toString() + R"(","error":)" + error +
           R"(,"errorTime":1699999000,"entries":[)" + entries + "]}";
}

constexpr const char* HEAD =
    "TIME                       ID  SEVERITY   CODE  STATUS   MODE  REASON        DATA\n";

std::string line(const std::string& id) {
    return "2023-11-14 22:13:20  " + std::string(8 - id.size(), ' ') + id +
           "         2    120       1      3       7          99\n";
}

class LogsScreenTest : public ::testing::Test {
protected:
    LogsScreenTest() : device{::testing::UnitTest::GetInstance()->current_test_info()->name()} {}

    ExitCode logs() {
        test.err.str("");
        test.out.str("");
        return runLogs(test.session, options);
    }

    std::string out() const { return test.out.str(); }
    std::string err() const { return test.err.str(); }

    MemoryDevice device;
    test::TestSession test{*device.store};
    LogsOptions options;
};

TEST_F(LogsScreenTest, ShowsTheEventsNewestLast) {
    device.log(logOf(entry(1, 40) + "," + entry(2, 41)));
    EXPECT_EQ(logs(), ExitCode::Done);
    EXPECT_EQ(out(), HEAD + line("40") + line("41"));
    EXPECT_EQ(err(), "");
}

TEST_F(LogsScreenTest, ShowsOnlyTheNewestOnDemand) {
    device.log(logOf(entry(1, 40) + "," + entry(2, 41) + "," + entry(3, 42)));
    options.newest = 2;
    logs();
    EXPECT_EQ(out(), HEAD + line("41") + line("42"));
    options.newest = 9;
    logs();
    EXPECT_EQ(out(), HEAD + line("40") + line("41") + line("42"));
}

TEST_F(LogsScreenTest, TellsWhereTheDevicesNumbersBeginAgain) {
    device.log(logOf(entry(1, 65535) + "," + entry(2, 1)));
    EXPECT_EQ(logs(), ExitCode::Done);
    EXPECT_EQ(out(), HEAD + line("65535") + line("1"));
    EXPECT_EQ(err(), "tess: the device's numbers begin again at 1 after 65535\n");
}

TEST_F(LogsScreenTest, AnEmptyLogIsNoFailure) {
    device.log(logOf(""));
    EXPECT_EQ(logs(), ExitCode::Done);
    EXPECT_EQ(out(), "");
    EXPECT_EQ(err(), "tess: the device's event log is empty\n");
}

TEST_F(LogsScreenTest, WithoutALogThereIsNothingByThatName) {
    EXPECT_EQ(logs(), ExitCode::NoSuchPath);
    EXPECT_EQ(err(), "tess: no event log: the device keeps none, or no daemon has read it yet\n");
}

TEST_F(LogsScreenTest, TheLogOfAnotherDeviceIsNotShown) {
    device.log(
        R"({"device":"00000000-0000-4000-8000-00000000a001","error":null,"errorTime":null,"entries":[)" +
        entry(1, 40) + "]}");
    EXPECT_EQ(logs(), ExitCode::NoSuchPath);
    EXPECT_EQ(out(), "");
    EXPECT_EQ(err(), "tess: no event log of this device: the store has that of "
                     "00000000-0000-4000-8000-00000000a001\n");
}

TEST_F(LogsScreenTest, WhileTheDeviceIsLostItShowsWhatThereIsAndSaysSo) {
    device.log(logOf(entry(1, 40)));
    device.connect(3);
    EXPECT_EQ(logs(), ExitCode::NotConnected);
    EXPECT_EQ(out(), HEAD + line("40"));
    EXPECT_EQ(err(), "tess: newer events may be missing: lost since 2023-11-14 21:13:20\n");
}

TEST_F(LogsScreenTest, ALogThatTheDeviceGaveAsGarbageIsAFailureThatSaysSinceWhen) {
    device.log(logOf(entry(1, 40), R"("the device gave a float in place of a piece of its log\u001b")"));
    EXPECT_EQ(logs(), ExitCode::Failed);
    EXPECT_EQ(out(), HEAD + line("40"));
    EXPECT_EQ(err(), "tess: the device's log could not be read since 2023-11-14 21:56:40: the device gave a "
                     "float in place of a piece of its log?\n");
}

TEST_F(LogsScreenTest, GarbageInTheStoreIsAFailure) {
    for (const char* garbage : {"not json", "[]", "7", R"({"device":7})"}) {
        device.log(garbage);
        EXPECT_EQ(logs(), ExitCode::Failed) << garbage;
        EXPECT_EQ(out(), "");
        EXPECT_TRUE(err().starts_with("tess: the log in the store makes no sense: ")) << err();
    }
    device.log(logOf(entry(1, 40) + R"(,{"sequence":"x"},)" + entry(3, 42)));
    EXPECT_EQ(logs(), ExitCode::Failed);
    EXPECT_EQ(out(), HEAD + line("40") + line("42"));
    EXPECT_EQ(err(), "tess: 1 entries of the log in the store make no sense\n");
}

TEST_F(LogsScreenTest, ForProgramsItIsOneDocument) {
    test.session.json = true;
    device.log(logOf(entry(1, 40) + "," + entry(2, 41)));
    options.newest = 1;
    EXPECT_EQ(logs(), ExitCode::Done);
    const Json document = Json::parse(out());
    EXPECT_EQ(
        document.dump(),
        R"({"entries":[{"sequence":2,"id":41,"time":"2023-11-14T22:13:20.000Z","severity":2,"code":120,)"
        R"("status":1,"mode":3,"reason":7,"data":99}],"error":null,"fresh":true})");
    device.connect(3);
    EXPECT_EQ(logs(), ExitCode::NotConnected);
    EXPECT_EQ(Json::parse(out())["fresh"], false);
    EXPECT_EQ(Json::parse(out())["error"], "newer events may be missing: lost since 2023-11-14 21:13:20");
}

TEST_F(LogsScreenTest, FollowingEndsAfterTheTimeAskedForWithoutFailure) {
    device.log(logOf(entry(1, 40)));
    device.connect(3);
    options.follow = true;
    options.seconds = 0.001;
    EXPECT_EQ(logs(), ExitCode::Done);
    EXPECT_EQ(out(), HEAD + line("40"));
    EXPECT_EQ(err(), "tess: newer events may be missing: lost since 2023-11-14 21:13:20\n"
                     "tess: following the device's log; Ctrl-C ends it\n");
}

} // namespace
} // namespace velk::cli
