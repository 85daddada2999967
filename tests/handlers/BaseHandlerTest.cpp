#include "powerdistribution/handlers/BaseHandler.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace velk::powerdistribution::handlers {
namespace {

/// Writes its name into a list for each value that it hears of.
class NamedObserver : public IHandlerObserver {
public:
    NamedObserver(const char* observerName, std::vector<std::string>* list) :
        name{observerName}, heard{list} {}
    void onValueChanged(const Value&) override { heard->emplace_back(name); }

private:
    const char* name;
    std::vector<std::string>* heard;
};

class TellingHandler : public BaseHandler {
public:
    using BaseHandler::BaseHandler;
    void tell() const { notifyObservers(Value{1u}); }
};

/// Memory that a test can take away for a while: whoever looks at it then ends the program.
class TakenMemory {
public:
    TakenMemory() :
        size{static_cast<std::size_t>(sysconf(_SC_PAGESIZE))},
        memory{mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)} {}
    std::byte* begin() const { return static_cast<std::byte*>(memory); }
    bool takeAway() const { return mprotect(memory, size, PROT_NONE) == 0; }
    bool giveBack() const { return mprotect(memory, size, PROT_READ | PROT_WRITE) == 0; }

private:
    std::size_t size;
    void* memory;
};

/// The observers that were the first in this process to be registered and to be unregistered.
std::vector<std::string> heard;
const TakenMemory memoryOfTargets;
NamedObserver& firstRegistered = *new (memoryOfTargets.begin()) NamedObserver{"first registered", &heard};
NamedObserver& firstUnregistered =
    *new (memoryOfTargets.begin() + 256) NamedObserver{"first unregistered", &heard};

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
    TellingHandler holder{EPath{}};
    holder.registerObserver(one);
    holder.registerObserver(firstUnregistered);
    ASSERT_TRUE(memoryOfTargets.takeAway());
    handler.registerObserver(one);
    handler.registerObserver(two);
    handler.unregisterObserver(one);
    EXPECT_EQ(told(), (Names{"one", "two"}));
    holder.unregisterObserver(two);
    heard.clear();
    holder.tell();
    EXPECT_EQ(heard, Names{"one"});
    ASSERT_TRUE(memoryOfTargets.giveBack());
}

} // namespace
} // namespace velk::powerdistribution::handlers
