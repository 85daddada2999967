#include "daemon/history/HistoryBook.h"

#include "daemon/history/HistoryFile.h"
#include "testing/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace velk::daemon {
namespace {

using velk::common::Uuid;

constexpr std::int64_t BOOK_BEGIN = 1'700'049'600'000;
constexpr std::int64_t BOOK_HOUR = 3'600'000;

HistoryBook::Limits limitOf(std::size_t bytes) {
    return {bytes, {}};
}

HistoryBook::Key keyOf(const std::string& name) {
    return {Uuid{Uuid::VELK_NAMESPACE, "device"}, name};
}

std::string textOf(const ByteVector& bytes) {
    return {bytes.begin(), bytes.end()};
}

void fill(HistoryBook& book, std::uint64_t channel, int seconds, std::int64_t beginMs = BOOK_BEGIN) {
    for (int i = 0; i < seconds; ++i) {
        book.add(channel, beginMs + i * 1000, qz::CValue{static_cast<float>(i)});
    }
}

double lastOf(const HistoryBook& book, std::uint64_t channel, std::int64_t fromMs, std::int64_t toMs) {
    const auto slice = book.slice(channel, fromMs, toMs, 1);
    return slice && slice->columns[0] ? slice->columns[0]->last : -1.0;
}

bool meetFloat(HistoryBook& book, std::uint64_t channel, const std::string& name) {
    return book.meet(channel, keyOf(name), HistoryKind::number, qz::datatype::float32);
}

TEST(HistoryBookTest, NothingIsKnownOfAChannelThatWasNotMetOrHasNoValue) {
    HistoryBook book{limitOf(1 << 20)};
    book.add(5, BOOK_BEGIN, qz::CValue{1.0F});
    EXPECT_FALSE(book.slice(5, 0, BOOK_BEGIN, 1));
    EXPECT_TRUE(meetFloat(book, 5, "a"));
    EXPECT_FALSE(book.slice(5, 0, BOOK_BEGIN, 1));
    book.add(5, BOOK_BEGIN, qz::CValue{1.0F});
    EXPECT_EQ(lastOf(book, 5, BOOK_BEGIN, BOOK_BEGIN + 1), 1.0);
}

TEST(HistoryBookTest, ChannelsThatAllLeftAreFoundAgainUnderOtherNumbersAndUnknownInBetween) {
    HistoryBook book{limitOf(1 << 20)};
    meetFloat(book, 5, "a");
    meetFloat(book, 6, "b");
    book.add(5, BOOK_BEGIN, qz::CValue{1.0F});
    book.add(6, BOOK_BEGIN, qz::CValue{2.0F});
    book.leaveAll(BOOK_BEGIN + 10'000);
    EXPECT_FALSE(book.slice(5, BOOK_BEGIN, BOOK_BEGIN + 10'000, 1));
    meetFloat(book, 6, "a"); // in another store
    book.add(6, BOOK_BEGIN + 20'000, qz::CValue{3.0F});
    const auto slice = book.slice(6, BOOK_BEGIN, BOOK_BEGIN + 30'000, 3);
    ASSERT_TRUE(slice);
    ASSERT_TRUE(slice->columns[0]);
    EXPECT_EQ(slice->columns[0]->last, 1.0);
    EXPECT_FALSE(slice->columns[1]);
    ASSERT_TRUE(slice->columns[2]);
    EXPECT_EQ(slice->columns[2]->last, 3.0);
}

TEST(HistoryBookTest, AChannelThatNeverChangesTakesLessThan400Bytes) {
    HistoryBook book{limitOf(1 << 20)};
    for (std::uint64_t i = 0; i < 100; ++i) {
        meetFloat(book, i, "PowerDistribution.Measure.Voltage");
        book.add(i, BOOK_BEGIN, qz::CValue{230.0F});
    }
    EXPECT_LT(book.bytes(), 100U * 400);
    EXPECT_EQ(book.channels(), 100U);
}

TEST(HistoryBookTest, WhenItIsFullTheOldestOfAllGoFirst) {
    HistoryBook book{limitOf(16 * 1024)};
    meetFloat(book, 1, "old");
    meetFloat(book, 2, "new");
    fill(book, 1, 600);
    fill(book, 2, 20'000, BOOK_BEGIN + 600'000);
    EXPECT_LE(book.bytes(), 16U * 1024);
    EXPECT_GT(book.bytes(), 10U * 1024);
    // Its last five minutes are known, as long as their last value lasts, but not how it came to them.
    EXPECT_EQ(book.slice(1, 0, BOOK_BEGIN + BOOK_HOUR, 1)->oldestMs, BOOK_BEGIN + 300'000);
    EXPECT_EQ(lastOf(book, 2, BOOK_BEGIN, BOOK_BEGIN + 20'600'000), 19'999.0);
}

TEST(HistoryBookTest, ItStaysWithinItsLimitWhateverTheStampsAre) {
    HistoryBook book{limitOf(64 * 1024)};
    for (std::uint64_t i = 0; i < 50; ++i) {
        meetFloat(book, i, "channel " + std::to_string(i));
    }
    for (int i = 0; i < 40'000; ++i) {
        const std::int64_t jump = i % 7 == 0 ? 0 : i % 5 == 0 ? BOOK_BEGIN * 2 : BOOK_BEGIN;
        book.add(static_cast<std::uint64_t>(i % 50), jump + i * 100, qz::CValue{static_cast<float>(i)});
        ASSERT_LE(book.bytes(), 64U * 1024) << i;
    }
}

TEST(HistoryBookTest, AChannelForWhichThereIsNoRoomIsRefused) {
    HistoryBook book{limitOf(64 * 1024)};
    std::uint64_t met = 0;
    while (meetFloat(book, met, "PowerDistribution.Measure.Voltage")) {
        book.add(met, BOOK_BEGIN, qz::CValue{1.0F});
        ++met;
    }
    EXPECT_GT(met, 150U);
    EXPECT_LE(book.bytes(), 64U * 1024);
    book.add(met, BOOK_BEGIN, qz::CValue{1.0F});
    EXPECT_FALSE(book.slice(met, 0, BOOK_BEGIN, 1));
}

TEST(HistoryBookTest, AChannelThatIsGoneIsFoundAgainByDeviceAndName) {
    HistoryBook book{limitOf(1 << 20)};
    meetFloat(book, 1, "a");
    fill(book, 1, 10);
    book.leave(1);
    EXPECT_FALSE(book.slice(1, 0, BOOK_BEGIN, 1));
    EXPECT_TRUE(book.meet(2, keyOf("a"), HistoryKind::state, qz::datatype::boolean)); // another kind
    EXPECT_FALSE(book.slice(2, 0, BOOK_BEGIN, 1));
    book.leave(2);
    EXPECT_TRUE(meetFloat(book, 3, "a"));
    EXPECT_EQ(lastOf(book, 3, BOOK_BEGIN, BOOK_BEGIN + 60'000), 9.0);
}

TEST(HistoryBookTest, ChannelsThatAreGoneAreForgotten) {
    HistoryBook book{limitOf(1 << 20)};
    meetFloat(book, 1, "a");
    fill(book, 1, 10);
    book.leave(1);
    const std::size_t before = book.bytes();
    book.forgetGone(BOOK_BEGIN);
    EXPECT_EQ(book.bytes(), before);
    book.forgetGone(BOOK_BEGIN + 10'000);
    EXPECT_EQ(book.bytes(), 0U);
}

TEST(HistoryBookTest, WhatIsSavedComesBackWithAGapFromThen) {
    HistoryBook book{limitOf(1 << 20)};
    meetFloat(book, 1, "a");
    book.meet(2, keyOf("b"), HistoryKind::text, qz::datatype::string);
    fill(book, 1, 4000);
    book.add(2, BOOK_BEGIN, qz::CValue{"x"});
    const std::string file = textOf(book.save(BOOK_BEGIN + 4'500'000));

    HistoryBook other{limitOf(1 << 20)};
    other.load(file);
    EXPECT_TRUE(meetFloat(other, 77, "a"));
    EXPECT_TRUE(other.meet(78, keyOf("b"), HistoryKind::text, qz::datatype::string));
    other.add(77, BOOK_BEGIN + 5'000'000, qz::CValue{3999.0F});
    EXPECT_EQ(lastOf(other, 77, BOOK_BEGIN, BOOK_BEGIN + 4'500'000), 3999.0);
    EXPECT_EQ(lastOf(other, 77, BOOK_BEGIN + 4'500'001, BOOK_BEGIN + 4'999'999), -1.0);
    EXPECT_EQ(lastOf(other, 77, BOOK_BEGIN + 5'000'001, BOOK_BEGIN + 5'100'000), 3999.0);
    const auto texts = other.slice(78, BOOK_BEGIN, BOOK_BEGIN + 5'000'000, 10);
    ASSERT_EQ(texts->changes.size(), 2U);
    EXPECT_EQ(texts->changes[0].value, qz::CValue{"x"});
    EXPECT_FALSE(texts->changes[1].value.isValid());
}

TEST(HistoryBookTest, WhatIsNoHistoryIsRefusedAndChangesNothing) {
    HistoryBook book{limitOf(1 << 20)};
    meetFloat(book, 1, "a");
    fill(book, 1, 100);
    const std::string file = textOf(book.save(BOOK_BEGIN));
    const std::size_t before = book.bytes();
    EXPECT_THROW(book.load(""), std::runtime_error);
    EXPECT_THROW(book.load("something else that is long enough"), std::runtime_error);
    for (std::size_t i = 0; i < file.size(); ++i) {
        std::string damaged = file;
        damaged[i] = static_cast<char>(damaged[i] ^ 0x10);
        EXPECT_THROW(book.load(damaged), std::runtime_error) << i;
        EXPECT_THROW(book.load(file.substr(0, i)), std::runtime_error) << i;
    }
    EXPECT_EQ(book.bytes(), before);
}

TEST(HistoryBookTest, AFileOfALargerLimitIsCutToThisOne) {
    HistoryBook book{limitOf(1 << 20)};
    meetFloat(book, 1, "a");
    fill(book, 1, 40'000);
    HistoryBook small{limitOf(16 * 1024)};
    small.load(textOf(book.save(BOOK_BEGIN + 40'000'000)));
    EXPECT_LE(small.bytes(), 16U * 1024);
}

class HistoryFileTest : public ::testing::Test {
protected:
    HistoryFileTest() {
        meetFloat(book, 1, "a");
        fill(book, 1, 10);
    }

    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator{folder.path()}) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    velk::testing::TemporaryDirectory folder;
    std::ostringstream errors;
    HistoryBook book{limitOf(1 << 20)};
    HistoryBook other{limitOf(1 << 20)};
    HistoryFile file{folder / "history", errors};
};

TEST_F(HistoryFileTest, IsWrittenAndReadAndLeavesNothingElse) {
    file.load(book, 0); // none yet
    file.save(book, BOOK_BEGIN + 20'000);
    file.save(book, BOOK_BEGIN + 20'000);
    EXPECT_EQ(files(), std::vector<std::string>{"history"});
    file.load(other, BOOK_BEGIN);
    meetFloat(other, 5, "a");
    EXPECT_EQ(lastOf(other, 5, BOOK_BEGIN, BOOK_BEGIN + 15'000), 9.0);
    EXPECT_EQ(errors.str(), "");
}

TEST_F(HistoryFileTest, ADamagedOneIsToldAndSetAside) {
    std::ofstream{folder / "history"} << "velk history 1\nand nothing that makes any sense";
    file.load(other, BOOK_BEGIN);
    EXPECT_EQ(errors.str(), "powerdistributiond: the history " + (folder / "history").string() +
                                " is damaged: its checksum is wrong, and is set aside as " +
                                (folder / "history").string() +
                                ".damaged-20231115T120000Z; a new one begins\n");
    EXPECT_EQ(files(), std::vector<std::string>{"history.damaged-20231115T120000Z"});
    EXPECT_EQ(other.bytes(), 0U);
}

TEST_F(HistoryFileTest, OneThatTheSystemDoesNotLetBeReadIsLeftAndNeverReplaced) {
    const std::filesystem::path place = folder / "history";
    std::filesystem::create_symlink(place, place); // leads round and round
    file.load(other, BOOK_BEGIN);
    EXPECT_THAT(errors.str(), ::testing::StartsWith("powerdistributiond: the history " + place.string() +
                                                    " cannot be read: "));
    EXPECT_THAT(errors.str(), ::testing::EndsWith(" and the new one stays in memory\n"));
    file.save(book, BOOK_BEGIN);
    EXPECT_EQ(files(), std::vector<std::string>{"history"});
    EXPECT_TRUE(std::filesystem::is_symlink(place));
}

TEST_F(HistoryFileTest, WhatIsNoRegularFileIsLeft) {
    std::filesystem::create_directory(folder / "history");
    file.load(other, BOOK_BEGIN);
    file.save(book, BOOK_BEGIN);
    EXPECT_THAT(errors.str(), ::testing::HasSubstr("it is no regular file"));
    EXPECT_EQ(files(), std::vector<std::string>{"history"});
    EXPECT_TRUE(std::filesystem::is_directory(folder / "history"));
}

TEST_F(HistoryFileTest, OneThatCannotBeWrittenIsToldOnceAndTheOldOneStays) {
    file.save(book, BOOK_BEGIN);
    std::filesystem::create_directory(folder / "history.new"); // where the draft goes
    file.save(book, BOOK_BEGIN);
    file.save(book, BOOK_BEGIN);
    const std::string told = errors.str();
    EXPECT_THAT(told, ::testing::StartsWith("powerdistributiond: the history cannot be saved: "));
    EXPECT_THAT(told, ::testing::EndsWith("; it stays in memory\n"));
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1);
    std::filesystem::remove(folder / "history.new");
    file.save(book, BOOK_BEGIN);
    std::filesystem::create_directory(folder / "history.new");
    file.save(book, BOOK_BEGIN);
    const std::string twice = errors.str();
    EXPECT_EQ(std::count(twice.begin(), twice.end(), '\n'), 2);
    EXPECT_TRUE(std::filesystem::is_regular_file(folder / "history"));
}

} // namespace
} // namespace velk::daemon
