#include "powerdistribution/connectors/ConnectorContainer.h"

#include "powerdistribution/connectors/HandlerData.h"
#include "powerdistribution/connectors/ITessConnector.h"
#include "powerdistribution/connectors/TessResources.h"
#include "testing/CallLog.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>

namespace velk::powerdistribution::connectors {
namespace {

using handlers::HandlerData;
using testing::CallLog;
using Channels = TessResources::Channels;

/// A connector of which only its end matters.
class Mortal : public ITessConnector {
public:
    explicit Mortal(std::function<void()> atEnd) : end{std::move(atEnd)} {}
    ~Mortal() override { end(); }
    void init() override {}
    void terminate() override {}
    void subscribe(const HandlerData&, IConnectorListener*, const SubscriptionOptions&) override {}
    void unsubscribe(const HandlerData&, IConnectorListener*) override {}
    void load(HandlerData&) const override {}
    void store(const HandlerData&) override {}
    TessResources getResourcesInUse() const override { return {}; }

private:
    const std::function<void()> end;
};

class ConnectorContainerTest : public ::testing::Test {
protected:
    ConnectorPtr add(const std::string& name) {
        return container.add(std::make_shared<Mortal>([this, name] { log.add(name); }));
    }

    std::vector<const IConnector*> contents() const {
        std::vector<const IConnector*> list;
        container.for_each([&](const ConnectorPtr& connector) { list.push_back(connector.get()); });
        return list;
    }

    CallLog log;
    ConnectorContainer container;
};

TEST_F(ConnectorContainerTest, TheLastHandleEndsTheConnectorAndItsPlaceInTheList) {
    ConnectorPtr handle = add("a");
    EXPECT_EQ(1u, container.size());
    handle.reset();
    EXPECT_EQ(std::vector<std::string>{"a"}, log.calls());
    EXPECT_EQ(0u, container.size());
}

TEST_F(ConnectorContainerTest, AConnectorSurvivesTheFirstOfTwoHandles) {
    ConnectorPtr first = add("a");
    ConnectorPtr second = first;
    first.reset();
    EXPECT_TRUE(log.calls().empty());
    EXPECT_EQ(1u, container.size());
    second.reset();
    EXPECT_EQ(1u, log.calls().size());
}

TEST_F(ConnectorContainerTest, TheListKeepsTheOrderOfThoseThatRemain) {
    const ConnectorPtr first = add("a");
    ConnectorPtr second = add("b");
    const ConnectorPtr third = add("c");
    const ConnectorPtr fourth = add("d");
    second.reset();
    EXPECT_EQ((std::vector<const IConnector*>{first.get(), third.get(), fourth.get()}), contents());
}

TEST_F(ConnectorContainerTest, AConnectorEndsWithTheContainersLockReleased) {
    std::size_t sizeAtEnd = 99;
    ConnectorPtr handle = container.add(std::make_shared<Mortal>([&] { sizeAtEnd = container.size(); }));
    handle.reset();
    EXPECT_EQ(0u, sizeAtEnd);
}

TEST_F(ConnectorContainerTest, RemovingAConnectorThatIsNotThereChangesNothing) {
    const ConnectorPtr kept = add("a");
    Mortal stranger{[] {}};
    container.removeConnector(&stranger);
    container.removeConnector(nullptr);
    EXPECT_EQ(1u, container.size());
}

TEST_F(ConnectorContainerTest, ForEachGivesItsVisitorBack) {
    const ConnectorPtr first = add("a");
    const ConnectorPtr second = add("b");
    int calls = 0;
    const auto visitor = container.for_each([&](const ConnectorPtr&) { ++calls; });
    EXPECT_EQ(2, calls);
    visitor(first);
    EXPECT_EQ(3, calls);
}

TEST_F(ConnectorContainerTest, AnEmptyVisitorFailsOnlyWhenThereIsAConnector) {
    EXPECT_NO_THROW(container.for_each({}));
    const ConnectorPtr handle = add("a");
    EXPECT_THROW(container.for_each({}), std::bad_function_call);
}

TEST(TessResourcesTest, AddingAKnownDeviceLeavesItsChannels) {
    TessResources resources;
    resources.add(7, Channels{1, 2});
    resources.add(7);
    resources.add(8);
    EXPECT_EQ((TessResources::Map{{7, {1, 2}}, {8, {}}}), resources.resources());
}

TEST(TessResourcesTest, ChannelsAreAppendedWithTheirDuplicates) {
    TessResources resources;
    const Channels channels{1, 2};
    resources.add(7, channels);
    resources.add(7, channels);
    resources.add(7, std::uint64_t{9});
    resources.add(7, Channels{3});
    EXPECT_EQ((Channels{1, 2, 1, 2, 9, 3}), resources.resources().at(7));
}

TEST(TessResourcesTest, AddingOthersJoinsThem) {
    TessResources others;
    others.add(7, Channels{3});
    others.add(8, Channels{4});
    TessResources resources;
    resources.add(7, Channels{1});
    resources.add(others);
    resources.add(std::move(others));
    EXPECT_EQ((TessResources::Map{{7, {1, 3, 3}}, {8, {4, 4}}}), resources.resources());
}

TEST(TessResourcesTest, AddingAnEmptyOneChangesNothing) {
    TessResources resources;
    resources.add(7, Channels{1});
    resources.add(TessResources{});
    const TessResources empty;
    resources.add(empty);
    EXPECT_EQ((TessResources::Map{{7, {1}}}), resources.resources());
}

TEST(TessResourcesTest, ItsMapHasTheDefaultLoadFactor) {
    EXPECT_FLOAT_EQ(1.0f, TessResources{}.resources().max_load_factor());
}

std::string printed(const HandlerData& data) {
    std::ostringstream stream;
    stream << data;
    return stream.str();
}

TEST(HandlerDataTest, PrintsPathAndValueWithoutConfiguration) {
    const HandlerData data{{ECircuit::Inputs, 1u, EStatus::Mode}, Value{3u}, {AlarmConfig{}, true, true}};
    EXPECT_EQ("HandlerData(path=Inputs.1.Status.Mode, value=3)", printed(data));
}

TEST(HandlerDataTest, PrintsEmptyForNoValue) {
    EXPECT_EQ("HandlerData(path=Status.Mode, value=empty)", printed({{EStatus::Mode}, {}, {}}));
    EXPECT_EQ("HandlerData(path=Null, value=empty)", printed({}));
}

} // namespace
} // namespace velk::powerdistribution::connectors
