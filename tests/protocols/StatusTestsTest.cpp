#include "powerdistribution/protocols/StatusTests.h"

#include "testing/FakeWrapper.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using namespace velk::powerdistribution;
using namespace velk::powerdistribution::handlers;
using protocols::ValueWrapperPtr;
using velk::testing::FakePoint;
using velk::testing::FakeWrapper;

struct Outcome {
    bool result;
    std::string said;

    friend bool operator==(const Outcome&, const Outcome&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
        return stream << outcome.result << ' ' << outcome.said;
    }
};

Outcome outcomeOf(bool (&test)(const ValueWrapperPtr&), const ValueWrapperPtr& wrapper) {
    ::testing::internal::CaptureStderr();
    const bool result = test(wrapper);
    return {result, ::testing::internal::GetCapturedStderr()};
}

Outcome outcomeOf(bool (&test)(const ValueWrapperPtr&), Value value) {
    return outcomeOf(test, FakeWrapper::of(std::move(value)));
}

ValueWrapperPtr failing() {
    const auto point = std::make_shared<FakePoint>();
    point->throwOnRead("bus error");
    return FakeWrapper::on(point);
}

const Outcome YES{true, ""};
const Outcome NO{false, ""};

TEST(StatusTestsTest, CommunicationIsGoodAtTwo) {
    EXPECT_EQ(outcomeOf(isComOk, Value{2u}), YES);
    EXPECT_EQ(outcomeOf(isComOk, Value{3u}), NO);
    EXPECT_EQ(outcomeOf(isComOk, Value{4u}), NO);
    EXPECT_EQ(outcomeOf(isComOk, Value{}), NO);
}

TEST(StatusTestsTest, CommunicationTellsItsFailures) {
    const std::string start = "FATAL ERROR - while accessing the CommunicationState status: exception ";
    EXPECT_EQ(outcomeOf(isComOk, nullptr),
              (Outcome{false, start + "No wrapper defined for CommunicationState\n"}));
    EXPECT_EQ(outcomeOf(isComOk, Value{std::int32_t{2}}), (Outcome{false, start + "Unexpected index\n"}));
    EXPECT_EQ(outcomeOf(isComOk, failing()), (Outcome{false, start + "bus error\n"}));
}

TEST(StatusTestsTest, StatusIsABoolThatIsTrue) {
    EXPECT_EQ(outcomeOf(isBoolStatus, Value{true}), YES);
    EXPECT_EQ(outcomeOf(isBoolStatus, Value{false}), NO);
    EXPECT_EQ(outcomeOf(isBoolStatus, Value{}), NO);
}

TEST(StatusTestsTest, StatusTellsItsFailures) {
    const std::string start = "FATAL ERROR - while accessing one status: exception ";
    EXPECT_EQ(outcomeOf(isBoolStatus, nullptr), (Outcome{false, start + "No wrapper defined\n"}));
    EXPECT_EQ(outcomeOf(isBoolStatus, Value{1u}), (Outcome{false, start + "Unexpected index\n"}));
    EXPECT_EQ(outcomeOf(isBoolStatus, failing()), (Outcome{false, start + "bus error\n"}));
}

TEST(StatusTestsTest, DeviceIsOnBatteryAtThree) {
    EXPECT_EQ(outcomeOf(isOnBattery, Value{3u}), YES);
    EXPECT_EQ(outcomeOf(isOnBattery, Value{2u}), NO);
    EXPECT_EQ(outcomeOf(isOnBattery, Value{}), NO);
}

TEST(StatusTestsTest, OnBatteryTellsItsFailures) {
    const std::string start = "FATAL ERROR - while accessing the onBatteryState status: exception ";
    EXPECT_EQ(outcomeOf(isOnBattery, nullptr),
              (Outcome{false, start + "No wrapper defined for onBatteryState\n"}));
    EXPECT_EQ(outcomeOf(isOnBattery, Value{true}), (Outcome{false, start + "Unexpected index\n"}));
    EXPECT_EQ(outcomeOf(isOnBattery, failing()), (Outcome{false, start + "bus error\n"}));
}

TEST(StatusTestsTest, WhatIsNoStandardExceptionPasses) {
    class Odd : public FakeWrapper {
    public:
        Odd() : FakeWrapper{std::make_shared<FakePoint>()} {}
        Value read() const override { throw 42; }
    };
    EXPECT_THROW(isComOk(std::make_unique<Odd>()), int);
    EXPECT_THROW(isBoolStatus(std::make_unique<Odd>()), int);
    EXPECT_THROW(isOnBattery(std::make_unique<Odd>()), int);
}

} // namespace
