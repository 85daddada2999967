// What a tester may say, and what a mistake is answered with.

#include "plugins/simulator/world/Command.h"

#include "platform/common/lwjson/JsonError.h"
#include "plugins/simulator/world/Scenario.h"
#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <fstream>
#include <stdexcept>
#include <string>

namespace velk::simulator {
namespace {

using velk::common::lwjson::Deserializer;
using velk::common::lwjson::JsonError;

Command parse(const std::string& json) {
    const Deserializer text{json};
    return readCommand(text.root());
}

template <typename Order>
Order order(const std::string& json) {
    return std::get<Order>(std::get<PanelCommand>(parse(json)));
}

/// "COLUMN: REASON" of the mistake in the command.
std::string mistake(const std::string& json) {
    try {
        parse(json);
        return "none";
    } catch (const JsonError& error) {
        return std::to_string(error.position().column) + ": " + error.reason();
    }
}

TEST(CommandTest, MainsTakeStateVoltageAndFrequencyOfAnyInputAndPhase) {
    const auto all = order<MainsOrder>(R"({"do":"mains","state":"lost"})");
    EXPECT_EQ(all.state, MainsState::Lost);
    EXPECT_FALSE(all.input || all.phase || all.voltage || all.frequency);
    const auto one =
        order<MainsOrder>(R"({"do":"mains","input":2,"phase":3,"voltage":207.5,"frequency":49})");
    EXPECT_EQ(one.input, 2U);
    EXPECT_EQ(one.phase, 3U);
    EXPECT_EQ(one.voltage, 207.5);
    EXPECT_EQ(one.frequency, 49.0);
    EXPECT_FALSE(one.state.has_value());
    EXPECT_EQ(order<MainsOrder>(R"({"do":"mains","state":"sag"})").state, MainsState::Sag);
    EXPECT_EQ(order<MainsOrder>(R"({"do":"mains","state":"swell"})").state, MainsState::Swell);
    EXPECT_EQ(order<MainsOrder>(R"({"do":"mains","state":"normal"})").state, MainsState::Normal);
}

TEST(CommandTest, LoadIsWattsOrPercentOfOnePlace) {
    const auto load = order<LoadOrder>(R"({"do":"load","outlet":3,"watts":200})");
    EXPECT_EQ(load.outlet, 3U);
    EXPECT_EQ(load.watts, 200.0);
    EXPECT_EQ(order<LoadOrder>(R"({"do":"load","phase":2,"percent":50})").percent, 50.0);
    EXPECT_EQ(mistake(R"({"do":"load","outlet":3})"),
              "1: the object needs one of the members \"watts\" and \"percent\"");
    EXPECT_EQ(mistake(R"({"do":"load","outlet":1,"output":1,"watts":5})"),
              "1: the object has both of the members \"outlet\" and \"output\", of which it needs one");
}

TEST(CommandTest, BatteryTakesAnySubsetButSome) {
    const auto battery =
        order<BatteryOrder>(R"({"do":"battery","charge":50,"failed":true,"present":false,"temperature":45})");
    EXPECT_EQ(battery.charge, 50.0);
    EXPECT_EQ(battery.failed, true);
    EXPECT_EQ(battery.present, false);
    EXPECT_EQ(battery.temperature, 45.0);
    EXPECT_EQ(mistake(R"({"do":"battery"})"),
              "1: the object needs a member \"charge\", \"failed\", \"present\" or \"temperature\"");
    EXPECT_EQ(mistake(R"({"do":"battery","charge":101})"), "26: \"charge\" is 101, expected 0 to 100");
}

TEST(CommandTest, BoundsAreThoseOfTheDevice) {
    EXPECT_EQ(mistake(R"({"do":"mains","frequency":0})"), "27: \"frequency\" is 0, expected 1 to 1000");
    EXPECT_EQ(mistake(R"({"do":"mains","frequency":1000})"), "none");
    EXPECT_EQ(mistake(R"({"do":"battery","temperature":-60})"), "none");
    EXPECT_EQ(mistake(R"({"do":"battery","temperature":-61})"),
              "31: \"temperature\" is -61, expected -60 to 150");
}

TEST(CommandTest, SetKeepsTheKindOfItsValue) {
    EXPECT_EQ(order<SetCommand>(R"({"do":"set","path":"A","value":5})").value, Scalar{std::int64_t{5}});
    EXPECT_EQ(order<SetCommand>(R"({"do":"set","path":"A","value":5.5})").value, Scalar{5.5});
    EXPECT_EQ(order<SetCommand>(R"({"do":"set","path":"A","value":true})").value, Scalar{true});
    EXPECT_EQ(order<SetCommand>(R"({"do":"set","path":"A","value":"x"})").value, Scalar{std::string{"x"}});
    EXPECT_EQ(mistake(R"({"do":"set","path":"A","value":null})"),
              "32: \"value\" is no value, expected a number, a text, true or false");
    EXPECT_EQ(mistake(R"({"do":"set","path":"A"})"),
              "1: the object needs a member \"value\", what it is to be set to");
}

TEST(CommandTest, OrdersWithAPathNeedOne) {
    EXPECT_EQ(order<ActionCommand>(R"({"do":"action","path":"Outlets.3.Action.SwitchOff"})").path,
              "Outlets.3.Action.SwitchOff");
    EXPECT_EQ(order<GetCommand>(R"({"do":"get","path":"Status.Mode"})").path, "Status.Mode");
    EXPECT_EQ(mistake(R"({"do":"get"})"),
              "1: the object needs a member \"path\", the data point, such as \"Inputs.1.Measure.Voltage\"");
    EXPECT_EQ(mistake(R"({"do":"get","path":""})"), "20: \"path\" is empty");
}

TEST(CommandTest, LogIsAddedToOverwrittenOrRestarted) {
    EXPECT_EQ(order<LogCommand>(R"({"do":"log","add":3})").add, 3U);
    EXPECT_TRUE(order<LogCommand>(R"({"do":"log","wrap":true})").wrap);
    EXPECT_TRUE(order<LogCommand>(R"({"do":"log","restart":true})").restart);
    EXPECT_EQ(mistake(R"({"do":"log"})"),
              "1: the object needs a member \"add\", how many entries, \"wrap\" or \"restart\", true");
}

TEST(CommandTest, IdentityTakesAnySubsetButSome) {
    const auto identity =
        order<IdentityOrder>(R"({"do":"identity","serialNumber":"S2","firmwareVersion":"2.10"})");
    EXPECT_EQ(identity.serialNumber, "S2");
    EXPECT_EQ(identity.firmwareVersion, "2.10");
    EXPECT_FALSE(identity.uuid || identity.model);
    EXPECT_EQ(mistake(R"({"do":"identity"})"),
              "1: the object needs a member \"serialNumber\", \"firmwareVersion\", \"uuid\" or \"model\"");
}

TEST(CommandTest, CountsAreByTheNamesOfCollections) {
    const auto counts = order<CountsCommand>(R"({"do":"counts","Outlets":3,"Inputs":0})").counts;
    EXPECT_EQ(counts, (std::map<std::string, std::uint32_t>{{"Inputs", 0}, {"Outlets", 3}}));
    EXPECT_EQ(mistake(R"({"do":"counts","Outlets":129})"), "26: \"Outlets\" is 129, expected 0 to 128");
    EXPECT_EQ(mistake(R"({"do":"counts"})"),
              "1: the object needs a member named as a collection, such as \"Outlets\", with its count");
}

TEST(CommandTest, TimeMovesByMillisecondsAndSpeedIsBounded) {
    EXPECT_EQ(std::get<AdvanceCommand>(parse(R"({"do":"advance","seconds":1.5})")).time,
              std::chrono::milliseconds{1500});
    EXPECT_EQ(std::get<SpeedCommand>(parse(R"({"do":"speed","factor":60})")).factor, 60.0);
    EXPECT_EQ(mistake(R"({"do":"speed","factor":-1})"), "24: \"factor\" is -1, expected 0 to 100000");
    EXPECT_EQ(mistake(R"({"do":"advance","seconds":-1})"), "27: \"seconds\" is -1, expected 0 to 2.6784e+06");
}

TEST(CommandTest, FaultsNeedWhatTheirKindNeeds) {
    const auto fault = [](const std::string& json) { return std::get<FaultCommand>(parse(json)).fault; };
    EXPECT_EQ(fault(R"({"do":"fault","kind":"linkLost"})").kind, FaultKind::LinkLost);
    EXPECT_EQ(fault(R"({"do":"fault","kind":"slow","ms":50})").time, std::chrono::milliseconds{50});
    EXPECT_EQ(fault(R"({"do":"fault","kind":"garbage","path":"A.*"})").path, "A.*");
    const Fault thrown = fault(R"({"do":"fault","kind":"throw","operation":"read","path":"A","times":2,)"
                               R"("what":"boom","kindOfException":"other"})");
    EXPECT_EQ(thrown.operation, Operation::Read);
    EXPECT_EQ(thrown.times, 2U);
    EXPECT_EQ(thrown.what, "boom");
    EXPECT_FALSE(thrown.isStandard);
    EXPECT_EQ(fault(R"({"do":"fault","kind":"throw","operation":"create"})").what,
              "the simulated plug-in fails in create");
}

TEST(CommandTest, MistakesInFaultsAreToldWithTheirPlace) {
    EXPECT_EQ(mistake(R"({"do":"fault"})"), "1: the object needs a member \"kind\", what is to be wrong");
    EXPECT_EQ(
        mistake(R"({"do":"fault","kind":"broken"})"),
        "22: \"kind\" is \"broken\", expected \"linkLost\", \"silent\", \"slow\", \"flapping\", "
        "\"wrongAlternative\", \"garbage\", \"throw\", \"refuseWrites\", \"noIdentity\", \"bootloader\" or "
        "\"notFound\"");
    EXPECT_EQ(mistake(R"({"do":"fault","kind":"slow"})"),
              "1: the object needs a member \"ms\", how many milliseconds a read takes");
    EXPECT_EQ(mistake(R"({"do":"fault","kind":"flapping","ms":0})"),
              "38: \"ms\" is 0, expected 1 to 3600000");
    EXPECT_EQ(mistake(R"({"do":"fault","kind":"wrongAlternative"})"),
              "1: the object needs a member \"path\", the data point, \"*\" standing for any text");
    EXPECT_EQ(mistake(R"({"do":"fault","kind":"throw","operation":"stop","path":"A"})"),
              "56: \"path\" means nothing for the operation \"stop\"");
    EXPECT_EQ(mistake(R"({"do":"fault","kind":"silent","ms":5})"),
              "36: \"ms\" is unknown, expected \"do\" or \"kind\"");
}

TEST(CommandTest, ClearIsOfOneKindOrAll) {
    EXPECT_FALSE(std::get<ClearCommand>(parse(R"({"do":"clear"})")).kind.has_value());
    EXPECT_EQ(std::get<ClearCommand>(parse(R"({"do":"clear","kind":"silent"})")).kind, FaultKind::Silent);
}

TEST(CommandTest, UnknownVerbIsAnsweredWithTheKnownOnes) {
    EXPECT_EQ(
        mistake(R"({"do":"explode"})"),
        "7: \"do\" is \"explode\", expected \"mains\", \"load\", \"battery\", \"set\", \"action\", \"get\", "
        "\"points\", \"log\", \"fault\", \"clear\", \"identity\", \"counts\", \"advance\", \"speed\", "
        "\"play\", \"say\", \"status\" or \"follow\"");
    EXPECT_EQ(mistake(R"({})"), "1: the object needs a member \"do\", what is to be done");
    EXPECT_EQ(mistake(R"([])"), "1: the object must be an object");
}

TEST(CommandTest, UnknownDoubleAndMistypedMembersAreRefused) {
    EXPECT_EQ(mistake(R"({"do":"mains","state":"lost","inptu":1})"),
              "38: \"inptu\" is unknown, expected \"do\", \"input\", \"phase\", \"state\", \"voltage\" or "
              "\"frequency\"");
    EXPECT_EQ(mistake(R"({"do":"say","text":"a","text":"b"})"), "31: \"text\" is there twice");
    EXPECT_EQ(mistake(R"({"do":"mains","state":"gone"})"),
              "23: \"state\" is \"gone\", expected \"lost\", \"normal\", \"sag\" or \"swell\"");
    EXPECT_NE(mistake(R"({"do":"mains","input":"one","state":"lost"})").find("\"input\""), std::string::npos);
}

class ScenarioFileTest : public ::testing::Test {
protected:
    Scenario read(const std::string& text) {
        std::ofstream{folder / "s.json"} << text;
        return readScenario(folder / "s.json");
    }
    std::string failure(const std::string& text) {
        try {
            read(text);
            return "none";
        } catch (const std::runtime_error& error) {
            const std::string what = error.what();
            const std::string file = (folder / "s.json").string();
            return what.rfind(file, 0) == 0 ? what.substr(file.size()) : what;
        }
    }

    velk::testing::TemporaryDirectory folder;
};

TEST_F(ScenarioFileTest, StepsAreInTheOrderOfTimeAndThenOfTheFile) {
    const Scenario scenario = read(R"({"name":"n","steps":[{"at":5,"say":"late"},{"at":0.5,"say":"one"},)"
                                   R"({"at":0.5,"do":"speed","factor":2}]})");
    EXPECT_EQ(scenario.name, "n");
    ASSERT_EQ(scenario.steps.size(), 3U);
    EXPECT_EQ(scenario.steps[0].say, "one");
    EXPECT_EQ(scenario.steps[0].at, std::chrono::milliseconds{500});
    EXPECT_FALSE(scenario.steps[0].command.has_value());
    EXPECT_TRUE(scenario.steps[1].command.has_value());
    EXPECT_EQ(scenario.steps[2].say, "late");
}

TEST_F(ScenarioFileTest, MistakesAreToldWithFileLineAndColumn) {
    EXPECT_EQ(failure("{\"name\":\"n\",\n \"steps\":[{\"at\":1,\n  \"do\":\"mains\",\"state\":\"gone\"}]}"),
              ":3:24: \"state\" is \"gone\", expected \"lost\", \"normal\", \"sag\" or \"swell\"");
    EXPECT_EQ(failure(R"({"name":"n","steps":[{"at":1}]})"),
              ":1:22: the object needs a member \"do\" or \"say\"");
    EXPECT_EQ(failure(R"({"name":"n","steps":{}})"), ":1:21: \"steps\" must be an array");
    EXPECT_EQ(failure(R"({"steps":[]})"),
              ":1:1: the object needs a member \"name\", what the scenario is called");
    EXPECT_EQ(failure(R"({"name":"n","steps":[{"say":"x"}]})"),
              ":1:22: the object needs a member \"at\", its time in simulated seconds from the start");
    EXPECT_EQ(failure("{").rfind(":1:", 0), 0U);
}

TEST_F(ScenarioFileTest, WhatOnlyAClientCanAskIsNoStep) {
    for (const std::string verb : {R"("get","path":"A")", R"("points")", R"("advance","seconds":1)",
                                   R"("play","scenario":"x")", R"("status")", R"("follow")"}) {
        const std::string told = failure(R"({"name":"n","steps":[{"at":1,"do":)" + verb + "}]}");
        EXPECT_NE(told.find("which is no step of a scenario"), std::string::npos) << told;
    }
}

TEST_F(ScenarioFileTest, FileThatIsNotThereIsTold) {
    try {
        readScenario(folder / "none.json");
        FAIL() << "a missing file was read";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(error.what(), (folder / "none.json").string() + ": cannot be read");
    }
}

} // namespace
} // namespace velk::simulator
