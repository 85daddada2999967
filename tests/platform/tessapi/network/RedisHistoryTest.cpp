#include "platform/tessapi/ITessAccessor.h"
#include "platform/tessapi/network/ServerRefusal.h"
#include "platform/tessapi/network/ValueSender.h"
#include "testing/RedisPair.h"
#include "tests/platform/tessapi/network/NetworkClient.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace tessapi::network {
namespace {

using qz::CValue;
using velk::testing::RedisPair;
using velk::testing::RedisServer;
using Answer = ValueSender::Verdict::Kind;

/// Calls that come twice, late or with some missing before them, as they reach the functions on the server.
class RedisCallTest : public ::testing::Test {
protected:
    RedisCallTest() {
        link.open(true, "");
        channel = engine->emplaceChannel(ITessAccessor::ROOT_DEVICE, "Calls");
    }

    ValueSender::Verdict send(std::uint64_t number, const std::string& value, bool afterGap = false) {
        return sender.send({number, afterGap, {{0, Change::Kind::value, channel, CValue{value}, 1}}});
    }

    void setAttribute(std::uint64_t number, bool again, const std::string& text) {
        auto command = sender.write("set_attribute", link.writers.others, number, again, 1);
        link.call(command.add(ITessAccessor::ROOT_DEVICE).add("7").add(text));
    }

    std::string entries() { return server.command({"XLEN", "tess:{calls}:news"}); }

    const RedisServer server;
    const std::string url{"redis+unix://" + server.socket().string() + "/calls"};
    RedisLink link{NetworkUrl{url}, std::chrono::seconds{3}};
    ValueSender sender{link, 1000, 1000};
    const std::shared_ptr<Engine> engine{Engine::open(StoreUrl{url}, true)};
    std::uint64_t channel{0};
};

TEST_F(RedisCallTest, ValueThatComesTwiceIsWrittenOnce) {
    EXPECT_EQ(send(1, "once").kind, Answer::taken);
    engine->setValue(channel, CValue{"of another"});
    EXPECT_EQ(send(1, "once").kind, Answer::taken);
    EXPECT_EQ(engine->valueOf(channel), CValue{"of another"});
    EXPECT_EQ(entries(), "2");
}

TEST_F(RedisCallTest, ValueThatIsReadAfterALaterOneIsNotWritten) {
    send(1, "first");
    send(2, "second");
    EXPECT_EQ(send(1, "first").kind, Answer::taken) << "it was, before";
    EXPECT_EQ(engine->valueOf(channel), CValue{"second"});
}

TEST_F(RedisCallTest, ServerThatLacksCallsSaysWhichItHas) {
    send(1, "first");
    const auto verdict = send(3, "third");
    EXPECT_EQ(verdict.kind, Answer::behind);
    EXPECT_EQ(verdict.done, 1U);
    EXPECT_EQ(engine->valueOf(channel), CValue{"first"});
    EXPECT_EQ(send(3, "third", true).kind, Answer::taken);
    EXPECT_EQ(engine->valueOf(channel), CValue{"third"});
    EXPECT_EQ(send(4, "fourth").kind, Answer::taken);
}

TEST_F(RedisCallTest, OtherCallThatComesTwiceIsDoneOnce) {
    setAttribute(1, false, "A");
    setAttribute(1, true, "A");
    EXPECT_EQ(entries(), "1");
    setAttribute(2, true, "B");
    EXPECT_EQ(engine->attribute(ITessAccessor::ROOT_DEVICE, 7), "B") << "the first attempt had not arrived";
}

TEST_F(RedisCallTest, CallThatItsWriterHasGivenUpIsNotDoneLate) {
    setAttribute(1, false, "A");
    setAttribute(2, false, "B");
    EXPECT_THROW(setAttribute(1, false, "A"), ServerRefusal);
    EXPECT_THROW(setAttribute(1, true, "A"), ServerRefusal);
    EXPECT_THROW(setAttribute(2, false, "B"), ServerRefusal)
        << "its second attempt was done before the first";
    EXPECT_EQ(engine->attribute(ITessAccessor::ROOT_DEVICE, 7), "B");
}

TEST_F(RedisCallTest, CallsThatAreGivenUpAreRefusedFromTheNextConnectionOn) {
    const auto number = link.writers.nextOther();
    link.writers.giveUp(number);
    server.command({"CLIENT", "KILL", "TYPE", "normal"});
    link.call({"EXISTS", link.keys.news});
    EXPECT_THROW(setAttribute(number, false, "late"), ServerRefusal);
    EXPECT_EQ(engine->attribute(ITessAccessor::ROOT_DEVICE, 7), "");
}

TEST_F(RedisCallTest, WritersThatAreThereForLongAreForgottenWhenThereAreManyNewerOnes) {
    for (int i = 0; i < 300; ++i) {
        server.command(
            {"HSET", "tess:{calls}:site", "wold-" + std::to_string(1000 + i), std::string(16, '\0')});
    }
    send(1, "newer");
    const auto before = std::stoi(server.command({"HLEN", "tess:{calls}:site"}));
    Engine::open(StoreUrl{url}, false);
    EXPECT_GT(before, 300);
    EXPECT_LT(std::stoi(server.command({"HLEN", "tess:{calls}:site"})), 150);
    EXPECT_EQ(send(1, "newer").kind, Answer::taken);
    EXPECT_EQ(entries(), "1") << "one that wrote just now is known";
}

/// A replica takes over that lacks what was written last.
class RedisHistoryTest : public ::testing::Test {
protected:
    static constexpr std::uint64_t ROOT = ITessAccessor::ROOT_DEVICE;
    static constexpr std::chrono::seconds PATIENCE{3};

    RedisHistoryTest() { ::testing::internal::CaptureStderr(); }
    ~RedisHistoryTest() override { ::testing::internal::GetCapturedStderr(); }

    void writeUpTo(int last) {
        while (written < last) {
            writer->set(result, std::to_string(++written));
        }
    }

    template <typename T>
    static void await(const Recorder<CValue>& heard, const T& value) {
        const auto all = heard.waitForItem(CValue{value});
        ASSERT_TRUE(!all.empty() && all.back() == CValue{value}) << all.size() << " values came";
    }

    CValue valueOf(std::uint64_t channel) { return listener.channels().getChannelCValue(channel); }

    RedisPair servers;
    const std::string url{servers.url("berlin")};
    std::unique_ptr<NetworkClient> writer{std::make_unique<NetworkClient>(url, true, PATIENCE)};
    NetworkClient listener{url, true, PATIENCE};
    const std::uint64_t result{writer->channel(RESULT)};
    const std::uint64_t measure{writer->channel(MEASURE)};
    int written{0};
};

TEST_F(RedisHistoryTest, WritesThatTheReplicaLackedAreThereAndAreHeardOnce) {
    const auto heard = listener.watch(result);
    writeUpTo(5);
    servers.cutOff();
    writeUpTo(9);
    await(heard, std::string{"9"});
    servers.takeOver();
    writeUpTo(12);
    await(heard, std::string{"12"});
    EXPECT_TRUE(areNumbersUpTo(12, heard.all()));
    EXPECT_EQ(valueOf(result), CValue{std::string{"12"}});
}

TEST_F(RedisHistoryTest, WritesThatTheReplicaLackedComeBackWithoutAnotherWrite) {
    writeUpTo(3);
    servers.cutOff();
    writer->set(measure, 230.0F);
    writeUpTo(4);
    servers.takeOver();
    writer->channels().getChannelCValue(measure);
    RedisServer::await("the values", [&] {
        return valueOf(measure) == CValue{230.0F} && valueOf(result) == CValue{std::string{"4"}};
    });
}

TEST_F(RedisHistoryTest, ListenerThatHadHeardLessMissesNothing) {
    const auto follower = Engine::open(StoreUrl{url}, false);
    auto seq = follower->startOf({}).seq;
    writeUpTo(3);
    servers.cutOff();
    writeUpTo(6);
    servers.takeOver();
    writeUpTo(7);
    RedisServer::await("the last value", [&] { return valueOf(result) == CValue{std::string{"7"}}; });
    std::vector<CValue> heard;
    while (heard.size() < 7 || follower->newsAfter(seq).upTo != seq) {
        const auto news = follower->newsAfter(seq);
        EXPECT_FALSE(news.gap);
        for (const auto& change : news.changes) {
            if (!change.isRepeat) {
                heard.push_back(change.value);
            }
        }
        seq = news.upTo;
    }
    EXPECT_TRUE(areNumbersUpTo(7, heard));
}

TEST_F(RedisHistoryTest, WritesBeforeASubscriptionStayUnheardWhenTheyComeAgain) {
    writeUpTo(2);
    servers.cutOff();
    writeUpTo(6);
    const auto heard = listener.watch(result);
    writeUpTo(7);
    await(heard, std::string{"7"});
    servers.takeOver();
    writeUpTo(8);
    await(heard, std::string{"8"});
    EXPECT_EQ(heard.all(), (std::vector<CValue>{CValue{std::string{"7"}}, CValue{std::string{"8"}}}));
}

TEST_F(RedisHistoryTest, SeveralWritersAreHeardInTheOrderOfEach) {
    NetworkClient second{url, true, PATIENCE};
    const auto other = second.channel("Daemon.Writes");
    const auto heard = listener.watch(result);
    const auto heardOther = listener.watch(other);
    int last = 0;
    const auto writeBoth = [&](int upTo) {
        while (last < upTo) {
            second.set(other, std::to_string(++last));
            writeUpTo(last);
        }
    };
    writeBoth(4);
    servers.cutOff();
    writeBoth(8);
    await(heard, std::string{"8"});
    await(heardOther, std::string{"8"});
    servers.takeOver();
    writeUpTo(30); // the other has seen more, and comes later
    await(heard, std::string{"30"});
    writeBoth(30);
    await(heardOther, std::string{"30"});
    EXPECT_TRUE(areNumbersUpTo(30, heard.all()));
    EXPECT_TRUE(areNumbersUpTo(30, heardOther.all()));
}

TEST_F(RedisHistoryTest, ValueThatIsLostWithItsWriterIsTakenBackForWhoWantsPresentValues) {
    const auto present = listener.watch(measure, qz::sub::changes);
    writer->set(measure, 1.0F);
    await(present, 1.0F);
    servers.cutOff();
    writer->set(measure, 2.0F);
    await(present, 2.0F);
    writer.reset();
    servers.takeOver();
    RedisServer::await("the value of before", [&] { return present.all().back() == CValue{1.0F}; });
    EXPECT_EQ(valueOf(measure), CValue{1.0F});
}

TEST_F(RedisHistoryTest, ListenerThatCouldNotLookAtEverythingGoesOnWhereItWas) {
    writer->set(measure, 1.0F);
    writeUpTo(3);
    const auto engine = Engine::open(StoreUrl{url}, false);
    const auto seen = engine->startOf({}).seq;
    servers.cutOff();
    servers.takeOver();
    engine->valueOf(measure);
    const auto look = engine->newsAfter(seen);
    ASSERT_EQ(look.changes.size(), 3U) << "two channels and the root";
    EXPECT_TRUE(look.changes[0].isRepeat);
    EXPECT_EQ(look.changes[2].seq, look.upTo);
    const auto rest = engine->newsAfter(look.changes[0].seq);
    ASSERT_EQ(rest.changes.size(), 2U);
    EXPECT_EQ(rest.changes[1].seq, look.upTo);
    writeUpTo(4);
    const auto next = engine->newsAfter(look.upTo);
    ASSERT_EQ(next.changes.size(), 1U);
    EXPECT_EQ(next.changes[0].seq, look.upTo + 1);
    EXPECT_FALSE(next.changes[0].isRepeat);
}

TEST_F(RedisHistoryTest, AlarmThatIsLostWithItsWriterIsTakenBack) {
    const auto engine = Engine::open(StoreUrl{url}, false);
    qz::tess::CSingleAlarmConfig config;
    config.triggers = {{LevelAlarm::warning, 1, CValue{200.0F}, {}, -1, "high", {}, 0}};
    engine->setAlarmConfig(measure, config);
    Recorder<CValue> levels;
    Dispatcher dispatcher{"test", engine};
    dispatcher.subscribe(
        {},
        [&](const Engine::Start& start) {
            return std::make_unique<AlarmSubscription>(start.seq, ROOT, [levels](const auto& update) {
                levels.add(CValue{static_cast<std::uint32_t>(update.level)});
            });
        },
        nullptr);
    writer->set(measure, 100.0F);
    servers.cutOff();
    writer->set(measure, 230.0F);
    await(levels, 6U);
    writer.reset();
    servers.takeOver();
    await(levels, 4U);
    EXPECT_EQ(levels.all().size(), 2U);
}

TEST_F(RedisHistoryTest, IdentifierThatOnlyTheFirstServerKnewIsNotGivenToAnother) {
    servers.cutOff();
    const auto lost = writer->channel("Lost");
    servers.takeOver();
    const auto made = listener.channel("Made");
    EXPECT_GT(made, lost);
    EXPECT_THROW(writer->set(lost, std::string{"of nobody"}), std::runtime_error);
}

TEST_F(RedisHistoryTest, NumbersOfChangesNeverComeTwice) {
    writeUpTo(3);
    servers.cutOff();
    writeUpTo(5);
    const auto engine = Engine::open(StoreUrl{url}, false);
    const auto seen = engine->startOf({}).seq;
    EXPECT_EQ(seen, 5);
    servers.takeOver();
    const auto anew = Engine::open(StoreUrl{url}, false);
    EXPECT_GT(anew->startOf({}).seq, seen + 1'000'000) << "whatever the first server went on to";
}

} // namespace
} // namespace tessapi::network
