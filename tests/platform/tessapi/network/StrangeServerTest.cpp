#include "platform/tessapi/ITessAccessor.h"
#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/StoreError.h"
#include "platform/tessapi/network/Courier.h"
#include "platform/tessapi/network/Packer.h"
#include "platform/tessapi/network/SiteCodec.h"
#include "testing/FakeClock.h"
#include "testing/ScriptedServer.h"
#include "tests/platform/tessapi/network/NetworkClient.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tessapi::network {
namespace {

using qz::CValue;
using velk::testing::FakeClock;
using velk::testing::ScriptedServer;

constexpr std::chrono::milliseconds PATIENCE{400};
constexpr std::uint64_t CHANNEL = 1000;

std::string bulk(const std::string& text) {
    return "$" + std::to_string(text.size()) + "\r\n" + text + "\r\n";
}

/// A server that knows a site as far as a program greets it, and answers everything else as the test says.
class StrangeServerTest : public ::testing::Test {
protected:
    StrangeServerTest() { ::testing::internal::CaptureStderr(); }
    ~StrangeServerTest() override {
        if (!isSaid) {
            said();
        }
    }

    /// What the programs have said on the standard error; to be asked once.
    std::string said() {
        isSaid = true;
        return ::testing::internal::GetCapturedStderr();
    }

    /// Of a function its name without the version, of other commands their word.
    void answerTo(const std::string& call, const std::string& reply) {
        const std::lock_guard lock{mutex};
        replies[call] = reply;
    }

    int timesOf(const std::string& call) {
        const std::lock_guard lock{mutex};
        return asked[call];
    }

    std::shared_ptr<Engine> open(std::chrono::milliseconds patience = PATIENCE) {
        Engine::Options options;
        options.longestWait = patience;
        return Engine::open(StoreUrl{url}, true, options);
    }

    /// An engine that knows of a channel what it takes.
    std::shared_ptr<Engine> openWithChannel() {
        auto engine = open();
        answerTo("emplace_channels", "*2\r\n$4\r\n1000\r\n:8\r\n");
        EXPECT_EQ(engine->emplaceChannel(ITessAccessor::ROOT_DEVICE, "Text"), CHANNEL);
        return engine;
    }

    std::string answer(const ScriptedServer::Words& words) {
        auto call = words.at(0);
        if (call == "FCALL" || call == "FCALL_RO") {
            call = words.at(1).substr(words.at(1).find('_') + 1);
        }
        const std::lock_guard lock{mutex};
        ++asked[call];
        if (const auto known = replies.find(call); known != replies.end()) {
            return known->second;
        }
        if (call == "CLIENT") {
            return "+OK\r\n";
        }
        constexpr std::size_t CATALOGUE = 3 + 15 + 5; // behind the keys
        return call == "hello"
                   ? "*6\r\n+ok\r\n" + bulk("a site") + ":0\r\n" + bulk(words.at(CATALOGUE)) + ":0\r\n:0\r\n"
                   : rest;
    }

    std::mutex mutex;
    std::map<std::string, std::string> replies;
    std::string rest{":1\r\n"};
    std::map<std::string, int> asked; ///< how often, by what `answerTo` takes
    ScriptedServer server{[this](const auto& words) { return answer(words); }};
    const std::string url{"redis://" + server.address() + "/strange"};

private:
    bool isSaid{false};
};

TEST_F(StrangeServerTest, WhateverItAnswersIsAValueOrAFailureOfTheStore) {
    const auto engine = open();
    const std::vector<std::pair<const char*, std::function<void()>>> calls{
        {"deviceIdOf", [&] { engine->deviceIdOf(velk::common::Uuid::VELK_NAMESPACE); }},
        {"uuidOf", [&] { engine->uuidOf(1); }},
        {"emplaceDevice", [&] { engine->emplaceDevice(velk::common::Uuid::VELK_NAMESPACE, 1, 0); }},
        {"removeSubDevices", [&] { engine->removeSubDevices(1, {}, 1); }},
        {"device", [&] { engine->device(1); }},
        {"attribute", [&] { engine->attribute(1, 7); }},
        {"setAttribute", [&] { engine->setAttribute(1, 7, "text"); }},
        {"findChannel", [&] { engine->findChannel(1, "Text"); }},
        {"emplaceChannels",
         [&] {
             engine->emplaceChannels(1, {"Text", "Other"});
         }},
        {"removeChannels", [&] { engine->removeChannels(1, {}); }},
        {"typeOf", [&] { engine->typeOf(CHANNEL); }},
        {"valueOf", [&] { engine->valueOf(CHANNEL); }},
        {"setValue", [&] { engine->setValue(CHANNEL, CValue{"text"}); }},
        {"setAlarmConfig", [&] { engine->setAlarmConfig(CHANNEL, {}); }},
        {"mostCriticalOf", [&] { engine->mostCriticalOf(1); }},
        {"snapshot", [&] { engine->snapshot(); }},
        {"image", [&] { engine->image(); }},
        {"alarmEvents", [&] { engine->alarmEvents(0, 10); }},
        {"writeRecords", [&] { engine->writeRecords(0, 10); }},
        {"fill", [&] { engine->fill({}); }},
        {"health", [&] { engine->health(); }},
        {"startOf", [&] { engine->startOf({CHANNEL}); }},
        {"newsAfter", [&] { engine->newsAfter(5); }},
    };
    for (const auto* reply :
         {"$-1\r\n", "+word\r\n", ":-7\r\n", "$3\r\na\rb\r\n", "*0\r\n", "*1\r\n:1\r\n", "*1\r\n$-1\r\n",
          "*3\r\n+a\r\n+b\r\n+c\r\n", "*3\r\n:1\r\n:2\r\n:3\r\n", "*2\r\n*1\r\n:1\r\n*0\r\n",
          "*2\r\n+unknown\r\n:7\r\n", "*4\r\n+type\r\n:1000\r\n:8\r\n+Text\r\n", "*2\r\n+behind\r\n:0\r\n",
          "-ERR what\r\n"}) {
        {
            const std::lock_guard lock{mutex};
            rest = reply;
        }
        for (const auto& [name, call] : calls) {
            try {
                call();
            } catch (const boost::system::system_error& failure) {
                EXPECT_NE(std::string{failure.what()}.find(url), std::string::npos) << failure.what();
            } catch (const std::exception& failure) {
                ADD_FAILURE() << name << " after " << reply << ": " << failure.what();
            }
        }
    }
}

TEST_F(StrangeServerTest, NothingIsReadFromAServerThatHasAnotherStoreUnderTheName) {
    const auto engine = open();
    answerTo("hello", "*2\r\n+format\r\n+99\r\n");
    answerTo("HGET", ""); // the connection breaks
    EXPECT_THROW(engine->attribute(1, 7), boost::system::system_error);
    answerTo("HGET", bulk("of the other store"));
    EXPECT_THROW(engine->attribute(1, 7), boost::system::system_error);
}

TEST_F(StrangeServerTest, ValueIsKeptWhileTheNodesOfAClusterSendEachOtherTheSite) {
    const auto engine = openWithChannel();
    answerTo("set", "-MOVED 5 " + server.address() + "\r\n");
    EXPECT_NO_THROW(engine->setValue(CHANNEL, CValue{"text"}));
    EXPECT_EQ(engine->waiting().writes, 1U);
    answerTo("set", ":1\r\n");
    while (engine->waiting().writes != 0) {
        std::this_thread::yield();
    }
}

TEST_F(StrangeServerTest, ListenerThatIsToldNonsenseSaysSoOnceAndGoesOn) {
    answerTo("start", "*3\r\n:0\r\n*1\r\n$-1\r\n*0\r\n");
    {
        const std::lock_guard lock{mutex};
        rest = "+word\r\n"; // also instead of the changes
    }
    {
        const auto engine = open(NetworkClient::PATIENT);
        Dispatcher dispatcher{"listener", engine};
        InBandClient client{*engine, dispatcher};
        const Recorder<CValue> heard;
        client.subscribeMultipleChannels(
            {CHANNEL}, [heard](auto, const auto& value) { heard.add(value); }, qz::sub::everyWrite, nullptr);
        while (timesOf("XRANGE") < 6) { // looks for changes
            engine->wakeup().signal();
            std::this_thread::yield();
        }
        const auto change = SiteCodec::packChange({0, Change::Kind::value, CHANNEL, CValue{"text"}, 0});
        const auto mark = Packer{}.number(std::uint64_t{7}).number(std::uint64_t{1}).take();
        answerTo("XRANGE",
                 "*1\r\n*2\r\n" + bulk("1-0") + "*4\r\n" + bulk("c") + bulk(change) + bulk("m") + bulk(mark));
        EXPECT_EQ(heard.waitFor(1), std::vector<CValue>{CValue{"text"}});
    }
    const auto text = said();
    EXPECT_EQ(countOf("WARNING", text), 1U) << text;
    EXPECT_NE(text.find("listener: store " + url + ": an answer that no server of a store gives"),
              std::string::npos)
        << text;
}

TEST_F(StrangeServerTest, FunctionsThatAreNotFoundAlthoughTheyWereLoadedAreARefusal) {
    const auto engine = open(NetworkClient::PATIENT);
    answerTo("worst_of", "-ERR Function not found\r\n");
    try {
        engine->mostCriticalOf(ITessAccessor::ROOT_DEVICE);
        ADD_FAILURE() << "it gave an alarm";
    } catch (const boost::system::system_error& failure) {
        EXPECT_EQ(failure.code().value(), static_cast<int>(StoreFault::refused)) << failure.what();
    }
    EXPECT_EQ(timesOf("FUNCTION"), 1);
    EXPECT_EQ(timesOf("worst_of"), 2);
}

TEST_F(StrangeServerTest, WhatAServerHadLostAndDoesNotTakeAgainIsToldAtTheEnd) {
    auto engine = openWithChannel();
    engine->setValue(CHANNEL, CValue{"text"});
    answerTo("set", "-OOM command not allowed\r\n");
    answerTo("HGET", "");
    EXPECT_THROW(engine->attribute(1, 7),
                 boost::system::system_error); // it is greeted anew and knows nothing
    engine.reset();
    const auto text = said();
    EXPECT_NE(text.find("cannot be reached: OOM command not allowed; values are kept"), std::string::npos)
        << text;
    EXPECT_NE(text.find("this program ends, and 1 values that it kept are lost"), std::string::npos) << text;
}

/// A server that takes a write, is away for two minutes, and has lost it then.
class LongOutageTest : public StrangeServerTest {
protected:
    LongOutageTest() {
        memory.learnType(CHANNEL, qz::datatype::string);
        memory.learnName(CHANNEL, RESULT);
        link.open(true, "");
    }

    std::string answerWhileThere(const ScriptedServer::Words& words) {
        if (isAway) {
            return "";
        }
        for (const auto* text : {"first", "second"}) {
            if (words.at(1).find("_set") != std::string::npos &&
                words.back().find(text) != std::string::npos) {
                taken.add(text);
            }
        }
        return answer(words);
    }

    void awaitReturn() {
        clock.awaitBlocked(1);
        isAway = false;
        clock.advance(std::chrono::minutes{2});
    }

    FakeClock clock{FakeClock::Passing::ByHand};
    ChannelMemory memory;
    std::atomic<bool> isAway{false};
    const Recorder<std::string> taken;
    ScriptedServer there{[this](const auto& words) { return answerWhileThere(words); }};
    RedisLink link{NetworkUrl{"redis://" + there.address() + "/strange"}, NetworkClient::PATIENT};
    ValueSender sender{link, 1000, 1000};
    Courier courier{link, sender, memory, clock};
};

TEST_F(LongOutageTest, WhatWasAnsweredJustBeforeItComesAgainBeforeWhatWasKept) {
    courier.send({{CHANNEL, CValue{"first"}}});
    isAway = true;
    courier.send({{CHANNEL, CValue{"second"}}});
    awaitReturn();
    EXPECT_EQ(taken.waitFor(3), (std::vector<std::string>{"first", "first", "second"}));
}

TEST_F(LongOutageTest, SoItDoesWhenOnlyAListenerMissesTheServer) {
    courier.send({{CHANNEL, CValue{"first"}}});
    isAway = true;
    EXPECT_THROW(link.call({"HGET"}), LinkError);
    courier.missServer("away");
    awaitReturn();
    EXPECT_EQ(taken.waitFor(2), (std::vector<std::string>{"first", "first"}));
}

TEST_F(StrangeServerTest, ProgramThatEndsWaitsForASlowServerForSomeSecondsOnly) {
    FakeClock clock{FakeClock::Passing::ByHand};
    ChannelMemory memory;
    memory.learnType(CHANNEL, qz::datatype::string);
    memory.learnName(CHANNEL, "Daemon.Writes");
    std::atomic<bool> isEnding{false};
    std::atomic<int> taken{0};
    const ScriptedServer slow{[&](const ScriptedServer::Words& words) -> std::string {
        if (words.at(1).find("_set") == std::string::npos) {
            return answer(words);
        }
        if (!isEnding) {
            return "-OOM command not allowed\r\n";
        }
        ++taken;
        clock.advance(std::chrono::seconds{1});
        return ":1\r\n";
    }};
    RedisLink link{NetworkUrl{"redis://" + slow.address() + "/strange"}, PATIENCE};
    ValueSender sender{link, 1000, 1000};
    {
        Courier courier{link, sender, memory, clock};
        link.open(true, "");
        for (std::size_t i = 0; i < 20 * Outbox::BATCH; ++i) {
            courier.send({{CHANNEL, CValue{std::to_string(i)}}});
        }
        clock.awaitBlocked(1);
        isEnding = true;
    }
    EXPECT_GE(taken, 5);
    EXPECT_LE(taken, 7);
    EXPECT_NE(said().find("this program ends, and 1"), std::string::npos);
}

} // namespace
} // namespace tessapi::network
