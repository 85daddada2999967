#include "kit/Finding.h"

#include "kit/Reporter.h"
#include "kit/ValueRules.h"
#include "powerdistribution/core/Vocabulary.h"

#include <gtest/gtest.h>

#include <limits>

namespace velk::kit {
namespace {

using namespace powerdistribution;

const EPath voltage{ECircuit::Inputs, 1U, EMeasurement::Voltage};

std::string expectedOf(const EPath& path, const Value& value) {
    const auto mismatch = mismatchOf(path, value);
    return mismatch ? mismatch->expected : "fits";
}

TEST(FindingTest, IsOneLineWithWhatWasExpectedAndWhatCame) {
    EXPECT_EQ(lineOf({Finding::Severity::Warning, "Status.Mode", "one", "two"}),
              "warning: Status.Mode: expected one; came two");
}

TEST(FindingTest, JsonKeepsQuotesAndDropsWhatIsNoText) {
    EXPECT_EQ(jsonOf({Finding::Severity::Note, "a", "\"b\\\"", "\xC3\xA4\n\xFF"}),
              "{\"severity\": \"note\", \"path\": \"a\", \"expected\": \"\\\"b\\\\\\\"\", \"came\": "
              "\"\xC3\xA4\\u000a\xEF\xBF\xBD\"}");
}

TEST(FindingTest, ValuesAreDescribedWithTheirType) {
    EXPECT_EQ(describe({}), "empty");
    EXPECT_EQ(describe(Value{true}), "bool true");
    EXPECT_EQ(describe(Value{230.5F}), "float 230.5");
    EXPECT_EQ(describe(Value{std::string{"on"}}), "std::string \"on\"");
    EXPECT_EQ(describe(Value{std::string(61, 'x')}), "std::string \"" + std::string(60, 'x') + "\"…");
}

TEST(FindingTest, PrintableTextIsUtf8WithoutControls) {
    EXPECT_TRUE(isPrintable("Größe \xE2\x82\xAC \xF0\x9F\x98\x80"));
    EXPECT_FALSE(isPrintable("a\tb"));
    EXPECT_FALSE(isPrintable("\xC3"));
    EXPECT_FALSE(isPrintable("\xE2\x82"));
    EXPECT_FALSE(isPrintable("\x80"));
    EXPECT_FALSE(isPrintable("\xC0\xAF")) << "a longer way to write a slash";
}

TEST(FindingTest, RecordSurvivesItsLine) {
    const Record record{Record::Kind::Finding, {Finding::Severity::Note, "a\tb", "c\nd", "e\\f"}, 0};
    const std::string line = encode(record);
    EXPECT_EQ(line.find('\n'), line.size() - 1);
    const auto back = decode(line.substr(0, line.size() - 1));
    ASSERT_TRUE(back.has_value());
    EXPECT_EQ(lineOf(back->finding), "note: a\tb: expected c\nd; came e\\f");
    EXPECT_EQ(decode("S\t12")->number, 12U);
    EXPECT_FALSE(decode("what a plug-in prints").has_value());
}

TEST(ValueRulesTest, EmptyValueAlwaysFits) {
    EXPECT_EQ(expectedOf(voltage, {}), "fits");
}

TEST(ValueRulesTest, TypeIsThatOfTheCatalogue) {
    EXPECT_EQ(expectedOf(voltage, Value{230.0F}), "fits");
    EXPECT_EQ(expectedOf(voltage, Value{std::int32_t{230}}), "float");
    EXPECT_EQ(expectedOf({EStatus::Overload}, Value{std::uint32_t{1}}), "bool");
    EXPECT_EQ(expectedOf({EStatus::BmsFailure}, Value{true}), "uint32_t");
    EXPECT_EQ(expectedOf({EStatus::DelayBeforeSwitchOff}, Value{60.0F}), "int32_t");
    EXPECT_EQ(expectedOf({ECommunicationStatus::Since}, Value{std::uint32_t{1}}), "UnixTime");
    EXPECT_EQ(expectedOf({EProperty::Identification, EAttribute::Uuid}, Value{velk::common::Uuid{}}),
              "std::string");
    EXPECT_EQ(expectedOf({static_cast<ESetting>(36)}, Value{1.0F}),
              "null for a name that the catalogue does not know");
}

TEST(ValueRulesTest, PrivateDataPointsHaveTypesOfTheirOwn) {
    EXPECT_EQ(typeOf({EPrivate::AlarmConfigurationFile}), "std::string");
    EXPECT_EQ(typeOf({EPrivate::InternalLogs, EPrivate::LogTopId}), "uint32_t");
    EXPECT_EQ(typeOf({EPrivate::InternalLogs, EPrivate::LogChunk}), "InternalLogChunk");
}

TEST(ValueRulesTest, NumbersMeanWhatTheirUnitCanMean) {
    EXPECT_EQ(expectedOf(voltage, Value{-1.0F}), "0 to 50000 V");
    EXPECT_EQ(expectedOf(voltage, Value{std::numeric_limits<float>::infinity()}), "a number");
    EXPECT_EQ(expectedOf({ECircuit::Outputs, 1U, EMeasurement::PercentLoad}, Value{130.0F}), "fits");
    EXPECT_EQ(expectedOf(EPath{ECircuit::BackupSystem} + EMeasurement::StateOfCharge, Value{101.0F}),
              "0 to 100 %");
    EXPECT_EQ(expectedOf({EStatus::DelayBeforeSwitchOff}, Value{std::int32_t{-1}}), "fits");
    EXPECT_EQ(expectedOf({EStatus::DelayBeforeSwitchOff}, Value{std::int32_t{-2}}), "-1 to 3.1536e+08 s");
    EXPECT_EQ(expectedOf({EMeasurement::RemainingTime}, Value{0xFFFFFFFFU}), "-1 to 3.1536e+08 s");
    EXPECT_EQ(expectedOf({EMeasurement::PowerFactor}, Value{98.0F}), "-1 to 1");
}

TEST(ValueRulesTest, StatesAreThoseOfTheVocabulary) {
    EXPECT_EQ(expectedOf({EStatus::LastTestResult}, Value{std::uint32_t{1}}), "fits");
    EXPECT_EQ(expectedOf({EStatus::LastTestResult}, Value{std::uint32_t{9}}).find("one of the states "), 0U);
    EXPECT_EQ(expectedOf({EStatus::TestStatus}, Value{std::uint32_t{0}}), "fits")
        << "only one state has a name";
    EXPECT_EQ(expectedOf({EStatus::Mode}, Value{std::uint32_t{0}}), "fits") << "a mode that is not known";
}

} // namespace
} // namespace velk::kit
