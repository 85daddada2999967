#include "cli/SafeOutput.h"

#include "cli/Style.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace velk::cli {
namespace {

std::string shown(const std::string& text, bool colours) {
    std::ostringstream stream;
    {
        const SafeOutput safe{stream, true, colours};
        stream << text;
    }
    return stream.str();
}

/// The same, letter by letter.
std::string shownSlowly(const std::string& text, bool colours) {
    std::ostringstream stream;
    {
        const SafeOutput safe{stream, true, colours};
        for (const char letter : text) {
            stream.put(letter);
        }
    }
    return stream.str();
}

TEST(SafeOutputTest, LetsLinesTabsAndLettersOfAllLanguagesPass) {
    const std::string text = "Größe\t22.5 °C Ā – 漢字 😀\nnext";
    EXPECT_EQ(shown(text, false), text);
    EXPECT_EQ(shownSlowly(text, true), text);
}

TEST(SafeOutputTest, ControlCharactersBecomeQuestionMarks) {
    EXPECT_EQ(shown("a\033]0;title\ab\033[2J\rc\bd\x7F", false), "a?]0;title?b?[2J?c?d?");
    EXPECT_EQ(shown(std::string("a\0b", 3), false), "a?b");
}

TEST(SafeOutputTest, ControlCharactersOfTwoBytesBecomeQuestionMarks) {
    EXPECT_EQ(shown("a\xC2\x9B"
                    "2Jb\xC2\x85",
                    false),
              "a?2Jb?");
    EXPECT_EQ(shown("\xC2\xB0 \xC2", false), "\xC2\xB0 \xC2");
    EXPECT_EQ(shown("\xC2\033[2J", false), "\xC2?[2J");
}

TEST(SafeOutputTest, ToAProgramOnlyThatBecomesAQuestionMarkWhichJsonNeverHas) {
    std::ostringstream stream;
    {
        const SafeOutput safe{stream, false, false};
        stream << "{\"a\": \"\x7F\xC2\x9B\"}\033[2J\r\n";
    }
    EXPECT_EQ(stream.str(), "{\"a\": \"\x7F\xC2\x9B\"}?[2J?\n");
}

TEST(SafeOutputTest, ColoursOfTheProgramPassWhereAPersonLooks) {
    const Style style{true};
    const std::string text = style.title("a") + style.faint("b") + style.good("c") + style.bad("d") +
                             style.level(tessapi::LevelAlarm::critical, "e") +
                             style.level(tessapi::LevelAlarm::warning, "f") +
                             style.level(tessapi::LevelAlarm::info, "g");
    EXPECT_EQ(shown(text, true), text);
    EXPECT_EQ(shownSlowly(text, true), text);
    EXPECT_EQ(shown("\033[31mred", false), "?[31mred");
}

TEST(SafeOutputTest, OtherSequencesAreNoColours) {
    EXPECT_EQ(shown("\033[8mhidden \033[31;8m \033[1;1H \033[", true), "?[8mhidden ?[31;8m ?[1;1H ?[");
    EXPECT_EQ(shown("\033\033[31m\033", true), "?\033[31m?");
}

TEST(SafeOutputTest, StreamGoesOnAsItWasAfterwards) {
    std::ostringstream stream;
    {
        const SafeOutput safe{stream, true, false};
        stream << "\033" << std::flush;
        EXPECT_EQ(stream.str(), "?");
    }
    stream << "\033";
    EXPECT_EQ(stream.str(), "?\033");
    EXPECT_TRUE(stream.good());
}

TEST(SafeOutputTest, StreamThatFailsIsToldSo) {
    std::ofstream full{"/dev/full"};
    {
        const SafeOutput safe{full, true, false};
        full << "text" << std::flush;
        EXPECT_FALSE(full.good());
    }
    EXPECT_FALSE(full.good());
}

} // namespace
} // namespace velk::cli
