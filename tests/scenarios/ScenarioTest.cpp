#include "tests/scenarios/Runner.h"
#include "tests/scenarios/ScenarioReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace velk::scenarios {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> filesIn(const fs::path& folder) {
    std::vector<std::string> files;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator{folder, ignored}) {
        if (entry.path().extension() == ".json") {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::string nameOf(const ::testing::TestParamInfo<std::string>& file) {
    std::string name = fs::path{file.param}.stem();
    std::replace_if(
        name.begin(), name.end(), [](unsigned char letter) { return std::isalnum(letter) == 0; }, '_');
    return name;
}

class ScenarioTest : public ::testing::TestWithParam<std::string> {};

TEST_P(ScenarioTest, Holds) {
    for (const Variables& variant : readVariants(GetParam())) {
        std::string with;
        for (const auto& [name, value] : variant) {
            with += " " + name + "=" + value;
        }
        SCOPED_TRACE("with" + with);
        try {
            Runner runner{GetParam(), variant};
            runner.play();
            for (const std::string& figure : runner.figures()) {
                std::printf("%s\n", figure.c_str());
            }
        } catch (const ScenarioError& failure) {
            FAIL() << failure.what();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Scenarios, ScenarioTest,
                         ::testing::ValuesIn(filesIn(VELK_SOURCE_DIR "/tests/scenarios")), nameOf);
INSTANTIATE_TEST_SUITE_P(Long, ScenarioTest,
                         ::testing::ValuesIn(filesIn(VELK_SOURCE_DIR "/tests/scenarios/long")), nameOf);

} // namespace
} // namespace velk::scenarios
