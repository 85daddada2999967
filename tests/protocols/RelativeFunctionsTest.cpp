// Build functions that look up other paths, relative to the one that was asked for.

#include "powerdistribution/protocols/RuleFunctions.h"
#include "testing/FakeWrapperFactory.h"

#include <gtest/gtest.h>

#include <any>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace velk::powerdistribution;
using namespace velk::powerdistribution::protocols;
using velk::testing::FakePoint;
using velk::testing::FakeWrapper;
using velk::testing::FakeWrapperFactory;
using Asked = std::vector<std::string>;

class RelativeFunctionsTest : public ::testing::Test {
protected:
    using Function = ValueWrapperPtr(const Rule::BuildFuncParameters&);
    using RelativeFunction = ValueWrapperPtr(const Rule::BuildFuncParameters&, const EPath&);

    ValueWrapperPtr call(Function& function, const EPath& path) {
        return function({path, factory, nullptr, arguments});
    }
    ValueWrapperPtr call(RelativeFunction& function, const EPath& path, const EPath& relative) {
        return function({path, factory, nullptr, arguments}, relative);
    }

    template <typename Call>
    std::string failureOf(const Call& step) {
        try {
            step();
        } catch (const std::invalid_argument& failure) {
            return failure.what();
        }
        return "no failure";
    }

    FakeWrapperFactory factory;
    const std::any none;
    const std::pair<const std::any*, const std::any*> arguments{&none, &none};
    const EPath output3Used{ECircuit::Outputs, 3u, EStatus::Used};
    const EPath outputsCount{ECircuit::Outputs, EAttribute::Count};
    const EPath supplied{EStatus::Supplied};
    const std::string notInCollection{"Invalid argument: epath does not point to a collection item"};
};

TEST_F(RelativeFunctionsTest, CollectionCountAsksTheCollectionOfTheItem) {
    factory.add(outputsCount, Value{4u});
    const auto wrapper = call(collectionCount, output3Used);
    ASSERT_TRUE(wrapper);
    EXPECT_EQ(wrapper->read(), Value{4u});
}

TEST_F(RelativeFunctionsTest, CollectionCountGoesByTheLastIndex) {
    call(collectionCount, {ECircuit::Inputs, 1u, ECircuit::Phases, 2u, EMeasurement::Voltage});
    EXPECT_EQ(factory.asked(), Asked{"Inputs.1.Phases.Attribute.Count"});
}

TEST_F(RelativeFunctionsTest, CollectionCountIsNullWhereTheDeviceDoesNotCount) {
    EXPECT_FALSE(call(collectionCount, output3Used));
}

TEST_F(RelativeFunctionsTest, PathWithoutIndexFails) {
    const EPath path{ECircuit::Outputs, EStatus::Used};
    EXPECT_EQ(failureOf([&] { call(collectionCount, path); }), notInCollection);
    EXPECT_EQ(failureOf([&] { call(_collectionParent, path, supplied); }), notInCollection);
    EXPECT_EQ(failureOf([&] { call(_collectionParentIfSingleChild, path, supplied); }), notInCollection);
}

TEST_F(RelativeFunctionsTest, PathThatBeginsWithItsOnlyIndexFails) {
    EXPECT_EQ(failureOf([&] { call(collectionCount, {1u, EStatus::Used}); }), notInCollection);
}

TEST_F(RelativeFunctionsTest, RangesAndAnyIndexAreNoIndex) {
    EXPECT_EQ(failureOf([&] {
                  call(collectionCount, {ECircuit::Outputs, velk::common::TAny{}});
              }),
              notInCollection);
    EXPECT_EQ(failureOf([&] {
                  call(collectionCount, {ECircuit::Outputs, velk::common::TRange<unsigned>{1, 2}});
              }),
              notInCollection);
}

TEST_F(RelativeFunctionsTest, CollectionParentReachesTheOwnerOfTheCollection) {
    call(_collectionParent, {ECircuit::Inputs, 1u, ECircuit::Phases, 2u, EMeasurement::Voltage}, supplied);
    EXPECT_EQ(factory.asked(), Asked{"Inputs.1.Status.Supplied"});
}

TEST_F(RelativeFunctionsTest, CollectionParentAtTheTopAsksTheRelativePathAlone) {
    factory.add(supplied, Value{true});
    const auto wrapper = call(_collectionParent, {ECircuit::Inputs, 1u, EStatus::Used}, supplied);
    ASSERT_TRUE(wrapper);
    EXPECT_EQ(wrapper->read(), Value{true});
    EXPECT_EQ(factory.asked(), Asked{"Status.Supplied"});
}

TEST_F(RelativeFunctionsTest, OwnerStandsInForTheOnlyItem) {
    factory.add(outputsCount, Value{1u});
    factory.add(supplied, Value{true});
    EXPECT_TRUE(call(_collectionParentIfSingleChild, output3Used, supplied));
    EXPECT_EQ(factory.asked(), (Asked{"Outputs.Attribute.Count", "Status.Supplied"}));
}

TEST_F(RelativeFunctionsTest, CounterIsLetGoBeforeTheOwnerIsAsked) {
    /// Counts one item, and notes whether the counter was still there when it was asked for anything else.
    class OneItem : public IWrapperFactory {
    public:
        const velk::common::Uuid& protocolUuid() const override { return velk::common::Uuid::NIL; }
        ValueWrapperPtr buildWrapper(const EPath& path) const override {
            if (path.lastNode() == EAttribute::Count) {
                return FakeWrapper::on(counter);
            }
            holdersThen = counter.use_count();
            return FakeWrapper::of(true);
        }
        const std::shared_ptr<FakePoint> counter = std::make_shared<FakePoint>(Value{1u});
        mutable long holdersThen{0};
    };

    const OneItem device;
    EXPECT_TRUE(_collectionParentIfSingleChild({output3Used, device, nullptr, arguments}, supplied));
    EXPECT_EQ(device.holdersThen, 1);
}

TEST_F(RelativeFunctionsTest, OwnerDoesNotStandInOtherwise) {
    factory.add(supplied, Value{true});
    EXPECT_FALSE(call(_collectionParentIfSingleChild, output3Used, supplied)) << "no count";
    for (const Value& count : {Value{}, Value{2u}, Value{0u}, Value{std::int32_t{1}}, Value{1.0f}}) {
        factory.add(outputsCount, count);
        EXPECT_FALSE(call(_collectionParentIfSingleChild, output3Used, supplied)) << count;
    }
    EXPECT_EQ(factory.askedFor(supplied), 0u);
}

TEST_F(RelativeFunctionsTest, EveryMeasureConditionAsksForItsMeasureBesideThePath) {
    const std::vector<std::pair<Function*, std::string>> conditions{
        {hasTemperatureMeasure, "Measure.Temperature"}, {hasVoltageLLMeasure, "Phases.1.Measure.VoltageLL"},
        {hasVoltageMeasure, "Measure.Voltage"},         {hasReactivePowerMeasure, "Measure.ReactivePower"},
        {hasPowerFactorMeasure, "Measure.PowerFactor"}, {hasPercentLoadMeasure, "Measure.PercentLoad"},
        {hasFrequencyMeasure, "Measure.Frequency"},     {hasEfficiencyMeasure, "Measure.Efficiency"},
        {hasCurrentMeasure, "Measure.Current"},         {hasApparentPowerMeasure, "Measure.ApparentPower"},
        {hasActivePowerMeasure, "Measure.ActivePower"},
    };
    for (const auto& [condition, measure] : conditions) {
        factory.forgetAsked();
        EXPECT_FALSE(call(*condition, output3Used));
        EXPECT_EQ(factory.asked(), Asked{"Outputs.3." + measure});
    }
}

TEST_F(RelativeFunctionsTest, MeasureConditionGivesTheWrapperThatIsThere) {
    factory.add({ECircuit::Outputs, 3u, EMeasurement::Voltage}, Value{230.0f});
    EXPECT_TRUE(call(hasVoltageMeasure, output3Used));
}

TEST_F(RelativeFunctionsTest, MeasureConditionOnOneNodeAsksTheMeasureAlone) {
    call(hasCurrentMeasure, {EStatus::Used});
    EXPECT_EQ(factory.asked(), Asked{"Measure.Current"});
}

TEST_F(RelativeFunctionsTest, MeasureConditionOnAnEmptyPathFails) {
    EXPECT_EQ(failureOf([&] { call(hasCurrentMeasure, {}); }),
              "Invalid argument: epath depth of at least1 expected");
}

} // namespace
