#include "plugins/nut/LinkError.h"
#include "plugins/nut/NutClient.h"
#include "plugins/nut/ServerError.h"
#include "tests/plugins/nut/NutLists.h"
#include "tests/plugins/nut/ScriptedServer.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <thread>

namespace velk::nut {
namespace {

using velk::common::Clock;
using velk::testing::configurationFor;
using velk::testing::nameList;
using velk::testing::ScriptedServer;
using velk::testing::variableList;
using namespace std::chrono_literals;

constexpr Clock::Duration PATIENCE = 10s;
constexpr Clock::Duration SHORT = 60ms;

/// A client of a server that says one thing to everything.
class Session {
public:
    explicit Session(ScriptedServer::Respond respond, Clock::Duration timeout = PATIENCE) :
        server{std::move(respond)},
        configuration{configurationFor(server.port())},
        client{configuration, interrupt, Clock::system(), timeout} {}

    ScriptedServer server;
    NutConfiguration configuration;
    Interrupt interrupt;
    NutClient client;
};

ScriptedServer::Respond always(const std::string& answer) {
    return [answer](const std::string& /*line*/) { return answer; };
}

TEST(NutClientTest, VariablesAreListed) {
    Session session{
        always(variableList({{"ups.load", "34"}, {"ups.model", "A \"b\" c"}, {"ups.status", ""}}))};
    const Variables expected{{"ups.load", "34"}, {"ups.model", "A \"b\" c"}, {"ups.status", ""}};
    EXPECT_EQ(session.client.listVariables(), expected);
    EXPECT_EQ(session.server.requests(), std::vector<std::string>{"LIST VAR u1"});
}

TEST(NutClientTest, LimitsFollowTheTypeOfAVariable) {
    const std::map<std::string, std::string> answers{
        {"GET TYPE u1 a", "TYPE u1 a RW STRING:16\n"},
        {"GET TYPE u1 b", "TYPE u1 b RW ENUM\n"},
        {"LIST ENUM u1 b",
         "BEGIN LIST ENUM u1 b\nENUM u1 b \"low\"\nENUM u1 b \"high\"\nEND LIST ENUM u1 b\n"},
        {"GET TYPE u1 c", "TYPE u1 c RW RANGE NUMBER\n"},
        {"LIST RANGE u1 c", "BEGIN LIST RANGE u1 c\nRANGE u1 c \"0\" \"600\"\nEND LIST RANGE u1 c\n"},
    };
    Session session{[&](const std::string& line) { return answers.at(line); }};
    EXPECT_EQ(session.client.limitsOf("a").maxLength, 16U);
    EXPECT_EQ(session.client.limitsOf("b").words, (std::vector<std::string>{"low", "high"}));
    const std::pair<std::string, std::string> range{"0", "600"};
    EXPECT_EQ(session.client.limitsOf("c").ranges, std::vector{range});
}

TEST(NutClientTest, NamePasswordAndTrackingAreSentAsTheProtocolWants) {
    Session session{[](const std::string& line) {
        return line.rfind("SET VAR", 0) == 0 ? "OK TRACKING 0815\n" : std::string{"OK\n"};
    }};
    session.client.login();
    EXPECT_TRUE(session.client.enableTracking());
    EXPECT_EQ(session.client.set("ups.id", "rack 3"), "0815");
    EXPECT_EQ(session.client.run("load.off.delay", "20"), "");
    const std::vector<std::string> expected{"USERNAME \"velk\"", "PASSWORD \"secret\"", "SET TRACKING ON",
                                            "SET VAR u1 ups.id \"rack 3\"",
                                            "INSTCMD u1 load.off.delay \"20\""};
    EXPECT_EQ(session.server.requests(), expected);
}

TEST(NutClientTest, OldServerHasNoTracking) {
    Session session{always("ERR UNKNOWN-COMMAND\n")};
    EXPECT_FALSE(session.client.enableTracking());
}

TEST(NutClientTest, TrackedChangeIsPendingDoneOrRefused) {
    const std::map<std::string, std::string> answers{
        {"GET TRACKING 1", "PENDING\n"}, {"GET TRACKING 2", "SUCCESS\n"}, {"GET TRACKING 3", "ERR FAILED\n"}};
    Session session{[&](const std::string& line) { return answers.at(line); }};
    EXPECT_EQ(session.client.outcome("1"), TrackedOutcome::Pending);
    EXPECT_EQ(session.client.outcome("2"), TrackedOutcome::Done);
    EXPECT_THROW(session.client.outcome("3"), ServerError);
}

TEST(NutClientTest, AnswerErrLeavesTheSessionUsable) {
    int asked = 0;
    Session session{[&](const std::string& /*line*/) {
        return ++asked == 1 ? "ERR DATA-STALE\n" : variableList({{"ups.load", "1"}});
    }};
    try {
        session.client.listVariables();
        FAIL() << "expected an error of the server";
    } catch (const ServerError& failure) {
        EXPECT_EQ(failure.code(), "DATA-STALE");
        EXPECT_STREQ(failure.what(), "ERR DATA-STALE");
    }
    EXPECT_EQ(session.client.listVariables().size(), 1U);
}

TEST(NutClientTest, LongListInManyPiecesIsWhole) {
    Variables variables;
    for (int number = 0; number < 5000; ++number) {
        variables["outlet." + std::to_string(number) + ".desc"] = std::string(80, 'x');
    }
    Session session{always(variableList(variables))};
    EXPECT_EQ(session.client.listVariables(), variables);
}

using Operation = std::function<void(NutClient&)>;

/// Every operation that waits for the server.
const std::map<std::string, Operation>& operations() {
    static const std::map<std::string, Operation> all{
        {"listVariables", [](NutClient& client) { client.listVariables(); }},
        {"listWritable", [](NutClient& client) { client.listWritable(); }},
        {"listCommands", [](NutClient& client) { client.listCommands(); }},
        {"limitsOf", [](NutClient& client) { client.limitsOf("x"); }},
        {"get", [](NutClient& client) { client.get("x"); }},
        {"login", [](NutClient& client) { client.login(); }},
        {"enableTracking", [](NutClient& client) { client.enableTracking(); }},
        {"set", [](NutClient& client) { client.set("x", "1"); }},
        {"run", [](NutClient& client) { client.run("load.off", ""); }},
        {"outcome", [](NutClient& client) { client.outcome("1"); }},
    };
    return all;
}

void expectLinkError(const std::string& answer, const std::string& reason) {
    for (const auto& [name, operation] : operations()) {
        Session session{always(answer), SHORT};
        try {
            operation(session.client);
            ADD_FAILURE() << name << " took " << answer;
        } catch (const LinkError& failure) {
            EXPECT_NE(std::string{failure.what()}.find(reason), std::string::npos)
                << name << ": " << failure.what();
        }
    }
}

TEST(NutClientTest, SilentServerEndsEveryOperationAtItsDeadline) {
    expectLinkError("", "did not answer in time");
}

TEST(NutClientTest, ServerThatStopsInTheMiddleOfALineEndsEveryOperation) {
    expectLinkError("BEG", "did not answer in time");
}

TEST(NutClientTest, ServerThatClosesEndsEveryOperation) {
    expectLinkError(std::string{ScriptedServer::CLOSE}, "");
    expectLinkError(std::string{"BEG"} + ScriptedServer::CLOSE, "");
}

TEST(NutClientTest, GarbageEndsEveryOperation) {
    expectLinkError("HTTP/1.1 400 Bad Request\n", "unexpected answer");
    expectLinkError("\n", "empty line");
    expectLinkError("\"\n", "does not end");
    expectLinkError(std::string(200000, 'x'), "does not end");
}

TEST(NutClientTest, ListThatStopsInTheMiddleEndsAtTheDeadline) {
    Session session{always("BEGIN LIST VAR u1\nVAR u1 ups.load \"34\"\n"), SHORT};
    EXPECT_THROW(session.client.listVariables(), LinkError);
}

TEST(NutClientTest, ListOfAnotherDeviceIsRefused) {
    Session session{always("BEGIN LIST VAR u1\nVAR u2 ups.load \"34\"\nEND LIST VAR u1\n")};
    EXPECT_THROW(session.client.listVariables(), LinkError);
}

TEST(NutClientTest, EndlessListIsRefused) {
    std::string list{"BEGIN LIST CMD u1\n"};
    for (std::size_t row = 0; row <= NutClient::MAX_ROWS; ++row) {
        list += "CMD u1 x\n";
    }
    Session session{always(list)};
    EXPECT_THROW(session.client.listCommands(), LinkError);
}

TEST(NutClientTest, ServerThatDribblesDoesNotOutlastTheDeadline) {
    // Each piece comes in time, the whole does not; the clock stands for the time that passes meanwhile.
    class HurriedClock final : public Clock {
    public:
        Duration now() const override { return time += 20ms; }
        Duration cpuTime() const override { return {}; }
        void sleepFor(Duration /*pause*/) override {}
        void waitFor(std::condition_variable_any& /*condition*/, velk::common::MutexLock& /*lock*/,
                     Duration /*timeout*/) override {}

    private:
        mutable Duration time{};
    };
    std::string rows;
    for (int row = 0; row < 18000; ++row) {
        rows += "VAR u1 outlet." + std::to_string(row) + ".desc \"" + std::string(200, 'x') + "\"\n";
    }
    ScriptedServer server{always("BEGIN LIST VAR u1\n" + rows)};
    const auto configuration = configurationFor(server.port());
    Interrupt interrupt;
    HurriedClock clock;
    NutClient client{configuration, interrupt, clock, 1s};
    EXPECT_THROW(client.listVariables(), LinkError);
}

TEST(NutClientTest, InterruptEndsAWaitAtOnce) {
    Session session{always("")};
    std::thread stopper{[&] { session.interrupt.raise(); }};
    try {
        session.client.listVariables();
        ADD_FAILURE() << "expected an end";
    } catch (const LinkError& failure) {
        EXPECT_STREQ(failure.what(), "stopped");
    }
    stopper.join();
}

TEST(NutClientTest, RefusedConnectionIsALinkError) {
    std::uint16_t port = 0;
    {
        const ScriptedServer server{always("")};
        port = server.port();
    }
    const auto configuration = configurationFor(port);
    Interrupt interrupt;
    EXPECT_THROW((NutClient{configuration, interrupt, Clock::system(), PATIENCE}), LinkError);
}

TEST(NutClientTest, LocalhostIsTheLoopbackAddress) {
    const ScriptedServer server{always("")};
    auto configuration = configurationFor(server.port());
    configuration.host = "localhost";
    Interrupt interrupt;
    EXPECT_NO_THROW((NutClient{configuration, interrupt, Clock::system(), PATIENCE}));
}

} // namespace
} // namespace velk::nut
