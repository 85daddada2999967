#include "powerdistribution/handlers/BaseHandler.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace velk::powerdistribution::handlers {
namespace {

/// Writes its name into a list for each value that it hears of.
class NamedObserver : public IHandlerObserver {
public:
    explicit NamedObserver(std::string observerName = {}, std::vector<std::string>* list = nullptr) :
        name{std::move(observerName)}, heard{list} {}
    void onValueChanged(const Value&) override { heard->push_back(name); }

private:
    std::string name;
    std::vector<std::string>* heard;
};

class TellingHandler : public BaseHandler {
public:
    using BaseHandler::BaseHandler;
    void tell() const { notifyObservers(Value{1u}); }
};

/// The observers that were the first in this process to be registered and to be unregistered.
std::vector<std::string> heard;
NamedObserver firstRegistered{"first registered", &heard};
NamedObserver firstUnregistered{"first unregistered", &heard};

// Before any test runs, so that the targets of the process are known whatever tests are chosen.
const bool targetsAreFixed = [] {
    BaseHandler handler{EPath{}};
    handler.registerObserver(firstRegistered);
    handler.unregisterObserver(firstUnregistered);
    return true;
}();

class BaseHandlerTest : public ::testing::Test {
protected:
    BaseHandlerTest() { heard.clear(); }

    std::vector<std::string> told() const {
        heard.clear();
        handler.tell();
        return heard;
    }

    TellingHandler handler{EPath{ECircuit::Inputs, 1u}};
    NamedObserver one{"one", &heard};
    NamedObserver two{"two", &heard};
};

using Names = std::vector<std::string>;

TEST_F(BaseHandlerTest, KeepsItsPath) {
    EXPECT_EQ(handler.epath().nodesToString(), EPath({ECircuit::Inputs, 1u}).nodesToString());
}

TEST_F(BaseHandlerTest, TellsObserversInTheOrderOfRegistration) {
    ASSERT_TRUE(targetsAreFixed);
    handler.registerObserver(two);
    handler.registerObserver(one);
    EXPECT_EQ(told(), (Names{"two", "one"}));
}

TEST_F(BaseHandlerTest, DropsASecondObserverWhereTheFirstOneOfTheProcessIsRegistered) {
    handler.registerObserver(firstRegistered);
    handler.registerObserver(one);
    EXPECT_EQ(told(), Names{"first registered"});
}

TEST_F(BaseHandlerTest, AddsAnObserverAgainWhereTheFirstOneOfTheProcessIsNotRegistered) {
    handler.registerObserver(one);
    handler.registerObserver(two);
    handler.registerObserver(one);
    EXPECT_EQ(told(), (Names{"one", "two", "one"}));
}

TEST_F(BaseHandlerTest, UnregisteringCutsTheListAtTheFirstOneEverUnregistered) {
    handler.registerObserver(one);
    handler.registerObserver(firstUnregistered);
    handler.registerObserver(two);
    handler.unregisterObserver(firstUnregistered);
    EXPECT_EQ(told(), Names{"one"});
}

TEST_F(BaseHandlerTest, UnregisteringAnotherObserverRemovesTheTargetAndLeavesTheArgument) {
    handler.registerObserver(one);
    handler.registerObserver(firstUnregistered);
    handler.unregisterObserver(one);
    EXPECT_EQ(told(), Names{"one"});
}

TEST_F(BaseHandlerTest, UnregisteringWithoutTheTargetChangesNothing) {
    handler.registerObserver(one);
    handler.registerObserver(two);
    handler.unregisterObserver(one);
    EXPECT_EQ(told(), (Names{"one", "two"}));
}

TEST_F(BaseHandlerTest, ATargetThatIsGoneIsOnlyAnAddress) {
    // The targets outlive nothing here, but a handler that never held them must bear any order of calls.
    TellingHandler fresh{EPath{}};
    fresh.unregisterObserver(one);
    fresh.registerObserver(one);
    heard.clear();
    fresh.tell();
    EXPECT_EQ(heard, Names{"one"});
}

} // namespace
} // namespace velk::powerdistribution::handlers
