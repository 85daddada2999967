#include "fuzz/Fuzz.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

/// This program has some parts of the shared library a second time, because the library hides them. The
/// address sanitizer, which asks for this function, takes that for two definitions of one thing.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options();

extern "C" const char* __asan_default_options() {
    return "detect_odr_violation=0";
}

namespace velk::fuzz {
namespace {

namespace fs = std::filesystem;

const fs::path CORPUS{VELK_SOURCE_DIR "/fuzz/corpus"};

std::vector<fs::path> inputsOf(const std::string& name) {
    std::vector<fs::path> inputs;
    if (fs::is_directory(CORPUS / name)) {
        for (const fs::directory_entry& entry : fs::directory_iterator{CORPUS / name}) {
            inputs.push_back(entry.path());
        }
    }
    return inputs;
}

std::string contentOf(const fs::path& file) {
    std::ifstream stream{file, std::ios::binary};
    return {std::istreambuf_iterator<char>{stream}, {}};
}

class CorpusTest : public ::testing::TestWithParam<std::string> {};

TEST_P(CorpusTest, HoldsWhatTheFuzzerDemandsForEachInputThatIsKept) {
    const std::vector<fs::path> inputs = inputsOf(GetParam());
    ASSERT_FALSE(inputs.empty()) << "nothing to begin with in " << CORPUS / GetParam();
    const Function run = fuzzers().at(GetParam());
    run("");
    for (const fs::path& input : inputs) {
        try {
            run(contentOf(input));
        } catch (const Broken& broken) {
            ADD_FAILURE() << input << ": " << broken.what;
        } catch (const std::exception& failure) {
            ADD_FAILURE() << input << ": an exception that nobody expected: " << failure.what();
        }
    }
}

std::vector<std::string> names() {
    std::vector<std::string> all;
    for (const auto& [name, function] : fuzzers()) {
        all.push_back(name);
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(All, CorpusTest, ::testing::ValuesIn(names()),
                         [](const auto& parameter) { return parameter.param; });

TEST(CorpusTest, EachFolderHasItsFuzzer) {
    for (const fs::directory_entry& entry : fs::directory_iterator{CORPUS}) {
        EXPECT_EQ(fuzzers().count(entry.path().filename().string()), 1U) << entry.path();
    }
}

} // namespace
} // namespace velk::fuzz
