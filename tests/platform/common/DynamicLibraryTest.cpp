#include "platform/common/DynamicLibrary.h"

#include "plugins/EntryObject.h"
#include "testing/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;
using velk::common::DynamicLibrary;
using velk::common::loadDynamicLibraries;

using Libraries = std::list<std::unique_ptr<DynamicLibrary>>;

const EntryObject& entryOf(const DynamicLibrary& library) {
    return reinterpret_cast<const EntryObject&>(library.protocolLibrary());
}

/// A folder for plug-ins under names that the test chooses, and what the loader made of them.
class DynamicLibraryTest : public testing::Test {
protected:
    void place(const std::string& plugin, const std::string& name) const {
        fs::create_directories((folder / name).parent_path());
        fs::copy_file(fs::path{VELK_TEST_PLUGINS} / (plugin + ".so"), folder / name);
    }

    void write(const std::string& name, const std::string& text) const {
        std::ofstream{folder / name} << text;
    }

    Libraries load(const std::string& name = "") {
        testing::internal::CaptureStderr();
        Libraries libraries = loadDynamicLibraries((name.empty() ? folder.path() : folder / name).string());
        errors = testing::internal::GetCapturedStderr();
        return libraries;
    }

    /// The loaded files, relative to the folder.
    std::vector<std::string> loadedNames(const std::string& name = "") {
        std::vector<std::string> names;
        for (const auto& library : load(name)) {
            names.push_back(fs::path{library->path()}.lexically_normal().lexically_relative(folder.path()));
        }
        return names;
    }

    using Names = std::vector<std::string>;

    velk::testing::TemporaryDirectory folder;
    std::string errors;
};

TEST_F(DynamicLibraryTest, LibraryGivesItsEntryObjectAndItsPath) {
    place("Usable", "a.so");
    const Libraries libraries = load();
    ASSERT_EQ(libraries.size(), 1U);
    EXPECT_STREQ(entryOf(*libraries.front()).kind, "usable");
    EXPECT_EQ(libraries.front()->path(), folder / "a.so");
    EXPECT_EQ(errors, "");
}

TEST_F(DynamicLibraryTest, EntryGetsThePathAsItWasGiven) {
    place("Usable", "a.so");
    write("config.json", "{}");
    const std::string oddPath = (folder.path() / "." / "config.json").string();
    const Libraries libraries = loadDynamicLibraries(oddPath);
    ASSERT_EQ(libraries.size(), 1U);
    EXPECT_EQ(entryOf(*libraries.front()).configurationPath, oddPath);
}

TEST_F(DynamicLibraryTest, NamesInAFolderAreTakenInByteOrder) {
    for (const char* name : {"b.so", "a.so.10", "a.so.2", "B.so", "a.so"}) {
        place("Usable", name);
    }
    EXPECT_EQ(loadedNames(), (Names{"B.so", "a.so", "a.so.10", "a.so.2", "b.so"}));
}

TEST_F(DynamicLibraryTest, OnlyPluginNamesInAFolderCount) {
    for (const char* name : {"lib.so.2", "lib.so.", "lib.so.x", "lib.so.2x", "lib.so.2.0", "lib.2", "libso",
                             "2", "lib.so.bak", "lib.a", "lib.SO"}) {
        place("Usable", name);
    }
    EXPECT_EQ(loadedNames(), (Names{"lib.so.2"}));
    EXPECT_EQ(errors, "");
}

TEST_F(DynamicLibraryTest, FoldersInAFolderAreNotEntered) {
    place("Usable", "deeper/a.so");
    fs::create_directory(folder / "folder.so");
    EXPECT_EQ(loadedNames(), (Names{}));
    EXPECT_EQ(errors, "");
}

TEST_F(DynamicLibraryTest, BrokenFileCostsOneLineAndNotTheOthers) {
    write("a.so", "this is no library");
    place("Usable", "b.so");
    EXPECT_EQ(loadedNames(), (Names{"b.so"}));
    EXPECT_THAT(errors, StartsWith("Failed to load protocol library " + (folder / "a.so").string() + ": "));
    EXPECT_EQ(errors.find('\n'), errors.size() - 1);
}

TEST_F(DynamicLibraryTest, LibraryIsBoundAtOnce) {
    place("Unresolved", "a.so");
    EXPECT_EQ(loadedNames(), (Names{}));
    EXPECT_THAT(errors, HasSubstr("velkFunctionThatNobodyHas"));
    EXPECT_EQ(errors.find('\n'), errors.size() - 1);
}

TEST_F(DynamicLibraryTest, LibraryWithoutEntryIsSkippedSilently) {
    place("WithoutEntry", "a.so");
    EXPECT_EQ(loadedNames(), (Names{}));
    EXPECT_EQ(errors, "");
    EXPECT_EQ(dlopen((folder / "a.so").c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
}

TEST_F(DynamicLibraryTest, LibraryThatDoesNotWantToBeUsedIsSkippedSilently) {
    place("Unwilling", "a.so");
    EXPECT_EQ(loadedNames(), (Names{}));
    EXPECT_EQ(errors, "");
    EXPECT_EQ(dlopen((folder / "a.so").c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
}

TEST_F(DynamicLibraryTest, LibraryWhoseEntryThrowsCostsOneLine) {
    place("Throwing", "a.so");
    EXPECT_EQ(loadedNames(), (Names{}));
    EXPECT_EQ(errors, "Failed to load protocol library " + (folder / "a.so").string() + ": no device bus\n");
}

TEST_F(DynamicLibraryTest, SymbolsOfALibraryStayItsOwn) {
    place("Usable", "a.so");
    const Libraries libraries = load();
    ASSERT_EQ(libraries.size(), 1U);
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "velkTestSymbolOfAPlugin"), nullptr);
}

TEST_F(DynamicLibraryTest, LibraryIsUnloadedWithItsObjectAndCanBeLoadedAgain) {
    place("Usable", "a.so");
    for (int round = 0; round < 2; ++round) {
        Libraries libraries = load();
        ASSERT_EQ(libraries.size(), 1U);
        libraries.clear();
        EXPECT_EQ(dlopen((folder / "a.so").c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
    }
}

TEST_F(DynamicLibraryTest, FileWithoutTheMemberMeansItsFolder) {
    place("Usable", "a.so");
    write("config.json", R"({"maxThreads": 5})");
    EXPECT_EQ(loadedNames("config.json"), (Names{"a.so"}));
}

TEST_F(DynamicLibraryTest, FileThatIsNotThereOrNotReadableAsJsonMeansItsFolder) {
    place("Usable", "a.so");
    write("bad.json", R"({"protocolLibraries": [)");
    EXPECT_EQ(loadedNames("absent.json"), (Names{"a.so"}));
    EXPECT_EQ(errors, "");
    EXPECT_EQ(loadedNames("bad.json"), (Names{"a.so"}));
    EXPECT_EQ(errors, "") << "reported where the configuration is loaded";
    write("list.json", R"(["protocolLibraries"])");
    EXPECT_EQ(loadedNames("list.json"), (Names{"a.so"}));
}

TEST_F(DynamicLibraryTest, FolderThatIsNotThereHasNoLibraries) {
    EXPECT_EQ(loadedNames("absent/config.json"), (Names{}));
    EXPECT_EQ(errors, "");
}

TEST_F(DynamicLibraryTest, ListedFilesAndFoldersAreTakenInTheirOrder) {
    place("Usable", "z.so");
    place("Usable", "etc/unlisted.so");
    place("Usable", "lib/b.so");
    place("Usable", "lib/a.so");
    place("Usable", "anyName.plugin");
    write("etc/config.json", R"({"protocolLibraries": ["../z.so", "../lib", ")" +
                                 (folder / "anyName.plugin").string() + R"("]})");
    EXPECT_EQ(loadedNames("etc/config.json"), (Names{"z.so", "lib/a.so", "lib/b.so", "anyName.plugin"}));
    EXPECT_EQ(errors, "");
}

TEST_F(DynamicLibraryTest, EmptyListMeansNoLibraries) {
    place("Usable", "a.so");
    write("config.json", R"({"protocolLibraries": []})");
    EXPECT_EQ(loadedNames("config.json"), (Names{}));
}

TEST_F(DynamicLibraryTest, ListedFileThatIsNotThereCostsOneLine) {
    place("Usable", "a.so");
    write("config.json", R"({"protocolLibraries": ["absent.so", "a.so"]})");
    EXPECT_EQ(loadedNames("config.json"), (Names{"a.so"}));
    EXPECT_THAT(errors,
                StartsWith("Failed to load protocol library " + (folder / "absent.so").string() + ": "));
    EXPECT_EQ(errors.find('\n'), errors.size() - 1);
}

TEST_F(DynamicLibraryTest, ListedPlaceThatIsNoTextCostsOneLine) {
    place("Usable", "a.so");
    write("config.json", R"({"protocolLibraries": [7, "a.so"]})");
    EXPECT_EQ(loadedNames("config.json"), (Names{"a.so"}));
    EXPECT_EQ(errors, "Failed to read \"protocolLibraries\" of " + (folder / "config.json").string() +
                          ": line 1, column 24: value is 7, expected a string\n");
}

TEST_F(DynamicLibraryTest, MemberThatIsNoListIsReportedAndMeansTheFolder) {
    place("Usable", "a.so");
    write("config.json", R"({"protocolLibraries": "a.so"})");
    EXPECT_EQ(loadedNames("config.json"), (Names{"a.so"}));
    EXPECT_EQ(errors, "Failed to read \"protocolLibraries\" of " + (folder / "config.json").string() +
                          ": expected an array\n");
}

TEST_F(DynamicLibraryTest, BareNameIsNotSearchedForOnTheLibraryPath) {
    place("Usable", "velk-test-bare.so");
    const fs::path former = fs::current_path();
    fs::current_path(folder.path());
    write("config.json", R"({"protocolLibraries": ["velk-test-bare.so"]})");
    testing::internal::CaptureStderr();
    const Libraries listed = loadDynamicLibraries("config.json");
    const Libraries found = loadDynamicLibraries("absent.json");
    errors = testing::internal::GetCapturedStderr();
    fs::current_path(former);
    EXPECT_EQ(listed.size(), 1U);
    EXPECT_EQ(found.size(), 1U);
    EXPECT_EQ(errors, "");
}

} // namespace
