#include "powerdistribution/core/Configuration.h"

#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace velk::powerdistribution {
namespace {

class ConfigurationTest : public ::testing::Test {
protected:
    std::string file(const std::string& text) {
        const std::string path = directory / "velk.json";
        std::ofstream{path} << text;
        return path;
    }

    /// Loads and keeps what was written on the standard error.
    Configuration load(const std::string& path) {
        ::testing::internal::CaptureStderr();
        Configuration loaded = Configuration::load(path);
        errors = ::testing::internal::GetCapturedStderr();
        return loaded;
    }

    void expectDefaults(const Configuration& loaded) {
        EXPECT_EQ(loaded.maxThreads, 5U);
        EXPECT_EQ(loaded.maxCpuLoad, 10U);
        EXPECT_EQ(loaded.maxRestTime, 1000U);
    }

    velk::testing::TemporaryDirectory directory;
    std::string errors;
};

TEST_F(ConfigurationTest, MissingFileGivesTheDefaultsAndKeepsThePathSilently) {
    const Configuration loaded = load("/nowhere/velk.json");
    expectDefaults(loaded);
    EXPECT_EQ(loaded.path, "/nowhere/velk.json");
    EXPECT_EQ(errors, "");
}

TEST_F(ConfigurationTest, DefaultConstructionHasNoPath) {
    expectDefaults(Configuration{});
    EXPECT_EQ(Configuration{}.path, "");
}

TEST_F(ConfigurationTest, NumbersAreTaken) {
    const std::string path = file(R"({"maxThreads": 3, "maxCpuLoadPercent": 25, "maxRestTimeMs": 200})");
    const Configuration loaded = load(path);
    EXPECT_EQ(loaded.maxThreads, 3U);
    EXPECT_EQ(loaded.maxCpuLoad, 25U);
    EXPECT_EQ(loaded.maxRestTime, 200U);
    EXPECT_EQ(loaded.path, path);
    EXPECT_EQ(errors, "");
}

TEST_F(ConfigurationTest, OneNumberAloneLeavesTheOtherDefaults) {
    const Configuration loaded = load(file(R"({"maxThreads": 2})"));
    EXPECT_EQ(loaded.maxThreads, 2U);
    EXPECT_EQ(loaded.maxCpuLoad, 10U);
    EXPECT_EQ(loaded.maxRestTime, 1000U);
}

TEST_F(ConfigurationTest, StringOfDigitsWorksLikeANumber) {
    EXPECT_EQ(load(file(R"({"maxThreads": "7"})")).maxThreads, 7U);
}

TEST_F(ConfigurationTest, TextThatIsNoJsonGivesTheMessageAndTheDefaults) {
    expectDefaults(load(file("maxThreads = 3")));
    EXPECT_EQ(errors.find("Failed to load configuration file (json): "), 0U);
    EXPECT_EQ(errors.back(), '\n');
    EXPECT_NE(errors.find("line 1"), std::string::npos) << errors;
}

TEST_F(ConfigurationTest, EmptyFileGivesTheMessageAndTheDefaults) {
    expectDefaults(load(file("")));
    EXPECT_EQ(errors.find("Failed to load configuration file (json): "), 0U);
}

TEST_F(ConfigurationTest, OneBadNumberPutsAllThreeBackToTheirDefaults) {
    expectDefaults(load(file(R"({"maxThreads": 3, "maxCpuLoadPercent": 25, "maxRestTimeMs": "soon"})")));
    EXPECT_EQ(errors.find("Failed to load configuration file (json): "), 0U);
    EXPECT_NE(errors.find("soon"), std::string::npos) << errors;
}

TEST_F(ConfigurationTest, NegativeOrHugeNumberIsBad) {
    expectDefaults(load(file(R"({"maxThreads": -1})")));
    EXPECT_NE(errors, "");
    expectDefaults(load(file(R"({"maxThreads": 4294967296})")));
    EXPECT_NE(errors, "");
}

TEST_F(ConfigurationTest, OtherPlainValuesAreNoNumbers) {
    for (const char* value : {"null", "true", "3.0", "\"\"", "\" 3\"", "\"0x3\""}) {
        expectDefaults(load(file(R"({"maxThreads": )" + std::string{value} + "}")));
        EXPECT_EQ(errors.find("Failed to load configuration file (json): "), 0U) << value;
    }
}

TEST_F(ConfigurationTest, ArgumentsGoByTheKeysOfTheFile) {
    const Configuration::Arguments arguments{
        {"maxThreads", "3"}, {"maxCpuLoadPercent", "25"}, {"maxRestTimeMs", "200"}, {"path", "other"}};
    const Configuration taken{"here", arguments};
    EXPECT_EQ(taken.path, "here");
    EXPECT_EQ(taken.maxThreads, 3U);
    EXPECT_EQ(taken.maxCpuLoad, 25U);
    EXPECT_EQ(taken.maxRestTime, 200U);
    EXPECT_THROW((Configuration{"here", {{"maxRestTimeMs", "soon"}}}), std::invalid_argument);
}

TEST_F(ConfigurationTest, NumbersAreTakenHoweverUnusual) {
    const Configuration loaded =
        load(file(R"({"maxThreads": 0, "maxCpuLoadPercent": 4294967295, "maxRestTimeMs": 0})"));
    EXPECT_EQ(loaded.maxThreads, 0U);
    EXPECT_EQ(loaded.maxCpuLoad, 4294967295U);
    EXPECT_EQ(loaded.maxRestTime, 0U);
    EXPECT_EQ(errors, "");
}

TEST_F(ConfigurationTest, NestedMemberIsNotSeen) {
    expectDefaults(load(file(R"({"nut": {"maxThreads": 9}, "list": [1], "maxThread": 8})")));
    EXPECT_EQ(errors, "");
}

TEST_F(ConfigurationTest, FirstOfTwoMembersWithOneNameCounts) {
    EXPECT_EQ(load(file(R"({"maxThreads": 2, "maxThreads": 9})")).maxThreads, 2U);
}

TEST_F(ConfigurationTest, DirectoryInPlaceOfAFileDoesNotThrow) {
    EXPECT_NO_THROW(expectDefaults(load(directory.path())));
    EXPECT_EQ(errors.find("Failed to load configuration file (json): "), 0U) << errors;
}

TEST_F(ConfigurationTest, PrintsItsPiecesRunTogether) {
    std::ostringstream stream;
    stream << Configuration{};
    EXPECT_EQ(stream.str(), "Configuration(maxThreads=5maxCpuLoad=10 %maxRestTime=1000 Ms)");
}

} // namespace
} // namespace velk::powerdistribution
