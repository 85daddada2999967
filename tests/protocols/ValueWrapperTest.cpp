#include "powerdistribution/protocols/ConcatenatedStringWrapper.h"
#include "powerdistribution/protocols/ConstROValueWrapper.h"
#include "powerdistribution/protocols/DummyWrapper.h"
#include "powerdistribution/protocols/ROValueWrapper.h"
#include "powerdistribution/protocols/RWValueWrapper.h"
#include "powerdistribution/protocols/WOValueWrapper.h"
#include "testing/FakeWrapper.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <type_traits>

namespace {

using namespace velk::powerdistribution;
using namespace velk::powerdistribution::protocols;
using velk::testing::FakePoint;
using velk::testing::FakeWrapper;

void expectNoConfig(const IValueWrapper& wrapper) {
    const DataConfig config = wrapper.dataConfig();
    EXPECT_FALSE(config.alarmConfig.has_value());
    EXPECT_FALSE(config.channelOption);
    EXPECT_FALSE(config.alarmConfigChanged);
}

class Register : public RWValueWrapper {
public:
    Value read() const override { return content; }
    bool write(const Value& value) override {
        content = value;
        return true;
    }

private:
    Value content{7u};
};

class Sensor : public ROValueWrapper {
public:
    Value read() const override { return 7u; }
};

class Button : public WOValueWrapper {
public:
    bool write(const Value& value) override { return value.holds<bool>(); }
};

TEST(RWValueWrapperTest, IsReadableAndWritableWithoutConfiguration) {
    Register wrapper;
    EXPECT_TRUE(wrapper.isReadable());
    EXPECT_TRUE(wrapper.isWritable());
    expectNoConfig(wrapper);
}

TEST(ROValueWrapperTest, RefusesWrites) {
    Sensor wrapper;
    EXPECT_TRUE(wrapper.isReadable());
    EXPECT_FALSE(wrapper.isWritable());
    EXPECT_FALSE(wrapper.write(Value{8u}));
    EXPECT_EQ(wrapper.read(), Value{7u});
    expectNoConfig(wrapper);
}

TEST(WOValueWrapperTest, ReadsAsEmpty) {
    Button wrapper;
    EXPECT_FALSE(wrapper.isReadable());
    EXPECT_TRUE(wrapper.isWritable());
    EXPECT_EQ(wrapper.read(), Value{});
    EXPECT_TRUE(wrapper.write(Value{true}));
    expectNoConfig(wrapper);
}

TEST(DummyWrapperTest, IsPresentAndNothingElse) {
    DummyWrapper wrapper;
    EXPECT_FALSE(wrapper.isReadable());
    EXPECT_FALSE(wrapper.isWritable());
    EXPECT_EQ(wrapper.read(), Value{});
    EXPECT_FALSE(wrapper.write(Value{1u}));
    expectNoConfig(wrapper);
}

TEST(ConstROValueWrapperTest, FloatIsReadableAndNotWritable) {
    ConstROValueWrapper<float> wrapper{12.5f};
    EXPECT_TRUE(wrapper.isReadable());
    EXPECT_FALSE(wrapper.isWritable());
    EXPECT_FALSE(wrapper.write(Value{1.0f}));
    EXPECT_EQ(wrapper.read(), Value{12.5f});
    expectNoConfig(wrapper);
}

TEST(ConstROValueWrapperTest, EveryTypeReadsAsItsOwnAlternative) {
    EXPECT_EQ(ConstROValueWrapper<bool>{true}.read(), Value{true});
    EXPECT_EQ(ConstROValueWrapper<std::int32_t>{-3}.read(), Value{std::int32_t{-3}});
    EXPECT_EQ(ConstROValueWrapper<std::uint32_t>{3u}.read(), Value{3u});
    EXPECT_EQ(ConstROValueWrapper<float>{0.5f}.read(), Value{0.5f});
    EXPECT_EQ(ConstROValueWrapper<std::string>{"text"}.read(), Value{std::string{"text"}});
}

TEST(ConstROValueWrapperTest, StringViewReadsAsAnOwnedString) {
    static const std::string text{"viewed"};
    const ConstROValueWrapper<std::string_view> wrapper{std::string_view{text}};
    EXPECT_EQ(wrapper.read(), Value{std::string{"viewed"}});
}

TEST(ConstROValueWrapperTest, TakesALastingCopyOfItsConstant) {
    std::string text{"before"};
    const ConstROValueWrapper<std::string> wrapper{text};
    text = "after";
    EXPECT_EQ(wrapper.read(), Value{std::string{"before"}});
}

Value concatenation(const Value& first, const Value& second) {
    return ConcatenatedStringWrapper{FakeWrapper::of(first), FakeWrapper::of(second)}.read();
}

TEST(ConcatenatedStringWrapperTest, PutsOneBlankBetweenTwoParts) {
    EXPECT_EQ(concatenation(std::string{"A"}, std::string{"B"}), Value{std::string{"A B"}});
}

TEST(ConcatenatedStringWrapperTest, EmptyPartLeavesNoBlank) {
    EXPECT_EQ(concatenation(std::string{}, std::string{"B"}), Value{std::string{"B"}});
    EXPECT_EQ(concatenation(std::string{"A"}, std::string{}), Value{std::string{"A"}});
}

TEST(ConcatenatedStringWrapperTest, WhatIsNoStringCountsAsEmptyPart) {
    EXPECT_EQ(concatenation({}, std::string{"B"}), Value{std::string{"B"}});
    EXPECT_EQ(concatenation(std::string{"A"}, Value{5u}), Value{std::string{"A"}});
}

TEST(ConcatenatedStringWrapperTest, AlwaysGivesAString) {
    EXPECT_EQ(concatenation({}, {}), Value{std::string{}});
}

TEST(ConcatenatedStringWrapperTest, ReadsBothPartsEveryTimeAndCannotBeWritten) {
    const auto first = std::make_shared<FakePoint>(Value{std::string{"A"}});
    const auto second = std::make_shared<FakePoint>(Value{std::string{"B"}});
    ConcatenatedStringWrapper wrapper{FakeWrapper::on(first), FakeWrapper::on(second)};
    wrapper.read();
    second->setValue(std::string{"C"});
    EXPECT_EQ(wrapper.read(), Value{std::string{"A C"}});
    EXPECT_EQ(first->reads(), 2u);
    EXPECT_EQ(second->reads(), 2u);
    EXPECT_FALSE(wrapper.write(Value{std::string{"D"}}));
}

} // namespace
