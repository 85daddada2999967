#include "platform/tessapi/ITessAccessor.h"
#include "platform/tessapi/engine/AlarmEvaluator.h"
#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/ValueCodec.h"
#include "testing/RedisServer.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace tessapi::network {
namespace {

using qz::CValue;
using velk::common::Uuid;
using velk::testing::RedisServer;

/// What the functions on the server decide, held against the same rules of the other engines.
class RedisRulesTest : public ::testing::Test {
protected:
    static constexpr std::uint64_t CHANNEL = 1000;

    RedisRulesTest() : engine{Engine::open(StoreUrl{url}, true)} {
        engine->emplaceChannel(ITessAccessor::ROOT_DEVICE, "Rules");
    }

    /// Lets the channel take values of this type, whatever its name says.
    void retype(const CValue& value) {
        const std::string type(1, static_cast<char>(*value.type()));
        server.command({"HSET", "tess:{rules}:values", "1000", type + std::string(29, '\0')});
    }

    bool isActive(const qz::CAlarmTrigger& trigger) {
        qz::tess::CSingleAlarmConfig config;
        config.triggers = {trigger};
        engine->setAlarmConfig(CHANNEL, config);
        return engine->mostCriticalOf(ITessAccessor::ROOT_DEVICE).has_value();
    }

    ChannelRecord record() { return engine->snapshot().channels.at(0); }

    const RedisServer server;
    const std::string url{"redis+unix://" + server.socket().string() + "/rules"};
    const std::shared_ptr<Engine> engine;
};

const std::vector<CValue>& values() {
    constexpr auto big = std::int64_t{1} << 53;
    static const std::vector<CValue> all{
        CValue{false},
        CValue{true},
        CValue{std::int32_t{-5}},
        CValue{std::numeric_limits<std::int32_t>::min()},
        CValue{std::int64_t{big + 1}},
        CValue{std::numeric_limits<std::int64_t>::min()},
        CValue{7U},
        CValue{std::numeric_limits<std::uint64_t>::max()},
        CValue{0.1F},
        CValue{std::numeric_limits<float>::infinity()},
        CValue{0.1},
        CValue{-0.0},
        CValue{static_cast<double>(big)},
        CValue{std::nan("")},
        CValue{qz::CTimestamp{big + 1, "%F"}},
        CValue{"7"},
        CValue{""},
        CValue{std::string{"a\0b", 3}},
        CValue{CValue::Bytes{1, 2, 3}},
    };
    return all;
}

TEST_F(RedisRulesTest, TriggersHoldAsTheEvaluatorSays) {
    for (const auto& value : values()) {
        retype(value);
        engine->setValue(CHANNEL, value);
        for (const auto& threshold : values()) {
            for (const std::int8_t type : {1, 2, 3, 4, -1, 5}) {
                const qz::CAlarmTrigger trigger{
                    LevelAlarm::warning, type, threshold, CValue{8}, -1, "", CValue{}, 0};
                EXPECT_EQ(isActive(trigger), AlarmEvaluator::isActive(trigger, value))
                    << value << " against " << threshold << " of type " << int{type};
            }
        }
    }
}

/// What the steps of a value may be, the thresholds of its triggers likewise.
const std::vector<std::vector<CValue>>& steps() {
    constexpr auto endless = std::numeric_limits<float>::infinity();
    constexpr auto big = std::int64_t{1} << 53; // numbers behind it are not all there as double
    constexpr auto bigToo = static_cast<std::uint64_t>(big);
    constexpr auto bigAsWell = static_cast<double>(big);
    static const std::vector<std::vector<CValue>> all{
        {CValue{-endless}, CValue{-1.5F}, CValue{-1.0F}, CValue{-0.0F}, CValue{0.0F}, CValue{0.5F},
         CValue{1.0F}, CValue{7.5F}, CValue{endless}, CValue{std::nanf("")}},
        {CValue{-1}, CValue{0}, CValue{1}, CValue{2}, CValue{3}, CValue{4}},
        {CValue{false}, CValue{true}},
        {CValue{qz::CTimestamp{1, "%F"}}, CValue{qz::CTimestamp{2, "%F"}}, CValue{qz::CTimestamp{3, "%F"}}},
        {CValue{"a"}, CValue{"b"}, CValue{""}},
        {CValue{big - 1}, CValue{big}, CValue{big + 1}, CValue{big + 2}, CValue{big + 3}, CValue{-big - 1}},
        {CValue{bigToo - 1}, CValue{bigToo}, CValue{bigToo + 1}, CValue{bigToo + 2}, CValue{bigToo + 3}},
        {CValue{bigAsWell - 1}, CValue{bigAsWell}, CValue{bigAsWell + 2}, CValue{0.5}, CValue{std::nan("")}},
    };
    return all;
}

/// A channel with triggers that is walked over their thresholds, and what must come of it.
class RedisAlarmWalkTest : public RedisRulesTest {
protected:
    using Alarms = std::set<std::pair<LevelAlarm, std::string>>; ///< level and code

    std::size_t below(std::size_t end) { return random() % end; }

    const CValue& oneOf(const std::vector<CValue>& values) { return values[below(values.size())]; }

    /// Now and then of another kind than the value.
    const CValue& thresholdFor(const std::vector<CValue>& values) {
        return oneOf(below(4) == 0 ? steps()[below(steps().size())] : values);
    }

    void configure(std::size_t triggers, const std::vector<CValue>& values) {
        config.triggers.clear();
        for (std::size_t i = 0; i < triggers; ++i) {
            const auto type = std::vector<std::int8_t>{1, 2, 3, 4, 4, -1}[below(6)];
            const auto level =
                std::vector{LevelAlarm::warning, LevelAlarm::critical, LevelAlarm::none}[below(8) / 3];
            const auto other = below(4) == 0 ? CValue{} : thresholdFor(values);
            config.triggers.push_back(
                {level, type, thresholdFor(values), other, -1, std::to_string(i), {}, 0});
        }
        engine->setAlarmConfig(CHANNEL, config);
        evaluate();
    }

    /// All in one call.
    void write(const std::vector<CValue>& values) {
        std::vector<Engine::ChannelValue> group;
        for (const auto& value : values) {
            group.emplace_back(CHANNEL, value);
        }
        engine->setValues(group);
        for (const auto& value : values) {
            present = value;
            evaluate();
        }
    }

    void evaluate() {
        Alarms now;
        for (const auto& trigger : config.triggers) {
            if (AlarmEvaluator::isActive(trigger, present)) {
                now.emplace(trigger.level, trigger.code);
            }
        }
        note(active, now, false);
        note(now, active, true);
        active = std::move(now);
    }

    /// What `some` have and `others` have not is cleared or raised.
    void note(const Alarms& some, const Alarms& others, bool raised) {
        for (const auto& [level, code] : some) {
            if (!others.contains({level, code})) {
                events.push_back({raised, level, code});
            }
        }
    }

    Alarms activeInStore() {
        Alarms found;
        for (const auto& alarm : record().activeAlarms) {
            found.emplace(alarm.level, alarm.code);
        }
        return found;
    }

    std::mt19937 random{20'261'122};
    qz::tess::CSingleAlarmConfig config;
    CValue present;
    Alarms active;
    std::vector<std::tuple<bool, LevelAlarm, std::string>> events;
};

TEST_F(RedisAlarmWalkTest, AlarmsAndEventsFollowAValueOverItsThresholdsAndBack) {
    for (std::size_t run = 0; run < 10 * steps().size(); ++run) {
        const auto& values = steps()[run % steps().size()];
        retype(values.front());
        write({oneOf(values)});
        configure(3, values);
        for (int step = 0; step < 20; ++step) {
            if (below(8) == 0) {
                configure(below(4), values); // also none
            }
            std::vector<CValue> group;
            do {
                group.push_back(oneOf(values));
            } while (below(3) == 0);
            write(group);
            ASSERT_EQ(activeInStore(), active) << present << " in run " << run;
        }
        configure(0, values);
    }
    std::vector<std::tuple<bool, LevelAlarm, std::string>> told;
    for (const auto& event : engine->alarmEvents(0, 10'000)) {
        told.emplace_back(event.raised, event.level, event.code);
    }
    EXPECT_GT(events.size(), 500U);
    EXPECT_EQ(told, events);
}

TEST_F(RedisRulesTest, OfTheEventsTheNewestAreKept) {
    Engine::Options options;
    options.eventsKept = 200;
    const auto few = Engine::open(StoreUrl{url}, false, options);
    qz::tess::CSingleAlarmConfig config;
    config.triggers = {{LevelAlarm::warning, 3, CValue{"bad"}, {}, -1, "", {}, 0}};
    few->setAlarmConfig(CHANNEL, config);
    for (int i = 0; i < 1000; ++i) {
        few->setValues({{CHANNEL, CValue{"bad"}}, {CHANNEL, CValue{"good"}}});
    }
    const auto kept = std::stoi(server.command({"XLEN", "tess:{rules}:events"}));
    EXPECT_GE(kept, 200);
    EXPECT_LE(kept, 200 + 100) << "whole nodes of the stream go";
    const auto events = few->alarmEvents(0, 10'000);
    ASSERT_EQ(events.size(), static_cast<std::size_t>(kept));
    EXPECT_EQ(events.back().number, 2000);
    EXPECT_EQ(events.front().number, 2000 - kept + 1);
}

TEST_F(RedisRulesTest, TriggersAreNotReadWhileNoThresholdIsNear) {
    retype(CValue{0.0F});
    engine->setValue(CHANNEL, CValue{1.0F});
    ASSERT_FALSE(isActive({LevelAlarm::warning, 1, CValue{50}, {}, -1, "", {}, 0}));
    const auto readsOf = [&](float value) {
        server.command({"CONFIG", "RESETSTAT"});
        engine->setValue(CHANNEL, CValue{value});
        return server.info("cmdstat_hget").substr(0, 8);
    };
    EXPECT_EQ(readsOf(49), "");
    EXPECT_NE(readsOf(51), "");
    EXPECT_EQ(readsOf(52), "") << "the alarm stays";
    EXPECT_NE(readsOf(50), "");
    EXPECT_EQ(readsOf(50), "") << "the same again";
    EXPECT_NE(readsOf(2), "");
    EXPECT_EQ(readsOf(3), "");
}

TEST_F(RedisRulesTest, AlarmsFollowTheValuesOfAFilledStore) {
    const auto channel =
        engine->emplaceChannel(ITessAccessor::ROOT_DEVICE, "PowerDistribution.Measure.Voltage");
    qz::tess::CSingleAlarmConfig config;
    config.triggers = {{LevelAlarm::warning, 1, CValue{250.0F}, {}, -1, "", {}, 0}};
    engine->setAlarmConfig(channel, config);
    engine->setValue(channel, CValue{230.0F});
    const auto filled = Engine::open(StoreUrl{url + "2"}, true);
    filled->fill(engine->image());
    filled->setValue(channel, CValue{251.0F});
    EXPECT_TRUE(filled->mostCriticalOf(ITessAccessor::ROOT_DEVICE));
    filled->setValue(channel, CValue{249.0F});
    EXPECT_FALSE(filled->mostCriticalOf(ITessAccessor::ROOT_DEVICE));
}

TEST_F(RedisRulesTest, AWriteChangesAValueAsTheCodecSays) {
    for (const auto& before : values()) {
        for (const auto& after : values()) {
            if (before.type() != after.type()) {
                continue;
            }
            retype(before);
            engine->setValue(CHANNEL, before);
            // As if the first one was a long time ago.
            const auto longAgo = std::string{"redis.call('HSET', KEYS[1], '1000', "
                                             "(redis.call('HGET', KEYS[1], '1000'):gsub('^(..)........', "
                                             "'%1' .. string.rep('\\1', 8)))) return 1"};
            ASSERT_EQ(server.command({"EVAL", longAgo, "1", "tess:{rules}:values"}), "1");
            constexpr std::int64_t then = 0x0101010101010101;
            engine->setValue(CHANNEL, after);
            EXPECT_EQ(record().changedMs == then, ValueCodec::same(before, after))
                << after << " over " << before;
        }
    }
}

TEST_F(RedisRulesTest, ValuesComeBackExactlyAsTheyWere) {
    for (const auto& value : values()) {
        retype(value);
        engine->setValue(CHANNEL, value);
        EXPECT_EQ(ValueCodec::encode(engine->valueOf(CHANNEL)), ValueCodec::encode(value)) << value;
    }
}

TEST_F(RedisRulesTest, ChannelsOfAnotherCatalogueAreRetypedAndLoseTheirValue) {
    const auto channel =
        engine->emplaceChannel(ITessAccessor::ROOT_DEVICE, "PowerDistribution.Measure.Voltage");
    const auto other =
        engine->emplaceChannel(ITessAccessor::ROOT_DEVICE, "PowerDistribution.Measure.Current");
    engine->setValue(other, CValue{1.5F});
    const auto key = std::to_string(channel);
    // As a catalogue would have left it to which a voltage is a text.
    server.command({"HSET", "tess:{rules}:values", key, std::string(1, '\x8') + std::string(29, '\0')});
    server.command({"HSET", "tess:{rules}:site", "catalogue", "another"});
    engine->setValue(channel, CValue{"high"});
    const auto again = Engine::open(StoreUrl{url}, false);
    EXPECT_EQ(again->typeOf(channel), qz::datatype::float32);
    EXPECT_FALSE(again->valueOf(channel).isValid());
    EXPECT_EQ(again->valueOf(other), CValue{1.5F});
    EXPECT_NE(server.command({"HGET", "tess:{rules}:site", "catalogue"}), "another");
    again->setValue(channel, CValue{230.0F});
}

TEST_F(RedisRulesTest, RetypingClearsTheAlarmsOfALostValue) {
    engine->setValue(CHANNEL, CValue{"bad"});
    ASSERT_TRUE(isActive({LevelAlarm::warning, 3, CValue{"bad"}, {}, -1, "", {}, 0}));
    ASSERT_EQ(server.command({"EVAL",
                              "local row = redis.call('HGET', KEYS[1], '1000') "
                              "redis.call('HSET', KEYS[1], '1000', string.char(5) .. row:sub(2)) return 1",
                              "1", "tess:{rules}:values"}),
              "1");
    server.command({"HSET", "tess:{rules}:site", "catalogue", "another"});
    const auto again = Engine::open(StoreUrl{url}, false);
    EXPECT_FALSE(again->mostCriticalOf(ITessAccessor::ROOT_DEVICE));
    const auto events = again->alarmEvents(0, 10);
    ASSERT_EQ(events.size(), 2U);
    EXPECT_FALSE(events[1].raised);
}

TEST_F(RedisRulesTest, ManyChannelsAreMadeInFewCalls) {
    std::vector<std::string> names{"PowerDistribution.Measure.Voltage", "Rules"};
    for (int i = 0; i < 600; ++i) {
        names.push_back("Channel" + std::to_string(i));
    }
    names.emplace_back("Channel0");
    server.command({"CONFIG", "RESETSTAT"});
    const auto made = engine->emplaceChannels(ITessAccessor::ROOT_DEVICE, names);
    EXPECT_EQ(server.info("cmdstat_fcall").substr(0, 8), "calls=3,");
    ASSERT_EQ(made.size(), names.size());
    EXPECT_EQ(engine->typeOf(made[0]), qz::datatype::float32);
    EXPECT_EQ(made[1], CHANNEL) << "it was there";
    EXPECT_EQ(made.back(), made[2]);
    EXPECT_EQ(std::set<std::uint64_t>(made.begin(), made.end()).size(), 602U);
    EXPECT_EQ(engine->findChannel(ITessAccessor::ROOT_DEVICE, "Channel599"), made[601]);
    EXPECT_EQ(engine->emplaceChannels(ITessAccessor::ROOT_DEVICE, names), made);
    EXPECT_EQ(engine->emplaceChannels(77'777, {"a", "b"}),
              (std::vector<std::uint64_t>(2, ITessAccessor::UNKNOWN_ID)));
    EXPECT_TRUE(engine->emplaceChannels(ITessAccessor::ROOT_DEVICE, {}).empty());
}

TEST_F(RedisRulesTest, AsManyChangesAreKeptAsTheUrlSays) {
    const auto few = Engine::open(StoreUrl{url + "?changes=256"}, false);
    for (int i = 0; i < 2000; ++i) {
        few->setValue(CHANNEL, CValue{"again"});
    }
    const auto kept = std::stoi(server.command({"XLEN", "tess:{rules}:news"}));
    EXPECT_GE(kept, 256);
    EXPECT_LE(kept, 256 + 100) << "whole nodes of the stream go";
    EXPECT_TRUE(few->newsAfter(0).gap);
    EXPECT_FALSE(few->newsAfter(2000 - 256).gap);
}

TEST_F(RedisRulesTest, AGroupMayBeLongerThanTheServersStack) {
    const std::vector<Engine::ChannelValue> values(20'000, {CHANNEL, CValue{"again"}});
    engine->setValues(values);
    EXPECT_EQ(engine->startOf({}).seq, 20'000);
    std::int64_t seq = 0;
    for (auto news = engine->newsAfter(seq); !news.changes.empty(); news = engine->newsAfter(seq)) {
        EXPECT_EQ(news.changes.front().seq, seq + 1);
        seq = news.upTo;
    }
    EXPECT_EQ(seq, 20'000);
}

TEST_F(RedisRulesTest, ValuesAreFoundWithoutASearchThroughAllOfThem) {
    EXPECT_EQ(server.command({"OBJECT", "ENCODING", "tess:{rules}:values"}), "hashtable");
    EXPECT_EQ(server.command({"OBJECT", "ENCODING", "tess:{rules}:site"}), "hashtable")
        << "it has many writers";
    const auto image = engine->image();
    Engine::open(StoreUrl{url + "2"}, true)->fill(image);
    EXPECT_EQ(server.command({"OBJECT", "ENCODING", "tess:{rules2}:values"}), "hashtable");
    EXPECT_EQ(engine->snapshot().channels.size(), 1U);
}

TEST_F(RedisRulesTest, AllKeysHaveTheHashTagOfTheSite) {
    const auto device = engine->emplaceDevice(Uuid{Uuid::VELK_NAMESPACE, "device"}, 1, 0);
    engine->setAttribute(device, 7, "Inputs.1");
    engine->setValue(CHANNEL, CValue{"bad"});
    ASSERT_TRUE(isActive({LevelAlarm::warning, 3, CValue{"bad"}, {}, -1, "", {}, 0}));
    qz::CMultistateMap states;
    states.add(CValue{"bad"}, "not good");
    engine->setStates(CHANNEL, states);
    engine->recordWrite({});
    EXPECT_EQ(server.command({"DBSIZE"}), "15");
    EXPECT_EQ(server.command({"EVAL", "return #redis.call('KEYS', 'tess:{rules}:*')", "0"}), "15");
}

TEST_F(RedisRulesTest, BytesThatNobodyOfTheStoreWroteAreToldAsSuch) {
    server.command({"HSET", "tess:{rules}:values", "1000", "short"});
    EXPECT_THROW(engine->valueOf(CHANNEL), boost::system::system_error);
    EXPECT_THROW(engine->snapshot(), boost::system::system_error);
}

TEST_F(RedisRulesTest, AttributeOfNoDeviceIsToldAsSuch) {
    for (const auto* field : {"77:1", "1:16"}) {
        server.command({"HSET", "tess:{rules}:attributes", field, "text"});
        EXPECT_THROW(engine->snapshot(), boost::system::system_error) << field;
        server.command({"HDEL", "tess:{rules}:attributes", field});
    }
    EXPECT_EQ(engine->snapshot().devices.size(), 1U);
}

TEST_F(RedisRulesTest, MarkOfNoDeviceIsToldAsSuch) {
    const auto few = Engine::open(StoreUrl{url + "?changes=256"}, false);
    for (int i = 0; i < 500; ++i) {
        few->setValue(CHANNEL, CValue{"again"});
    }
    for (const auto* mark : {"", "1", "1:", "1:x", "1:99999999999999999999"}) {
        server.command({"ZADD", "tess:{rules}:marks", "7", mark});
        EXPECT_THROW(few->newsAfter(0), boost::system::system_error) << mark;
        server.command({"ZREM", "tess:{rules}:marks", mark});
    }
    EXPECT_TRUE(few->newsAfter(0).gap);
}

} // namespace
} // namespace tessapi::network
