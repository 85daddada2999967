#include "platform/tessapi/catalogue/Catalogue.h"

#include "powerdistribution/core/Vocabulary.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace velk::powerdistribution;
using qz::datatype;
using tessapi::Catalogue;
using tessapi::CatalogueEntry;

const std::string PREFIX{"PowerDistribution."};

/// Far beyond the last number of every enumeration.
constexpr std::uint32_t LAST_NUMBER = 500;

template <typename E>
void addTexts(std::set<std::string>& texts) {
    for (std::uint32_t number = 0; number <= LAST_NUMBER; ++number) {
        const std::string text = to_string(static_cast<E>(number));
        if (text != "UNKNOWN") {
            texts.insert(text);
        }
    }
}

/// The texts of all data that can become channels.
const std::set<std::string>& vocabulary() {
    static const std::set<std::string> texts = [] {
        std::set<std::string> all;
        addTexts<ECommunicationStatus>(all);
        addTexts<EMeasurement>(all);
        addTexts<ESpecification>(all);
        addTexts<ESetting>(all);
        addTexts<EStatus>(all);
        addTexts<EAttribute>(all);
        addTexts<EAction>(all);
        addTexts<EPrivateAction>(all);
        return all;
    }();
    return texts;
}

std::string familyOf(const std::string& text) {
    return text.substr(0, text.find('.'));
}

const CatalogueEntry& entryOf(const std::string& text) {
    static const CatalogueEntry none{datatype::unknown, "(no entry)", "(no entry)", {}};
    const CatalogueEntry* entry = Catalogue::builtin().find(PREFIX + text);
    return entry == nullptr ? none : *entry;
}

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/// The types of those data that do not follow their family's rule.
const std::map<std::string, datatype>& exceptions() {
    static const std::map<std::string, datatype> types = [] {
        const std::map<datatype, std::vector<std::string>> byType{
            {datatype::boolean, {"Specification.Internal", "Specification.Switchable"}},
            {datatype::int32,
             {"Setting.AutomaticSleepDelay", "Setting.AutomaticSwitchOnDelay",
              "Setting.AutomaticSwitchOffDelay", "Setting.ForcedRebootDuration",
              "Status.DelayBeforeSwitchOff", "Status.DelayBeforeSwitchOn", "Action.SwitchOff",
              "Action.SwitchOffWithAutoRestart", "Action.SwitchOn"}},
            {datatype::uint32,
             {"CommunicationStatus.State",
              "Measure.CyclesCount",
              "Measure.RemainingTime",
              "Specification.ExternalCount",
              "Specification.PowerCycleDuration",
              "Specification.Topology",
              "Specification.Type",
              "Specification.VoltageRange",
              "Setting.AudibleAlarmControl",
              "Setting.PreferredSource",
              "Setting.RedundancyLevel",
              "Setting.SensitivityMode",
              "Setting.UnsynchronousTransferBreakTime",
              "Setting.UnsynchronousTransferPolicy",
              "Status.BmsFailure",
              "Status.ChargerStatus",
              "Status.LastTestResult",
              "Status.Mode",
              "Status.Source",
              "Status.State",
              "Status.StoragePresent",
              "Status.SupplierPowerQuality",
              "Status.TestStatus",
              "Status.OperatingStatus",
              "Status.HealthState",
              "Attribute.Count"}},
            {datatype::timestamp,
             {"CommunicationStatus.Since", "Measure.PartialCumulatedEnergyStartDate",
              "Status.LastTestResultDate", "Status.LastSuccessfulTestDate", "Status.LcmInstallationDate",
              "Status.LcmReplacementDate", "Status.Since", "Attribute.CurrentDate", "PrivateAction.SetDate"}},
            {datatype::string,
             {"Specification.Chemistry", "Specification.ConnectorType", "Specification.Feed",
              "Specification.Technology"}},
        };
        std::map<std::string, datatype> flat;
        for (const auto& [type, texts] : byType) {
            for (const std::string& text : texts) {
                flat.emplace(text, type);
            }
        }
        return flat;
    }();
    return types;
}

datatype expectedType(const std::string& text) {
    static const std::map<std::string, datatype> rules{
        {"Measure", datatype::float32},     {"Specification", datatype::float32},
        {"Setting", datatype::float32},     {"Status", datatype::boolean},
        {"Attribute", datatype::string},    {"Action", datatype::boolean},
        {"PrivateAction", datatype::string}};
    const auto exception = exceptions().find(text);
    if (exception != exceptions().end()) {
        return exception->second;
    }
    if (familyOf(text) == "Setting" && endsWith(text, "Enabled")) {
        return datatype::boolean;
    }
    return rules.at(familyOf(text));
}

TEST(CatalogueTest, EveryDatumThatCanBecomeAChannelHasAnEntry) {
    ASSERT_EQ(vocabulary().size(), 2u + 37u + 50u + 44u + 102u + 18u + 8u + 7u);
    for (const std::string& text : vocabulary()) {
        EXPECT_NE(Catalogue::builtin().find(PREFIX + text), nullptr) << text;
    }
}

TEST(CatalogueTest, NothingElseHasAnEntryButTheFactsOfTheHostAndTheDaemonsOwn) {
    const std::set<std::string> known{"System.Ethernet.MacAddress",
                                      "System.Ethernet.CurrentIpv4Address",
                                      "System.Ethernet.CurrentIpv6Address",
                                      "Daemon.Process",
                                      "Daemon.Writes",
                                      "Daemon.LastWrite",
                                      "Daemon.Writer",
                                      "Daemon.DeviceLog",
                                      "Daemon.ExplainRequest",
                                      "Daemon.ExplainAnswer"};
    std::set<std::string> others;
    for (const auto& [name, entry] : Catalogue::builtin().entries()) {
        if (name.rfind(PREFIX, 0) != 0 || vocabulary().count(name.substr(PREFIX.size())) == 0) {
            others.insert(name);
        }
    }
    EXPECT_EQ(others, known);
}

TEST(CatalogueTest, EveryExceptionToTheFamilyRulesIsAWordOfTheVocabulary) {
    for (const auto& [text, type] : exceptions()) {
        EXPECT_EQ(vocabulary().count(text), 1u) << text;
    }
}

TEST(CatalogueTest, TypesFollowTheFamilyAndItsExceptions) {
    for (const std::string& text : vocabulary()) {
        EXPECT_EQ(to_string(entryOf(text).type), to_string(expectedType(text))) << text;
    }
}

TEST(CatalogueTest, FactsOfTheHostAndOfTheDaemonAreStrings) {
    for (const char* name :
         {"System.Ethernet.MacAddress", "System.Ethernet.CurrentIpv4Address",
          "System.Ethernet.CurrentIpv6Address", "Daemon.Process", "Daemon.Writes", "Daemon.LastWrite",
          "Daemon.Writer", "Daemon.DeviceLog", "Daemon.ExplainRequest", "Daemon.ExplainAnswer"}) {
        const CatalogueEntry* entry = Catalogue::builtin().find(name);
        ASSERT_NE(entry, nullptr) << name;
        EXPECT_EQ(entry->type, datatype::string);
        EXPECT_FALSE(entry->description.empty());
    }
}

TEST(CatalogueTest, AnUnknownNameHasNoEntry) {
    EXPECT_EQ(Catalogue::builtin().find("PowerDistribution.Measure.Humidity"), nullptr);
    EXPECT_EQ(Catalogue::builtin().find("Measure.Voltage"), nullptr);
    EXPECT_EQ(Catalogue::builtin().find(""), nullptr);
}

TEST(CatalogueTest, EveryEntryHasADescriptionOfOneLine) {
    for (const auto& [name, entry] : Catalogue::builtin().entries()) {
        EXPECT_GE(entry.description.size(), 10u) << name;
        EXPECT_EQ(entry.description.find('\n'), std::string::npos) << name;
        EXPECT_NE(entry.description.back(), '.') << name;
    }
}

/// The unit that a number gets by what its text speaks of; empty for factors, counts and states.
std::string expectedUnit(const std::string& text) {
    static const std::vector<std::pair<std::string, std::string>> words{
        {"CapacityAh", "Ah"},
        {"CapacityWh", "Wh"},
        {"Energy", "Wh"},
        {"THD", "%"},
        {"PowerFactor", ""},
        {"PeakFactor", ""},
        {"Count", ""},
        {"Percent", "%"},
        {"StateOf", "%"},
        {"Efficiency", "%"},
        {"FrequencyDeviation", "%"},
        {"AutomaticRestartLevel", "%"},
        {"RedundancyLevel", ""},
        {"ActivePower", "W"},
        {"ApparentPower", "VA"},
        {"ReactivePower", "var"},
        {"Temperature", "°C"},
        {"Voltage", "V"},
        {"Current", "A"},
        {"Frequency", "Hz"},
        {"Phase", "°"},
        {"RemainingTime", "s"},
        {"Runtime", "s"},
        {"Delay", "s"},
        {"Duration", "s"},
        {"SwitchO", "s"},
    };
    for (const auto& [word, unit] : words) {
        if (text.find(word) != std::string::npos) {
            return unit;
        }
    }
    return "";
}

bool carriesQuantity(const std::string& text) {
    const datatype type = entryOf(text).type;
    const bool isNumber = type == datatype::float32 || type == datatype::int32 || type == datatype::uint32;
    return isNumber && entryOf(text).labels.empty();
}

TEST(CatalogueTest, QuantitiesHaveTheUnitInWhichPlugInsDeliverThem) {
    for (const std::string& text : vocabulary()) {
        if (carriesQuantity(text)) {
            EXPECT_EQ(entryOf(text).unit, expectedUnit(text)) << text;
        }
    }
}

TEST(CatalogueTest, StatesTextsTimesAndSwitchesHaveNoUnit) {
    for (const std::string& text : vocabulary()) {
        if (!carriesQuantity(text)) {
            EXPECT_EQ(entryOf(text).unit, "") << text;
        }
    }
}

TEST(CatalogueTest, AngleOfTheVoltageIsInDegreesAndTemperatureInDegreesCelsius) {
    EXPECT_EQ(entryOf("Measure.Phase").unit, "\xC2\xB0");
    EXPECT_EQ(entryOf("Measure.Temperature").unit, "\xC2\xB0"
                                                   "C");
}

} // namespace
