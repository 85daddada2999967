#include "powerdistribution/connectors/WriteGroup.h"

#include "testing/FakeTessAccessor.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace velk::powerdistribution::connectors {
namespace {

using Calls = std::vector<std::string>;

/// Three channels of texts, which are 1000, 1001 and 1002.
class WriteGroupTest : public ::testing::Test {
protected:
    WriteGroupTest() {
        store.addDevice(20, velk::common::Uuid{"00000000-0000-4000-8000-000000000020"}, 1);
        for (const char* name : {"a", "b", "c"}) {
            inBand.addChannel(20, name);
        }
    }

    void addTexts() {
        group.add(1000, qz::CValue{std::string{"one"}});
        group.add(1001, qz::CValue{std::string{"two"}});
        group.add(1002, qz::CValue{std::string{"three"}});
    }

    std::string textOf(const std::string& name) const {
        const qz::CValue value = inBand.channel(20, name).value;
        return value.isValid() ? value.as_string() : "nothing";
    }

    testing::FakeTessAccessor store;
    testing::FakeInBandAccessor& inBand{store.inbandAccessor()};
    WriteGroup group;
};

TEST_F(WriteGroupTest, WhatWaitedIsInTheStoreAfterOneCall) {
    group.run(inBand, [this] {
        addTexts();
        EXPECT_TRUE(store.calls().empty());
    });
    EXPECT_EQ(Calls{"setChannelCValues(1000=one 1001=two 1002=three)"}, store.calls());
}

TEST_F(WriteGroupTest, WithoutAnythingToWriteTheStoreIsNotCalled) {
    group.run(inBand, [] {});
    EXPECT_TRUE(store.calls().empty());
}

TEST_F(WriteGroupTest, AValueThatFailsInTheMiddleTakesNoOtherAlong) {
    const auto run = [this] {
        group.run(inBand, [this] {
            group.add(1000, qz::CValue{std::string{"one"}});
            group.add(1001, qz::CValue{2.0f});
            group.add(1002, qz::CValue{std::string{"three"}});
        });
    };
    EXPECT_THROW(run(), std::invalid_argument);
    EXPECT_EQ("one", textOf("a"));
    EXPECT_EQ("nothing", textOf("b"));
    EXPECT_EQ("three", textOf("c"));
}

TEST_F(WriteGroupTest, OfSeveralFailuresTheFirstIsTold) {
    try {
        group.run(inBand, [this] {
            group.add(999, qz::CValue{std::string{"gone"}});
            group.add(1001, qz::CValue{2.0f});
        });
        FAIL() << "written";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ("channel 999 is gone", error.what());
    }
}

TEST_F(WriteGroupTest, AStoreThatIsAwayIsNotAskedForEachValue) {
    store.faults().failOn("setChannelCValues");
    store.faults().failOn("setChannelCValue");
    EXPECT_THROW(group.run(inBand, [this] { addTexts(); }), boost::system::system_error);
    EXPECT_EQ(Calls{"setChannelCValue(1000, one)"}, store.calls("setChannelCValue("));
}

TEST_F(WriteGroupTest, AFailureIsForgottenOnceItWasThrown) {
    store.faults().failOn("setChannelCValues");
    store.faults().failOn("setChannelCValue");
    EXPECT_THROW(group.run(inBand, [this] { addTexts(); }), boost::system::system_error);
    store.faults().recover();
    EXPECT_NO_THROW(group.run(inBand, [this] { group.add(1001, qz::CValue{std::string{"again"}}); }));
    EXPECT_EQ("nothing", textOf("a")) << "what failed does not wait on";
    EXPECT_EQ("again", textOf("b"));
}

TEST_F(WriteGroupTest, WorkThatFailsLeavesWhatItHasStoredInTheStore) {
    const auto run = [this] {
        group.run(inBand, [this] {
            addTexts();
            throw std::out_of_range{"the work"};
        });
    };
    EXPECT_THROW(run(), std::out_of_range);
    EXPECT_EQ("three", textOf("c"));
    EXPECT_FALSE(group.isOpenHere());
}

TEST_F(WriteGroupTest, ALargeGroupGoesInParts) {
    group.run(inBand, [this] {
        for (int i = 0; i < 130; ++i) {
            group.add(1000, qz::CValue{std::to_string(i)});
        }
        EXPECT_EQ(1u, store.calls().size());
        EXPECT_EQ("127", textOf("a"));
    });
    EXPECT_EQ(2u, store.calls().size());
    EXPECT_EQ("setChannelCValues(1000=128 1000=129)", store.calls().back());
}

TEST_F(WriteGroupTest, SettlingWritesAllThatWaitsIfTheChannelIsAmongIt) {
    group.run(inBand, [this] {
        group.add(1000, qz::CValue{std::string{"one"}});
        group.settle(1001);
        EXPECT_EQ("nothing", textOf("a"));
        group.settle(1000);
        EXPECT_EQ("one", textOf("a"));
        group.settle(1000);
    });
    EXPECT_EQ(1u, store.calls().size());
}

TEST_F(WriteGroupTest, ConfigurationsLabelsAndTextsComeBeforeTheValuesOfTheirGroup) {
    group.run(inBand, [this] {
        group.add(1000, qz::CValue{std::string{"one"}});
        group.add(1001, WriteGroup::AlarmConfig{});
        group.add(1001, qz::CMultistateMap{});
        group.add(20, tessapi::DeviceAttribute::model, "M2");
        group.settleValue(1001);
        EXPECT_TRUE(store.calls().empty()) << "that value does not wait";
    });
    EXPECT_EQ((Calls{"setDeviceAttribute(20, 5, M2)", "setChannelAlarmConfig(1001, 0)",
                     "setChannelMultistateMap(1001, 0)", "setChannelCValues(1000=one)"}),
              store.calls());
}

TEST_F(WriteGroupTest, AConfigurationStaysBehindAValueOfItsChannel) {
    group.run(inBand, [this] {
        group.add(1000, qz::CValue{std::string{"one"}});
        group.add(1000, WriteGroup::AlarmConfig{});
    });
    EXPECT_EQ((Calls{"setChannelCValues(1000=one)", "setChannelAlarmConfig(1000, 0)"}), store.calls());
}

TEST_F(WriteGroupTest, LabelsStayBehindAValueOfTheirChannel) {
    group.run(inBand, [this] {
        group.add(1000, qz::CValue{std::string{"one"}});
        group.add(1000, qz::CMultistateMap{});
    });
    EXPECT_EQ((Calls{"setChannelCValues(1000=one)", "setChannelMultistateMap(1000, 0)"}), store.calls());
}

TEST_F(WriteGroupTest, AConfigurationIsSettledBeforeItsChannelIsWritten) {
    group.run(inBand, [this] {
        group.add(1001, WriteGroup::AlarmConfig{});
        group.settle(1000);
        EXPECT_TRUE(store.calls().empty());
        group.settle(1001);
        EXPECT_EQ(Calls{"setChannelAlarmConfig(1001, 0)"}, store.calls());
    });
}

TEST_F(WriteGroupTest, ATextIsSettledByItself) {
    group.run(inBand, [this] {
        group.add(20, tessapi::DeviceAttribute::model, "M2");
        group.settle(20, tessapi::DeviceAttribute::vendor);
        group.settle(21, tessapi::DeviceAttribute::model);
        EXPECT_TRUE(store.calls().empty());
        group.settle(20, tessapi::DeviceAttribute::model);
        EXPECT_EQ(Calls{"setDeviceAttribute(20, 5, M2)"}, store.calls());
    });
}

TEST_F(WriteGroupTest, AConfigurationThatFailedIsWrittenWithTheNextGroupAndAValueIsNot) {
    for (const char* call : {"setChannelAlarmConfig", "setChannelMultistateMap", "setChannelCValue"}) {
        store.faults().failOn(call);
    }
    const auto first = [this] {
        group.run(inBand, [this] {
            group.add(1000, WriteGroup::AlarmConfig{});
            group.add(1000, qz::CMultistateMap{});
            group.add(1000, qz::CValue{std::string{"one"}});
        });
    };
    EXPECT_THROW(first(), boost::system::system_error);
    store.faults().recover();
    store.forgetCalls();
    EXPECT_NO_THROW(group.run(inBand, [] {}));
    EXPECT_EQ((Calls{"setChannelAlarmConfig(1000, 0)", "setChannelMultistateMap(1000, 0)"}), store.calls());
    store.forgetCalls();
    group.run(inBand, [] {});
    EXPECT_TRUE(store.calls().empty()) << "once";
}

TEST_F(WriteGroupTest, AConfigurationThatFailedComesBeforeWhatIsWrittenToItsChannelLater) {
    store.faults().failOn("setChannelAlarmConfig");
    EXPECT_ANY_THROW(group.run(inBand, [this] { group.add(1000, WriteGroup::AlarmConfig{}); }));
    store.faults().recover();
    store.forgetCalls();
    group.settle(1001);
    EXPECT_TRUE(store.calls().empty());
    group.settle(1000);
    EXPECT_EQ(Calls{"setChannelAlarmConfig(1000, 0)"}, store.calls());
}

TEST_F(WriteGroupTest, AConfigurationThatIsRefusedAgainAndAgainWaitsOnce) {
    for (const char* call : {"setChannelAlarmConfig", "setChannelMultistateMap"}) {
        store.faults().failOn(call);
    }
    const auto configure = [this] {
        group.run(inBand, [this] {
            group.add(1000, WriteGroup::AlarmConfig{});
            group.add(1000, qz::CMultistateMap{});
            group.add(1001, WriteGroup::AlarmConfig{});
        });
    };
    EXPECT_ANY_THROW(configure());
    EXPECT_ANY_THROW(configure());
    EXPECT_ANY_THROW(configure());
    store.faults().recover();
    store.forgetCalls();
    group.run(inBand, [] {});
    EXPECT_EQ((Calls{"setChannelAlarmConfig(1000, 0)", "setChannelAlarmConfig(1001, 0)",
                     "setChannelMultistateMap(1000, 0)"}),
              store.calls());
}

TEST_F(WriteGroupTest, AConfigurationThatFailedDoesNotFollowANewerOne) {
    for (const char* call : {"setChannelAlarmConfig", "setChannelMultistateMap"}) {
        store.faults().failOn(call);
    }
    EXPECT_ANY_THROW(group.run(inBand, [this] {
        group.add(1000, WriteGroup::AlarmConfig{});
        group.add(1000, qz::CMultistateMap{});
        group.add(1001, WriteGroup::AlarmConfig{});
        group.add(1001, qz::CMultistateMap{});
    }));
    group.supersede(1000, true);
    group.supersede(1001, false);
    store.faults().recover();
    store.forgetCalls();
    group.supersede(1000, true); // nothing of it waits
    EXPECT_TRUE(store.calls().empty());
    group.run(inBand, [] {});
    EXPECT_EQ(Calls{"setChannelMultistateMap(1001, 0)"}, store.calls());
}

TEST_F(WriteGroupTest, WhatWaitsForAChannelIsWrittenBeforeItsNewConfiguration) {
    group.run(inBand, [this] {
        group.add(1000, qz::CValue{std::string{"one"}});
        group.supersede(1000, true);
        EXPECT_EQ("one", textOf("a"));
    });
    EXPECT_EQ(1u, store.calls().size());
}

TEST_F(WriteGroupTest, OtherThreadsDoNotWait) {
    bool isOpenThere = true;
    group.run(inBand, [&] {
        EXPECT_TRUE(group.isOpenHere());
        std::thread{[&] { isOpenThere = group.isOpenHere(); }}.join();
    });
    EXPECT_FALSE(isOpenThere);
}

TEST_F(WriteGroupTest, AFailureIsToldToTheThreadWhoseValueItIs) {
    const auto run = [this] {
        group.run(inBand, [this] {
            group.add(1001, qz::CValue{2.0f});
            std::thread{[this] { EXPECT_NO_THROW(group.settle(1001)); }}.join();
            EXPECT_EQ(1u, store.calls("setChannelCValues").size());
            group.settle(1001);
            ADD_FAILURE() << "the failure was not told";
        });
    };
    EXPECT_THROW(run(), std::invalid_argument);
}

TEST_F(WriteGroupTest, ARunInsideOfARunIsAPartOfIt) {
    group.run(inBand, [this] {
        group.add(1000, qz::CValue{std::string{"one"}});
        group.run(inBand, [this] { group.add(1001, qz::CValue{std::string{"two"}}); });
        EXPECT_TRUE(store.calls().empty());
    });
    EXPECT_EQ(Calls{"setChannelCValues(1000=one 1001=two)"}, store.calls());
}

} // namespace
} // namespace velk::powerdistribution::connectors
