#include "platform/tessapi/engine/StoreError.h"
#include "platform/tessapi/network/FunctionLibrary.h"
#include "testing/RedisServer.h"
#include "testing/StandardError.h"
#include "tests/platform/tessapi/network/NetworkClient.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <thread>

namespace tessapi::network {
namespace {

using std::chrono::steady_clock;
using velk::testing::RedisServer;

/// A store on a real server that crashes, hangs, refuses and comes back, with one program that writes and one
/// that listens.
class OutageTest : public ::testing::Test {
protected:
    /// For what shows only when it is tried again some times.
    static void waitForTries() { std::this_thread::sleep_for(std::chrono::milliseconds{800}); }

    /// Writes both channels, `count` times.
    void writeBoth(int count) {
        for (int i = 1; i <= count; ++i) {
            writer.set(measure, static_cast<float>(i));
            writer.set(result, std::to_string(i));
        }
    }

    static void await(const Recorder<qz::CValue>& recorder, qz::CValue value) {
        const auto all = recorder.waitForItem(value);
        ASSERT_TRUE(!all.empty() && all.back() == value) << all.size() << " values came";
    }

    const velk::testing::StandardError errors; ///< what both programs say
    RedisServer server{{.appendOnly = true}};
    const std::string url{"redis://" + server.address() + "/berlin"};
    NetworkClient writer{url};
    NetworkClient listener{url};
    const std::uint64_t measure{writer.channel(MEASURE)};
    const std::uint64_t result{writer.channel(RESULT)};
};

TEST_F(OutageTest, ServerThatWasStartedAnewWithItsDataIsUsedOnWithoutAWord) {
    const auto results = listener.watch(result);
    writer.set(result, std::string{"1"});
    await(results, qz::CValue{std::string{"1"}});
    const auto begin = steady_clock::now();
    server.stop();
    server.start();
    writer.set(result, std::string{"2"});
    writer.set(result, std::string{"3"});
    await(results, qz::CValue{std::string{"3"}});
    EXPECT_TRUE(areNumbersUpTo(3, results.all()));
    // A machine may be too slow for this; a listener tells what has been away for a second.
    const bool isShort = steady_clock::now() - begin < std::chrono::milliseconds{900};
    EXPECT_LE(countOf("values are kept", errors.text()), isShort ? 0U : 1U) << errors.text();
}

TEST_F(OutageTest, AfterAnOutageTheNewestMeasureAndEveryResultArriveInOrderAndItIsSaidOnce) {
    const auto measures = listener.watch(measure);
    const auto results = listener.watch(result);
    server.stop();
    writeBoth(50);
    waitForTries();
    server.start();
    await(results, qz::CValue{std::string{"50"}});
    EXPECT_TRUE(areNumbersUpTo(50, results.all()));
    await(measures, qz::CValue{50.0F});
    // The first may have been on its way when the server went.
    EXPECT_LE(measures.all().size(), 2U);
    writer.set(result, std::string{"51"});
    await(results, qz::CValue{std::string{"51"}});
    const std::string text = errors.await("is back;");
    EXPECT_EQ(countOf("values are kept", text), 1U) << text;
    EXPECT_EQ(countOf("is back;", text), 1U) << text;
    EXPECT_NE(text.find(url), std::string::npos) << text;
}

TEST_F(OutageTest, HangingServerHoldsAWriterForOneWaitOnly) {
    const auto results = listener.watch(result);
    server.pause();
    const auto begin = steady_clock::now();
    writeBoth(200);
    EXPECT_LT(steady_clock::now() - begin, 20 * NetworkClient::PATIENCE);
    server.resume();
    await(results, qz::CValue{std::string{"200"}});
    EXPECT_TRUE(areNumbersUpTo(200, results.all()));
    EXPECT_EQ(countOf("values are kept", errors.text()), 1U) << errors.text();
}

TEST_F(OutageTest, CallThatAHangingServerReadsTooLateIsNotDone) {
    NetworkClient other{url};
    server.pause();
    EXPECT_THROW(writer.channels().removeAllChannelsExcept(ITessAccessor::ROOT_DEVICE, {measure, result}),
                 boost::system::system_error);
    server.resume();
    RedisServer::await("the store",
                       [&] { return writer.channel("Daemon.Writes") != ITessAccessor::UNKNOWN_ID; });
    const auto made = other.channel("Daemon.DeviceLog");
    const auto results = listener.watch(made);
    for (int i = 1; i <= 50; ++i) {
        writer.set(made, std::to_string(i));
    }
    await(results, qz::CValue{std::string{"50"}});
    EXPECT_TRUE(areNumbersUpTo(50, results.all()));
}

TEST_F(OutageTest, OutageIsToldOnceForAllThatAProgramDoesWithTheStore) {
    NetworkClient another{url};
    another.channel(RESULT);
    const auto results = listener.watch(result);
    const auto alike = another.watch(result);
    server.stop();
    writeBoth(20);
    another.set(result, std::string{"from another"});
    waitForTries();
    server.start();
    // Which of the two programs comes first is open.
    results.waitForItem(qz::CValue{std::string{"20"}});
    results.waitForItem(qz::CValue{std::string{"from another"}});
    errors.await("is back;");
    writer.set(result, std::string{"end"});
    results.waitForItem(qz::CValue{std::string{"end"}});
    alike.waitForItem(qz::CValue{std::string{"end"}});
    waitForTries(); // a line too many would come now
    const std::string text = errors.text();
    EXPECT_EQ(countOf("WARNING", text), 2U) << text;
    EXPECT_EQ(countOf("cannot be reached", text), 1U) << text;
    EXPECT_EQ(countOf("is back; 23 values kept meanwhile were written\n", text), 1U) << text;
}

TEST_F(OutageTest, WritesThatWaitAreCountedWithSinceWhen) {
    EXPECT_EQ(writer.waiting().writes, 0U);
    EXPECT_EQ(writer.waiting().sinceMs, 0);
    const auto nowMs = [] {
        using namespace std::chrono;
        return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    };
    const auto begin = nowMs();
    server.stop();
    writeBoth(5);
    EXPECT_EQ(writer.waiting().writes, 7U) << "the first, of the measure the newest, and all results";
    EXPECT_GE(writer.waiting().sinceMs, begin);
    EXPECT_LE(writer.waiting().sinceMs, nowMs());
    server.start();
    RedisServer::await("the values", [&] { return writer.waiting().writes == 0; });
    EXPECT_EQ(writer.waiting().sinceMs, 0);
    EXPECT_EQ(writer.browser().health().waitingWrites, 0U);
}

TEST_F(OutageTest, ReadingWhileTheServerIsAwayFailsWithItsName) {
    server.stop();
    try {
        listener.channels().getChannelCValue(measure);
        ADD_FAILURE() << "it gave a value";
    } catch (const boost::system::system_error& failure) {
        EXPECT_NE(std::string{failure.what()}.find(url), std::string::npos) << failure.what();
        EXPECT_NE(std::string{failure.what()}.find("onnection refused"), std::string::npos) << failure.what();
    }
    server.start();
    RedisServer::await("the store",
                       [this] { return !listener.channels().isChannelValueInitialized(measure); });
}

TEST_F(OutageTest, ValuesThatTheServerHasNoMemoryForArriveOnceItHas) {
    const auto results = listener.watch(result);
    server.refuseMemory();
    writeBoth(20);
    EXPECT_TRUE(results.all().empty());
    server.grantMemory();
    await(results, qz::CValue{std::string{"20"}});
    EXPECT_TRUE(areNumbersUpTo(20, results.all()));
    // Which of the two channels is written last is open.
    RedisServer::await("the newest measure",
                       [&] { return listener.channels().getChannelCValue(measure) == qz::CValue{20.0F}; });
    const std::string text = errors.text();
    EXPECT_NE(text.find("OOM command not allowed"), std::string::npos) << text;
    EXPECT_EQ(countOf("values are kept", text), 1U) << text;
}

TEST_F(OutageTest, ServerThatTakesNoWritesForNowIsReadFromAlsoOverANewConnection) {
    const auto results = listener.watch(result);
    writer.set(result, std::string{"1"});
    await(results, qz::CValue{std::string{"1"}});
    server.command({"CONFIG", "SET", "min-replicas-to-write", "1"});
    NetworkClient late{url, false};
    EXPECT_EQ(late.channels().getChannelCValue(result), qz::CValue{std::string{"1"}});
    server.command({"CLIENT", "KILL", "TYPE", "normal", "SKIPME", "yes"});
    EXPECT_EQ(listener.channels().getChannelCValue(result), qz::CValue{std::string{"1"}});
    writer.set(result, std::string{"2"});
    EXPECT_EQ(late.channels().getChannelCValue(result), qz::CValue{std::string{"1"}});
    server.command({"CONFIG", "SET", "min-replicas-to-write", "0"});
    await(results, qz::CValue{std::string{"2"}});
    writer.set(result, std::string{"3"});
    await(results, qz::CValue{std::string{"3"}});
    EXPECT_TRUE(areNumbersUpTo(3, results.all()));
}

TEST_F(OutageTest, ServerThatTakesNoWritesForNowAndMayHaveOtherDataIsNotReadFrom) {
    writer.set(result, std::string{"1"});
    server.command({"HSET", "tess:{berlin}:site", "history", "of another server"});
    server.command({"CONFIG", "SET", "min-replicas-to-write", "1"});
    EXPECT_THROW((NetworkClient{url, false}), boost::system::system_error);
    server.command({"CONFIG", "SET", "min-replicas-to-write", "0"});
    NetworkClient late{url, false};
    EXPECT_EQ(late.channels().getChannelCValue(result), qz::CValue{std::string{"1"}});
}

TEST_F(OutageTest, EveryWriteArrivesOnceAndInOrderAcrossCrashesUnderWay) {
    constexpr int COUNT = 1500;
    const auto results = listener.watch(result);
    std::thread working{[this] {
        for (int i = 1; i <= COUNT; ++i) {
            writer.set(result, std::to_string(i));
        }
    }};
    for (const char* moment : {"200", "600"}) {
        results.waitForItem(qz::CValue{std::string{moment}});
        server.stop();
        server.start();
    }
    working.join();
    await(results, qz::CValue{std::to_string(COUNT)});
    EXPECT_TRUE(areNumbersUpTo(COUNT, results.all()));
}

TEST_F(OutageTest, ListenerMissesNothingThatIsWrittenToAServerThatCameBackWithOlderData) {
    const auto results = listener.watch(result);
    writer.set(result, std::string{"1"});
    await(results, qz::CValue{std::string{"1"}});
    server.stop();
    const auto saved = server.folder() / "saved";
    std::filesystem::copy(server.folder() / "appendonlydir", saved);
    server.start();
    for (int i = 2; i <= 9; ++i) {
        writer.set(result, std::to_string(i));
    }
    await(results, qz::CValue{std::string{"9"}});
    server.stop();
    server.forget();
    std::filesystem::rename(saved, server.folder() / "appendonlydir");
    server.start();
    writer.set(result, std::string{"10"});
    await(results, qz::CValue{std::string{"10"}});
    EXPECT_TRUE(areNumbersUpTo(10, results.all()));
}

TEST_F(OutageTest, ServerThatLostTheStoreIsToldAndNothingIsWrittenIntoAnotherOne) {
    server.stop();
    server.forget();
    server.start();
    NetworkClient another{url};
    const std::uint64_t other = another.channel(MEASURE);
    ASSERT_EQ(other, measure);
    try {
        writer.set(measure, 7.0F);
        ADD_FAILURE() << "it took the value";
    } catch (const boost::system::system_error& failure) {
        EXPECT_NE(std::string{failure.what()}.find(url), std::string::npos) << failure.what();
    }
    EXPECT_FALSE(another.channels().isChannelValueInitialized(other));
}

TEST_F(OutageTest, FunctionsThatTheServerLostAreLoadedAgain) {
    const auto results = listener.watch(result);
    server.command({"FUNCTION", "FLUSH"});
    writer.set(result, std::string{"1"});
    await(results, qz::CValue{std::string{"1"}});
    server.command({"FUNCTION", "FLUSH"});
    EXPECT_EQ(listener.channels().getChannelCValue(result), qz::CValue{std::string{"1"}});
}

TEST_F(OutageTest, FunctionsOfAnotherReleaseLieBesideAndAreLeftThere) {
    std::string others{FunctionLibrary::text()};
    for (auto at = others.find("tess4"); at != std::string::npos; at = others.find("tess4", at)) {
        others.replace(at, 5, "tess99");
    }
    // As the first program of the other release does, for a site of its own or only to look.
    ASSERT_EQ(server.command({"FUNCTION", "LOAD", "REPLACE", others}), "tess99");
    const auto results = listener.watch(result);
    writer.set(result, std::string{"1"});
    await(results, qz::CValue{std::string{"1"}});
    server.command({"FUNCTION", "DELETE", "tess4"});
    NetworkClient late{url};
    late.set(result, std::string{"2"});
    await(results, qz::CValue{std::string{"2"}});
    EXPECT_EQ(server.command({"FUNCTION", "DELETE", "tess99"}), "OK") << "nobody has replaced them";
}

TEST_F(OutageTest, SiteOfAnotherFormatIsToldWithBothAndNothingIsWrittenToIt) {
    const std::string key{"tess:{berlin}:site"};
    const auto content = [&] {
        return server.command({"EVAL",
                               "local all, lines = redis.call('HGETALL', KEYS[1]), {} "
                               "for i = 1, #all, 2 do lines[#lines + 1] = all[i] .. '=' .. all[i + 1] end "
                               "table.sort(lines) return table.concat(lines)",
                               "1", key});
    };
    for (const auto* format : {"1", "99"}) {
        server.command({"HSET", key, "format", format});
        const auto before = content();
        try {
            const NetworkClient late{url};
            ADD_FAILURE() << "it opened the store";
        } catch (const boost::system::system_error& failure) {
            EXPECT_EQ(failure.code(), (boost::system::error_code{static_cast<int>(StoreFault::wrongVersion),
                                                                 storeCategory()}));
            EXPECT_NE(std::string{failure.what()}.find("format " + std::string{format} + ", expected 2"),
                      std::string::npos)
                << failure.what();
        }
        EXPECT_EQ(content(), before);
    }
}

} // namespace
} // namespace tessapi::network
