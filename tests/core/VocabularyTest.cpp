#include "powerdistribution/core/Vocabulary.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace velk::powerdistribution {
namespace {

/// The spelling of an enumerator as the compiler knows it, or "" for a number without one.
template <auto Member>
std::string_view spelling() {
    const std::string_view signature = __PRETTY_FUNCTION__;
    const std::size_t begin = signature.find("Member = ") + std::string_view{"Member = "}.size();
    const std::size_t end = signature.find_first_of(";]", begin);
    const std::string_view full = signature.substr(begin, end - begin);
    if (full.front() == '(') {
        return {};
    }
    return full.substr(full.rfind("::") + 2);
}

template <typename E, std::size_t... Numbers>
std::map<std::uint32_t, std::string> spellings(std::index_sequence<Numbers...>) {
    std::map<std::uint32_t, std::string> all;
    ((spelling<static_cast<E>(Numbers)>().empty()
          ? void()
          : void(all.emplace(Numbers, std::string{spelling<static_cast<E>(Numbers)>()}))),
     ...);
    return all;
}

std::string withoutDots(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), '.'), text.end());
    return text;
}

/// Every enumerator's text is its family, if it has one, and then its spelling.
template <typename E>
void expectTextsAreSpellings(const std::string& family, std::size_t members) {
    const auto all = spellings<E>(std::make_index_sequence<128>{});
    EXPECT_EQ(all.size(), members);
    for (const auto& [number, name] : all) {
        const std::string text = to_string(static_cast<E>(number));
        EXPECT_EQ(text.substr(0, family.size()), family) << number;
        EXPECT_EQ(withoutDots(text.substr(family.size())), name) << number;
    }
}

TEST(VocabularyTest, EnumeratorsAreSpelledAsTheirTexts) {
    expectTextsAreSpellings<EProperty>("", 2);
    expectTextsAreSpellings<ECommunicationStatus>("CommunicationStatus.", 2);
    expectTextsAreSpellings<ECircuit>("", 16);
    expectTextsAreSpellings<EPowerConverter>("", 7);
    expectTextsAreSpellings<EMeasurement>("Measure.", 37);
    expectTextsAreSpellings<ESpecification>("Specification.", 50);
    expectTextsAreSpellings<ESetting>("Setting.", 44);
    expectTextsAreSpellings<EStatus>("Status.", 102);
    expectTextsAreSpellings<EAttribute>("Attribute.", 18);
    expectTextsAreSpellings<EAction>("Action.", 8);
    expectTextsAreSpellings<EPrivate>("Private.", 4);
    expectTextsAreSpellings<EPrivateAction>("PrivateAction.", 7);
}

template <typename E>
std::string textOf(std::uint32_t number) {
    return to_string(static_cast<E>(number));
}

TEST(VocabularyTest, NumberWithoutMemberIsUnknown) {
    EXPECT_EQ(textOf<ESetting>(36), "UNKNOWN");
    EXPECT_EQ(textOf<ECircuit>(0), "UNKNOWN");
    EXPECT_EQ(textOf<EPowerConverter>(8), "UNKNOWN");
    EXPECT_EQ(textOf<EStatus>(103), "UNKNOWN");
    EXPECT_EQ(textOf<Mode>(0), "UNKNOWN");
    EXPECT_EQ(textOf<Mode>(17), "UNKNOWN");
}

TEST(VocabularyTest, TemperatureHighCriticalThresholdIsSetting33) {
    EXPECT_EQ(textOf<ESetting>(33), "Setting.Temperature.HighCriticalThreshold");
    EXPECT_EQ(textOf<ESetting>(34), "Setting.Temperature.HighWarningThreshold");
    EXPECT_EQ(textOf<ESetting>(35), "Setting.Temperature.LowCriticalThreshold");
    EXPECT_EQ(textOf<ESetting>(37), "Setting.UnsynchronousTransferBreakTime");
    EXPECT_EQ(textOf<ESetting>(45), "Setting.WiringFaultEnabled");
}

TEST(VocabularyTest, NumbersDoNotFollowTheAlphabet) {
    EXPECT_EQ(textOf<EAttribute>(9), "Attribute.Model");
    EXPECT_EQ(textOf<EAttribute>(10), "Attribute.MacAddress");
    EXPECT_EQ(textOf<EAttribute>(11), "Attribute.Manufacturer");
    EXPECT_EQ(textOf<ESpecification>(38), "Specification.Voltage.Floating");
    EXPECT_EQ(textOf<ESpecification>(41), "Specification.Voltage.LowWarningThreshold");
    EXPECT_EQ(textOf<ESpecification>(42), "Specification.Voltage.HighCriticalThreshold");
    EXPECT_EQ(textOf<ESpecification>(44), "Specification.Voltage.HysteresisDetection");
    EXPECT_EQ(textOf<EStatus>(45), "Status.InvalidWaveform");
    EXPECT_EQ(textOf<EStatus>(70), "Status.RedundancyLoss");
    EXPECT_EQ(textOf<EStatus>(71), "Status.Redundant");
    EXPECT_EQ(textOf<EMeasurement>(37), "Measure.Phase");
}

TEST(VocabularyTest, LastMembersKeepTheirNumbers) {
    EXPECT_EQ(textOf<EProperty>(2), "Settings");
    EXPECT_EQ(textOf<ECommunicationStatus>(2), "CommunicationStatus.Since");
    EXPECT_EQ(textOf<ECircuit>(16), "Synchroniser");
    EXPECT_EQ(textOf<EPowerConverter>(7), "DcBus");
    EXPECT_EQ(textOf<ESpecification>(50), "Specification.TrippedVoltageThreshold");
    EXPECT_EQ(textOf<EStatus>(102), "Status.HealthState");
    EXPECT_EQ(textOf<EAttribute>(18), "Attribute.Vendor");
    EXPECT_EQ(textOf<EAction>(8), "Action.SwitchOn");
    EXPECT_EQ(textOf<EPrivate>(4), "Private.LogTopId");
    EXPECT_EQ(textOf<EPrivateAction>(7), "PrivateAction.SetProductName");
}

TEST(VocabularyTest, ValueEnumerationsHaveTheirTexts) {
    EXPECT_EQ(to_string(DeviceType::Ups) + to_string(DeviceType::Ats) + to_string(DeviceType::Pdu),
              "UPSATSPDU");
    EXPECT_EQ(to_string(ChargerMode::Cc), "cc");
    EXPECT_EQ(to_string(ChargerMode::Abm), "abm");
    EXPECT_EQ(to_string(ChargerStatus::Off), "off");
    EXPECT_EQ(to_string(ChargerStatus::OnNotCharging), "on not charging");
    EXPECT_EQ(to_string(StoragePresent::NoStorageMode), "no storage mode");
    EXPECT_EQ(to_string(Type::Hybrid), "hybrid");
    EXPECT_EQ(to_string(TestResult::Aborted), "aborted");
    EXPECT_EQ(to_string(Topology::LineInteractive), "line interactive");
    EXPECT_EQ(to_string(VoltageRange::LowVoltage), "low voltage");
    EXPECT_EQ(to_string(AudibleAlarmControl::Muted), "muted");
    EXPECT_EQ(to_string(PreferredSource::Source2), "source2");
    EXPECT_EQ(to_string(SensitivityMode::LowSensitivity), "low sensitivity");
    EXPECT_EQ(to_string(UnsynchronousTransferBreakTime::QuarterCycle), "quarter cycle");
    EXPECT_EQ(to_string(UnsynchronousTransferPolicy::AllowedWithBreak), "allowed with break");
    EXPECT_EQ(to_string(Mode::OnAlternateSource), "on alternate source");
}

TEST(VocabularyTest, OffIsTheOnlyValueMemberWithNumberZero) {
    EXPECT_EQ(textOf<ChargerStatus>(0), "off");
    EXPECT_EQ(textOf<TestResult>(0), "UNKNOWN");
    EXPECT_EQ(textOf<StoragePresent>(0), "UNKNOWN");
    EXPECT_EQ(textOf<Topology>(0), "UNKNOWN");
    EXPECT_EQ(textOf<AudibleAlarmControl>(0), "UNKNOWN");
}

} // namespace
} // namespace velk::powerdistribution
