#include "cli/CommandLine.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace velk::cli {
namespace {

/// What `tess` says of itself and of command lines that make no sense.
struct Said {
    std::optional<ExitCode> code;
    std::string out;
    std::string err;
};

Said parse(std::vector<const char*> words) {
    words.insert(words.begin(), "tess");
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    CommandLine line;
    Said said;
    said.code = line.parse(static_cast<int>(words.size()), words.data());
    said.out = ::testing::internal::GetCapturedStdout();
    said.err = ::testing::internal::GetCapturedStderr();
    return said;
}

void expectAll(const std::string& text, std::initializer_list<const char*> parts) {
    for (const char* part : parts) {
        EXPECT_NE(text.find(part), std::string::npos) << part << " is not in:\n" << text;
    }
}

TEST(HelpTest, NamesEveryCommandAndEveryExitCode) {
    const Said said = parse({"--help"});
    EXPECT_EQ(said.code, ExitCode::Done);
    expectAll(said.out, {"status ", "tree ", "get ", "devices ", "channels ", "alarms ", "watch ", "logs ",
                         "explain ", "set ", "do ", "--json", "--store"});
    expectAll(
        said.out,
        {"Exit codes: 0 done, 1 refused or failed, 2 usage, 3 bad configuration, 4 no such path, 5 store",
         "unreachable, 6 device not connected, 7 timed out with the outcome unknown."});
}

TEST(HelpTest, WatchDocumentsHowItKeepsFromFlooding) {
    const Said said = parse({"watch", "--help"});
    EXPECT_EQ(said.code, ExitCode::Done);
    expectAll(said.out, {"--interval", "Seconds in which the changes of a path make one line (1)",
                         "--deadband", "Percent that a measure must have moved since its last line to make",
                         "--all", "--every", "--count", "--for"});
}

TEST(HelpTest, AlarmsAndEventsDocumentTheirOptions) {
    expectAll(parse({"alarms", "--help"}).out, {"--history", "--since", "--path", "90s, 15m, 1h, 2d"});
    expectAll(parse({"events", "--help"}).out, {"--since", "--path", "90s, 15m, 1h, 2d"});
}

TEST(HelpTest, OptionsOfTheHistoryOfAlarmsAreForTheHistory) {
    EXPECT_EQ(parse({"alarms", "--since", "1h"}).code, ExitCode::Usage);
    EXPECT_EQ(parse({"alarms", "--path", "x"}).code, ExitCode::Usage);
    EXPECT_FALSE(parse({"alarms", "--history", "--since", "1h", "--path", "x"}).code);
}

TEST(HelpTest, TreeAndLogsDocumentTheirOptions) {
    expectAll(parse({"tree", "--help"}).out, {"PATH", "--depth", "--full"});
    expectAll(parse({"logs", "--help"}).out, {"-n", "-f,--follow", "--for"});
}

TEST(HelpTest, AMisspeltCommandNamesTheNearest) {
    const Said said = parse({"statsu"});
    EXPECT_EQ(said.code, ExitCode::Usage);
    expectAll(said.err, {"no such command: \"statsu\"; did you mean \"status\"?"});
    EXPECT_EQ(said.out, "");
}

TEST(HelpTest, AMisspeltCommandIsFoundBehindOptionsToo) {
    expectAll(parse({"--store", "memory:x", "statsu"}).err,
              {"tess: no such command: \"statsu\"; did you mean \"status\"?"});
    expectAll(parse({"--store=memory:x", "--json", "statsu"}).err, {"did you mean \"status\"?"});
}

TEST(HelpTest, EveryUsageErrorNamesTheProgramAndTheWrongWord) {
    expectAll(parse({}).err, {"tess: no command; tess --help names them\n"});
    expectAll(parse({"--bogus"}).err, {"tess: no such option before a command: \"--bogus\""});
    expectAll(parse({"status", "--bogus"}).err, {"tess: ", "--bogus"});
    expectAll(parse({"--store"}).err, {"tess: --store"});
}

TEST(HelpTest, NothingIsNeitherAStoreNorATime) {
    for (const auto& words : {std::vector<const char*>{"--store", "", "status"},
                              {"history", "x", "--since", ""},
                              {"events", "--since", ""},
                              {"alarms", "--history", "--since", ""}}) {
        const Said said = parse(words);
        EXPECT_EQ(said.code, ExitCode::Usage);
        expectAll(said.err, {"tess: --", "expected something"});
    }
}

TEST(HelpTest, NumbersThatAreNoneAreUsageErrors) {
    for (const auto& words : {std::vector<const char*>{"logs", "-n", "-1"},
                              {"logs", "-n", "99999999999999999999"},
                              {"watch", "--count", "-1"},
                              {"watch", "--for", "nan"},
                              {"watch", "--interval", "nan"},
                              {"watch", "--interval", "1x"},
                              {"set", "a", "1", "--timeout", "nan"},
                              {"set", "a", "1", "--timeout", "86401"}}) {
        EXPECT_EQ(parse(words).code, ExitCode::Usage) << words[1] << " " << words.back();
    }
    EXPECT_FALSE(parse({"watch", "--interval", "0.5", "--count", "3", "--for", "86400"}).code);
}

TEST(HelpTest, AMisspeltOptionIsAUsageError) {
    EXPECT_EQ(parse({"status", "--jsn"}).code, ExitCode::Usage);
    EXPECT_EQ(parse({}).code, ExitCode::Usage);
    EXPECT_EQ(parse({"watch", "--deadband", "-1"}).code, ExitCode::Usage);
    EXPECT_EQ(parse({"tree", "--depth", "-1"}).code, ExitCode::Usage);
}

} // namespace
} // namespace velk::cli
