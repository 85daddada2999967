#include "testing/TemporaryDirectory.h"
#include "tests/platform/tessapi/StoreClient.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace tessapi::contract {
namespace {

/// Where a program finds its store. Every test starts with none of the variables set, and puts them back.
class StorePlaceTest : public ::testing::Test {
protected:
    StorePlaceTest() {
        for (const char* name : {"TESS_URL", "STATE_DIRECTORY", "XDG_STATE_HOME", "HOME", "RUNTIME_DIRECTORY",
                                 "XDG_RUNTIME_DIR", "TESS_WHEN_CORRUPT"}) {
            const char* value = std::getenv(name);
            before[name] = value == nullptr ? std::nullopt : std::optional<std::string>{value};
            unsetenv(name);
        }
    }
    ~StorePlaceTest() override {
        for (const auto& [name, value] : before) {
            value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
        }
    }

    /// The store at `path` as the machine offers it without the variables of this test.
    static std::string withoutVariables(const std::string& path) {
        const bool installed = ::access("/run/velk", W_OK | X_OK) == 0;
        return "sqlite:" + path + (installed ? "?working=/run/velk" : "");
    }

    std::map<std::string, std::optional<std::string>> before;
    velk::testing::TemporaryDirectory folder;
};

TEST_F(StorePlaceTest, TheUrlOfTheEnvironmentComesFirst) {
    setenv("TESS_URL", "memory:chosen", 1);
    setenv("STATE_DIRECTORY", "/state", 1);
    EXPECT_EQ(TessAccessor::defaultUrl(), "memory:chosen");
}

TEST_F(StorePlaceTest, TheStateDirectoryOfTheServiceComesSecond) {
    setenv("STATE_DIRECTORY", "/var/lib/velk", 1);
    setenv("XDG_STATE_HOME", "/xdg", 1);
    setenv("HOME", "/home/someone", 1);
    EXPECT_EQ(TessAccessor::defaultUrl(), withoutVariables("/var/lib/velk/tess.db"));
}

TEST_F(StorePlaceTest, TheStateFolderOfTheUserComesThird) {
    setenv("XDG_STATE_HOME", "/xdg", 1);
    setenv("HOME", "/home/someone", 1);
    EXPECT_EQ(TessAccessor::defaultUrl(), withoutVariables("/xdg/velk/tess.db"));
}

TEST_F(StorePlaceTest, TheHomeOfTheUserComesLast) {
    setenv("HOME", "/home/someone", 1);
    EXPECT_EQ(TessAccessor::defaultUrl(), withoutVariables("/home/someone/.local/state/velk/tess.db"));
}

TEST_F(StorePlaceTest, ProgramsWorkInTheRuntimeDirectoryOfTheService) {
    setenv("STATE_DIRECTORY", "/var/lib/velk:/var/lib/other", 1);
    setenv("RUNTIME_DIRECTORY", "/run/service:/run/other", 1);
    setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1);
    EXPECT_EQ(TessAccessor::defaultUrl(), "sqlite:/var/lib/velk/tess.db?working=/run/service");
}

TEST_F(StorePlaceTest, ProgramsOfAUserWorkInTheRuntimeFolderOfThatUser) {
    setenv("HOME", "/home/someone", 1);
    setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1);
    const bool installed = ::access("/run/velk", W_OK | X_OK) == 0; // that of the machine comes first
    EXPECT_EQ(TessAccessor::defaultUrl(), "sqlite:/home/someone/.local/state/velk/tess.db?working=" +
                                              (installed ? "/run/velk" : (folder / "velk").string()));
}

TEST_F(StorePlaceTest, ARuntimeFolderThatIsNotThereIsNotOffered) {
    setenv("HOME", "/home/someone", 1);
    setenv("XDG_RUNTIME_DIR", (folder / "not there").c_str(), 1);
    EXPECT_EQ(TessAccessor::defaultUrl(), withoutVariables("/home/someone/.local/state/velk/tess.db"));
}

TEST_F(StorePlaceTest, AChosenUrlIsTakenAsItStands) {
    setenv("TESS_URL", "sqlite:/somewhere/tess.db", 1);
    setenv("RUNTIME_DIRECTORY", "/run/service", 1);
    EXPECT_EQ(TessAccessor::defaultUrl(), "sqlite:/somewhere/tess.db");
}

TEST_F(StorePlaceTest, WhatBecomesOfACorruptFileIsAddedWhereTheUrlDoesNotSayIt) {
    setenv("TESS_WHEN_CORRUPT", "set-aside", 1);
    setenv("HOME", "/home/someone", 1);
    const std::string plain = withoutVariables("/home/someone/.local/state/velk/tess.db");
    EXPECT_EQ(TessAccessor::defaultUrl(),
              plain + (plain.find('?') == std::string::npos ? '?' : '&') + "when-corrupt=set-aside");
    for (const auto& [url, whole] : std::map<std::string, std::string>{
             {"sqlite:/tess.db", "sqlite:/tess.db?when-corrupt=set-aside"},
             {"sqlite:/tess.db?keep=5", "sqlite:/tess.db?keep=5&when-corrupt=set-aside"},
             {"sqlite:/tess.db?when-corrupt=refuse", "sqlite:/tess.db?when-corrupt=refuse"},
             {"memory:chosen", "memory:chosen"},
             {"redis://host/site", "redis://host/site"}}) {
        setenv("TESS_URL", url.c_str(), 1);
        EXPECT_EQ(TessAccessor::defaultUrl(), whole);
    }
}

TEST_F(StorePlaceTest, AnotherWordForACorruptFileIsRefused) {
    const std::string url = "sqlite:" + (folder / "tess.db").string();
    setenv("TESS_URL", url.c_str(), 1);
    setenv("TESS_WHEN_CORRUPT", "delete", 1);
    EXPECT_THROW((TessAccessor{"program", true}), std::invalid_argument);
    setenv("TESS_WHEN_CORRUPT", "refuse", 1);
    EXPECT_NO_THROW((TessAccessor{"program", true}));
}

TEST_F(StorePlaceTest, AProgramOpensTheStoreOfItsEnvironment) {
    const std::string url = "sqlite:" + (folder / "tess.db").string();
    setenv("TESS_URL", url.c_str(), 1);
    TessAccessor program{"program", true};
    EXPECT_EQ(program.browser().url(), url);
    const std::uint64_t device = program.emplaceDevice(uuidFor("device"), ITessAccessor::ROOT_DEVICE, 0);
    EXPECT_EQ(StoreClient{url}.store().deviceIdOf(uuidFor("device")), device);
}

TEST_F(StorePlaceTest, AProgramThatOnlyLooksDoesNotMakeTheStore) {
    setenv("STATE_DIRECTORY", folder.path().c_str(), 1);
    EXPECT_THROW((TessAccessor{"program", false}), boost::system::system_error);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(StorePlaceTest, TheFolderOfTheDefaultStoreIsMade) {
    setenv("HOME", folder.path().c_str(), 1);
    const TessAccessor program{"program", true};
    EXPECT_TRUE(std::filesystem::exists(folder.path() / ".local/state/velk/tess.db"));
}

TEST(MemoryStoreTest, LivesAsLongAsAClientOfItsName) {
    auto first = std::make_unique<StoreClient>("memory:lives");
    const std::uint64_t device = first->device("device");
    auto second = std::make_unique<StoreClient>("memory:lives", false);
    first.reset();
    EXPECT_EQ(second->store().deviceIdOf(uuidFor("device")), device);
    second.reset();
    EXPECT_EQ(StoreClient{"memory:lives"}.store().deviceIdOf(uuidFor("device")), ITessAccessor::UNKNOWN_ID);
}

TEST(MemoryStoreTest, NamesAreStoresOfTheirOwn) {
    StoreClient one{"memory:one"};
    StoreClient two{"memory:two"};
    one.device("device");
    EXPECT_EQ(two.store().deviceIdOf(uuidFor("device")), ITessAccessor::UNKNOWN_ID);
}

TEST(MemoryStoreTest, OneThatIsNotThereIsNotMadeUnlessAskedFor) {
    EXPECT_THROW((StoreClient{"memory:nowhere", false}), boost::system::system_error);
}

} // namespace
} // namespace tessapi::contract
