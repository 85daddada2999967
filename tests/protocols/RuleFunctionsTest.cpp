#include "powerdistribution/protocols/RuleFunctions.h"

#include "powerdistribution/protocols/DummyWrapper.h"
#include "powerdistribution/protocols/PaddingConverter.h"
#include "testing/FakeWrapperFactory.h"

#include <gtest/gtest.h>

#include <any>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace {

using namespace velk::powerdistribution;
using namespace velk::powerdistribution::protocols;
using velk::testing::FakePoint;
using velk::testing::FakeWrapper;
using velk::testing::FakeWrapperFactory;

class RuleFunctionsTest : public ::testing::Test {
protected:
    ValueWrapperPtr call(const BuildFunc& function) { return function({path, factory, nullptr, arguments}); }
    Value read(const BuildFunc& function) {
        const auto wrapper = call(function);
        return wrapper ? wrapper->read() : Value{std::string{"null"}};
    }
    /// A build function that counts its calls.
    BuildFunc counted(BuildFunc function) {
        return [this, function = std::move(function)](const Rule::BuildFuncParameters& parameters) {
            ++calls;
            return function(parameters);
        };
    }

    static ValueWrapperPtr nothing(const Rule::BuildFuncParameters&) { return nullptr; }

    const EPath path{ECircuit::Inputs, 1u, EStatus::Used};
    const FakeWrapperFactory factory;
    const std::any argument;
    const std::pair<const std::any*, const std::any*> arguments{&argument, &argument};
    const Value null{std::string{"null"}};
    int calls{0};
};

using MakeIfTest = RuleFunctionsTest;

TEST_F(MakeIfTest, TrueConditionGivesThen) {
    EXPECT_EQ(read(make_if(dummy, make_static(1u))), Value{1u});
    EXPECT_EQ(read(make_if(dummy, make_static(1u), make_static(2u))), Value{1u});
}

TEST_F(MakeIfTest, FailedConditionGivesNullWithoutOtherwise) {
    EXPECT_EQ(read(make_if(nothing, counted(make_static(1u)))), null);
    EXPECT_EQ(read(make_if(nothing, counted(make_static(1u)), counted(make_static(2u)))), null);
    EXPECT_EQ(calls, 0);
}

TEST_F(MakeIfTest, TrueConditionAndNullThenGivesNullOrOtherwise) {
    EXPECT_EQ(read(make_if(dummy, nothing)), null);
    EXPECT_EQ(read(make_if(dummy, nothing, make_static(2u))), Value{2u});
    EXPECT_EQ(read(make_if(dummy, nothing, nothing)), null);
}

TEST_F(MakeIfTest, OtherwiseIsNotAskedWhereThenAnswers) {
    EXPECT_EQ(read(make_if(dummy, make_static(1u), counted(make_static(2u)))), Value{1u});
    EXPECT_EQ(calls, 0);
}

TEST_F(MakeIfTest, ConditionIsNeverRead) {
    const auto point = std::make_shared<FakePoint>();
    const BuildFunc condition = [&](const Rule::BuildFuncParameters&) { return FakeWrapper::on(point); };
    const BuildFunc then = [&](const Rule::BuildFuncParameters& parameters) {
        EXPECT_EQ(point.use_count(), 1) << "the wrapper of the condition is gone";
        return make_static(1u)(parameters);
    };
    EXPECT_EQ(read(make_if(condition, then)), Value{1u});
    EXPECT_EQ(read(make_if(condition, then, nothing)), Value{1u});
    EXPECT_EQ(point->reads(), 0u);
}

TEST_F(MakeIfTest, EmptyFunctionFailsWhenItIsNeeded) {
    EXPECT_THROW(call(make_if({}, make_static(1u))), std::bad_function_call);
    EXPECT_THROW(call(make_if({}, make_static(1u), make_static(2u))), std::bad_function_call);
    EXPECT_THROW(call(make_if(dummy, {})), std::bad_function_call);
    EXPECT_THROW(call(make_if(dummy, nothing, {})), std::bad_function_call);
    EXPECT_EQ(read(make_if(nothing, {})), null);
    EXPECT_EQ(read(make_if(dummy, make_static(1u), {})), Value{1u});
}

using MakeConverterTest = RuleFunctionsTest;

TEST_F(MakeConverterTest, EmptyOrNullFunctionGivesNull) {
    EXPECT_EQ(read(make_negative({})), null);
    EXPECT_EQ(read(make_negative(nothing)), null);
    EXPECT_EQ(read(make_abs(nothing)), null);
    EXPECT_EQ(read(add(BuildFunc{}, make_static(1.0f))), null);
    EXPECT_EQ(read(add(nothing, make_static(1.0f))), null);
    EXPECT_EQ(read(add(make_static(1.0f), nothing)), null);
}

TEST_F(MakeConverterTest, EmptyOperandIsFoundBeforeAnyCall) {
    EXPECT_EQ(read(add(counted(make_static(1.0f)), BuildFunc{})), null);
    EXPECT_EQ(calls, 0);
}

TEST_F(MakeConverterTest, BothFunctionsAreCalledBeforeEitherIsTested) {
    EXPECT_EQ(read(add(counted(nothing), counted(make_static(1.0f)))), null);
    EXPECT_EQ(calls, 2);
}

TEST_F(MakeConverterTest, FurtherArgumentsGoToTheConverter) {
    const auto point = std::make_shared<FakePoint>();
    const BuildFunc name = [&](const Rule::BuildFuncParameters&) { return FakeWrapper::on(point); };
    EXPECT_TRUE(call(make_converter<PaddingConverter>(name, 3u))->write(Value{std::string{"a"}}));
    EXPECT_EQ(point->value(), Value{std::string{"a  "}});
}

TEST_F(RuleFunctionsTest, SignFunctions) {
    EXPECT_EQ(read(make_negative(make_static(5u))), Value{std::int32_t{-5}});
    EXPECT_EQ(read(make_abs(make_static(-5.0f))), Value{5.0f});
}

TEST_F(RuleFunctionsTest, ArithmeticWithAConstantOperand) {
    EXPECT_EQ(read(add(make_static(10.0f), 2.0f)), Value{12.0f});
    EXPECT_EQ(read(mult(make_static(10.0f), 2.0f)), Value{20.0f});
    EXPECT_EQ(read(multWithPercent(make_static(10.0f), 50.0f)), Value{5.0f});
    EXPECT_EQ(read(div(make_static(10.0f), 2.0f)), Value{5.0f});
    EXPECT_EQ(read(posSub(make_static(10.0f), 2.0f)), Value{8.0f});
}

TEST_F(RuleFunctionsTest, ArithmeticWithAnOperandOfTheDevice) {
    EXPECT_EQ(read(add(make_static(10.0f), make_static(2u))), Value{12.0f});
    EXPECT_EQ(read(mult(make_static(10.0f), make_static(2u))), Value{20.0f});
    EXPECT_EQ(read(multWithPercent(make_static(10.0f), make_static(50u))), Value{5.0f});
    EXPECT_EQ(read(div(make_static(10.0f), make_static(2u))), Value{5.0f});
    EXPECT_EQ(read(posSub(make_static(10.0f), make_static(12u))), Value{0.0f});
}

TEST_F(RuleFunctionsTest, DifferenceFromAConstantHasTheConstantAsValue) {
    EXPECT_EQ(read(posSub(100.0f, make_static(30u))), Value{70.0f});
    EXPECT_EQ(read(posSub(100.0f, make_static(130u))), Value{0.0f});
}

TEST_F(RuleFunctionsTest, StaticTextIsPossible) {
    EXPECT_EQ(read(make_static(std::string{"text"})), Value{std::string{"text"}});
}

TEST_F(RuleFunctionsTest, DummyServesThePathWithoutValue) {
    const auto wrapper = call(dummy);
    ASSERT_NE(dynamic_cast<DummyWrapper*>(wrapper.get()), nullptr);
}

} // namespace
