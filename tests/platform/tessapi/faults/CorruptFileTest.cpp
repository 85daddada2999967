#include "platform/tessapi/engine/Database.h"
#include "platform/tessapi/engine/Engine.h"
#include "testing/TemporaryDirectory.h"
#include "tests/platform/tessapi/faults/Faults.h"
#include "tests/platform/tessapi/faults/RandomWork.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <regex>
#include <string>
#include <vector>

namespace tessapi::faults {
namespace {

namespace fs = std::filesystem;

/// Stores with pages that are not what they were.
class CorruptFileTest : public ::testing::Test {
protected:
    std::string file() const { return (folder / "tess.db").string(); }
    std::string url() const { return "sqlite:" + file(); }
    std::string permissive() const { return url() + "?when-corrupt=set-aside"; }

    static std::shared_ptr<Engine> open(const std::string& url, bool create = true) {
        Engine::Options options;
        options.framesToCopy = 1; // so that the content is in the file and not in its log
        return Engine::open(StoreUrl{url}, create, options);
    }

    void make() const {
        const auto store = open(url());
        RandomWork work{*store, 1, 0};
        for (std::uint32_t call = 1; call <= 60; ++call) {
            work.perform(call);
        }
    }

    /// Overwrites all pages but the first one, which says what the file is.
    void spoil() const {
        std::fstream stream{file(), std::ios::in | std::ios::out | std::ios::binary};
        const auto size = fs::file_size(file());
        ASSERT_GT(size, 4096U);
        stream.seekp(1024);
        stream << std::string(size - 1024, '\x5a');
    }

    static std::string contentOf(const fs::path& path) {
        std::ifstream stream{path, std::ios::binary};
        return {std::istreambuf_iterator<char>{stream}, {}};
    }

    /// The files that were set aside, without their logs.
    std::vector<fs::path> setAside() const {
        std::vector<fs::path> found;
        for (const auto& entry : fs::directory_iterator{folder.path()}) {
            const auto name = entry.path().filename().string();
            if (std::regex_match(name,
                                 std::regex{R"(tess\.db\.corrupt-\d{4}-\d\d-\d\dT\d\d-\d\d-\d\dZ(-\d+)?)"})) {
                found.push_back(entry.path());
            }
        }
        return found;
    }

    static std::string refusal(const std::string& url, bool create = true) {
        try {
            open(url, create);
        } catch (const boost::system::system_error& failure) {
            return failure.what();
        }
        return "";
    }

    const velk::testing::TemporaryDirectory folder{scratch()};
};

TEST_F(CorruptFileTest, WithoutPermissionACorruptStoreIsRefusedAndLeftAsItIs) {
    make();
    spoil();
    const auto before = contentOf(file());
    const auto text = refusal(url());
    EXPECT_EQ(text.rfind("store " + url() + ": ", 0), 0U) << text;
    EXPECT_EQ(contentOf(file()), before);
    EXPECT_TRUE(setAside().empty());
}

TEST_F(CorruptFileTest, WithPermissionItIsSetAsideUnderItsDateAndANewStoreIsBegun) {
    make();
    spoil();
    EXPECT_TRUE(fs::exists(file() + "-wal"));
    const auto before = contentOf(file());
    ::testing::internal::CaptureStderr();
    const auto store = open(permissive());
    const auto said = ::testing::internal::GetCapturedStderr();
    ASSERT_EQ(setAside().size(), 1U);
    const auto aside = setAside().front();
    EXPECT_EQ(said, "WARNING - store " + permissive() + ": the file was corrupt and is now " +
                        aside.string() + "; a new store is begun\n");
    EXPECT_EQ(contentOf(aside), before);
    EXPECT_TRUE(fs::exists(aside.string() + "-wal"));
    EXPECT_EQ(store->image().content.devices.size(), 1U);
    store->setAttribute(1, 5, "works");
    EXPECT_EQ(store->attribute(1, 5), "works");
}

TEST_F(CorruptFileTest, WhatWasSetAsideBeforeIsNotOverwritten) {
    for (std::size_t time = 1; time <= 3; ++time) {
        make();
        spoil();
        ::testing::internal::CaptureStderr();
        open(permissive());
        ::testing::internal::GetCapturedStderr();
        EXPECT_EQ(setAside().size(), time);
    }
}

TEST_F(CorruptFileTest, AProgramThatMayNotMakeAStoreSetsNothingAside) {
    make();
    spoil();
    EXPECT_NE(refusal(permissive(), false), "");
    EXPECT_TRUE(setAside().empty());
}

TEST_F(CorruptFileTest, ADatabaseOfAnotherProgramIsNotSetAside) {
    Database{file(), "another program"}.execute("CREATE TABLE invoice(number INTEGER PRIMARY KEY)");
    const auto before = contentOf(file());
    EXPECT_NE(refusal(permissive()), "");
    EXPECT_EQ(contentOf(file()), before);
    EXPECT_TRUE(setAside().empty());
}

TEST_F(CorruptFileTest, ADamagedDatabaseOfAnotherProgramIsNotSetAside) {
    make();
    {
        std::fstream stream{file(), std::ios::in | std::ios::out | std::ios::binary};
        stream.seekp(68); // what the file is
        stream << std::string{"\0\0\x04\xd2", 4};
    }
    spoil();
    const auto before = contentOf(file());
    EXPECT_THROW(open(permissive()), boost::system::system_error);
    EXPECT_EQ(contentOf(file()), before);
    EXPECT_TRUE(setAside().empty());
}

TEST_F(CorruptFileTest, AFileThatIsNoDatabaseIsNotSetAsideHoweverOften) {
    const std::string text(5'000, 't');
    std::ofstream{file()} << text;
    EXPECT_THROW(open(permissive()), boost::system::system_error);
    EXPECT_THROW(open(permissive()), boost::system::system_error);
    EXPECT_EQ(contentOf(file()), text);
    EXPECT_TRUE(setAside().empty());
}

TEST_F(CorruptFileTest, AStoreWhoseFirstPageIsGoneIsSetAside) {
    make();
    {
        std::fstream stream{file(), std::ios::in | std::ios::out | std::ios::binary};
        stream << std::string(1024, '\0');
    }
    open(permissive());
    EXPECT_EQ(setAside().size(), 1U);
}

TEST_F(CorruptFileTest, APageThatTurnsBadWhileTheStoreIsOpenIsAFailureThatNamesItAndIsFoundAtTheNextStart) {
    make();
    {
        const auto running = open(permissive());
        spoil();
        try {
            running->setAttribute(1, 5, "news"); // what was read before is read again after it
            running->image();
            ADD_FAILURE() << "the store was read";
        } catch (const boost::system::system_error& failure) {
            const std::string text{failure.what()};
            EXPECT_EQ(text.rfind("store " + permissive() + ": ", 0), 0U) << text;
            EXPECT_NE(text.find("malformed"), std::string::npos) << text;
        }
        EXPECT_NE(refusal(permissive()), "") << "while a program has it open it stays where it is";
        EXPECT_TRUE(setAside().empty());
        ::testing::internal::CaptureStderr();
    }
    const auto store = open(permissive());
    ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(setAside().size(), 1U);
    EXPECT_EQ(store->image().content.devices.size(), 1U);
}

TEST_F(CorruptFileTest, AnUnknownOptionOfTheUrlIsRefused) {
    EXPECT_THROW(StoreUrl{url() + "?when-corrupt=delete"}, std::invalid_argument);
    EXPECT_TRUE(StoreUrl{permissive()}.setsCorruptAside());
    EXPECT_FALSE(StoreUrl{url()}.setsCorruptAside());
}

} // namespace
} // namespace tessapi::faults
