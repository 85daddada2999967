#include "plugins/nut/Decoders.h"

#include <gtest/gtest.h>

namespace velk::nut {
namespace {

Value number(std::uint32_t value) {
    return value;
}

TEST(DecodersTest, QuantitiesBeyondReasonAreNone) {
    EXPECT_EQ(decodeTemperature("31.5"), Value{31.5F});
    EXPECT_EQ(decodeTemperature("-272"), Value{});
    EXPECT_EQ(decodeTemperature("298"), Value{}) << "Kelvin";
    EXPECT_EQ(decodePercent("105"), Value{105.0F});
    EXPECT_EQ(decodePercent("-1"), Value{});
    EXPECT_EQ(decodeCharge("100"), Value{100.0F});
    EXPECT_EQ(decodeCharge("101"), Value{});
    EXPECT_EQ(decodeRatio("-3"), Value{});
}

TEST(DecodersTest, ApproximateChargeIsItsBound) {
    EXPECT_EQ(decodeApproximateCharge("<85"), Value{85.0F});
    EXPECT_EQ(decodeApproximateCharge("85"), Value{85.0F});
    EXPECT_EQ(decodeApproximateCharge("<101"), Value{});
    EXPECT_EQ(decodeCharge("<85"), Value{}) << "elsewhere";
}

TEST(DecodersTest, PowerFactorMayComeInPercent) {
    EXPECT_EQ(decodePowerFactor("0.53"), Value{0.53F});
    EXPECT_EQ(decodePowerFactor("57.00"), Value{0.57F});
    EXPECT_EQ(decodePowerFactor("1"), Value{1.0F});
    EXPECT_EQ(decodePowerFactor("570"), Value{});
}

TEST(DecodersTest, SerialNumberStaysTextAndFillersAreNone) {
    EXPECT_EQ(decodeSerialNumber("0764"), Value{std::string{"0764"}});
    for (const char* filler : {"", "0000000", "****", "XXXX", "## ##", "Unknown", " "}) {
        EXPECT_EQ(decodeSerialNumber(filler), Value{}) << filler;
    }
}

TEST(DecodersTest, MacAddressIsWrittenWithColons) {
    EXPECT_EQ(decodeMacAddress("02 00 00 00 00 2A"), Value{std::string{"02:00:00:00:00:2a"}});
    EXPECT_EQ(decodeMacAddress("02:00:00:00:00:2a"), Value{std::string{"02:00:00:00:00:2a"}});
    EXPECT_EQ(decodeMacAddress("none"), Value{});
}

TEST(DecodersTest, TopologyIsToldByTheTypeOfTheUps) {
    EXPECT_EQ(decodeTopology("online"), number(3));
    EXPECT_EQ(decodeTopology("offline / line interactive"), number(2));
    EXPECT_EQ(decodeTopology("line-interactive"), number(2));
    EXPECT_EQ(decodeTopology("standby"), number(1));
    EXPECT_EQ(decodeTopology("parallel redundancy"), Value{});
}

TEST(DecodersTest, TestResultIsFoundInFreeText) {
    EXPECT_EQ(decodeTestResult("Done and passed"), number(1));
    EXPECT_EQ(decodeTestResult("Battery OK"), number(1));
    EXPECT_EQ(decodeTestResult("Done and warning"), number(2));
    EXPECT_EQ(decodeTestResult("Bad battery"), number(2));
    EXPECT_EQ(decodeTestResult("Aborted"), number(3));
    EXPECT_EQ(decodeTestResult("In progress"), Value{});
    EXPECT_EQ(decodeTestResult("No test initiated"), Value{});
}

TEST(DecodersTest, BeeperHasThreeStates) {
    EXPECT_EQ(decodeBeeper("disabled"), number(1));
    EXPECT_EQ(decodeBeeper("Enabled"), number(2));
    EXPECT_EQ(decodeBeeper("muted"), number(3));
    EXPECT_EQ(decodeBeeper("loud"), Value{});
}

TEST(DecodersTest, SensitivityHasWordsAndLetters) {
    for (const char* text : {"normal", "medium", "auto", "M"}) {
        EXPECT_EQ(decodeSensitivity(text), number(1));
    }
    EXPECT_EQ(decodeSensitivity("H"), number(2));
    EXPECT_EQ(decodeSensitivity("reduced"), number(3));
    EXPECT_EQ(decodeSensitivity("odd"), Value{});
}

TEST(DecodersTest, SourceIsANumberOrNone) {
    EXPECT_EQ(decodeSource("2.00"), number(2));
    EXPECT_EQ(decodeSource("normal"), Value{});
    EXPECT_EQ(decodeSource("0"), Value{});
    EXPECT_EQ(decodeSource("3"), Value{});
}

TEST(DecodersTest, ChargerStatusHasFiveWords) {
    EXPECT_EQ(decodeChargerStatus("off"), number(0));
    EXPECT_EQ(decodeChargerStatus("charging"), number(1));
    EXPECT_EQ(decodeChargerStatus("floating"), number(2));
    EXPECT_EQ(decodeChargerStatus("resting"), number(3));
    EXPECT_EQ(decodeChargerStatus("discharging"), number(4));
    EXPECT_EQ(decodeChargerStatus("busy"), Value{});
}

TEST(DecodersTest, ThresholdWordTellsSideAndSeverity) {
    EXPECT_EQ(decodeTooLow("critical-low"), Value{true});
    EXPECT_EQ(decodeTooLow("good"), Value{false});
    EXPECT_EQ(decodeTooHigh("warning-high"), Value{true});
    EXPECT_EQ(decodeOutOfRange("good"), Value{false});
    EXPECT_EQ(decodeOutOfRange("out-of-range"), Value{true});
    EXPECT_EQ(decodeWarningHigh("critical-high"), Value{false});
    EXPECT_EQ(decodeCriticalHigh("critical-high"), Value{true});
    EXPECT_EQ(decodeOutOfRange("hm"), Value{});
}

TEST(DecodersTest, ContactIsAnAlarmWhenItIsClosed) {
    EXPECT_EQ(decodeContact("closed"), Value{true});
    EXPECT_EQ(decodeContact("active"), Value{true});
    EXPECT_EQ(decodeContact("open"), Value{false});
    EXPECT_EQ(decodeContact("?"), Value{});
}

TEST(DecodersTest, EmptyTextIsNoValue) {
    EXPECT_EQ(decodeText(" "), Value{});
    EXPECT_EQ(decodeChemistry("?"), Value{});
    EXPECT_EQ(decodeChemistry("PbAc"), Value{std::string{"PbAc"}});
}

} // namespace
} // namespace velk::nut
