#include "platform/tessapi/network/OutageNote.h"

#include "platform/common/ProcessMark.h"
#include "testing/ChildProcess.h"
#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace tessapi::network {
namespace {

namespace fs = std::filesystem;
using velk::common::ProcessMark;

const std::string NAME{"outage-0123456789abcdef"};

StoreOutage outage() {
    return {"redis://store.example/berlin", ::getpid(), 1'000, 2'000, 412, 300, 10'000, 17};
}

class OutageNoteTest : public ::testing::Test {
protected:
    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator{folder.path()}) {
            found.push_back(entry.path().filename());
        }
        return found;
    }

    std::string place(const std::string& text, mode_t mode = 0640) const {
        std::ofstream{folder / NAME} << text;
        ::chmod((folder / NAME).c_str(), mode);
        return folder / NAME;
    }

    StoreOutages look() const {
        StoreOutages found;
        OutageNote::look(folder.path(), found);
        return found;
    }

    /// What was found of the file that the test has placed.
    void expectRefused(const std::string& reason) const {
        const auto found = look();
        EXPECT_TRUE(found.outages.empty());
        ASSERT_EQ(found.refused.size(), 1U);
        EXPECT_EQ(found.refused.front(), (folder / NAME).string() + ": " + reason);
    }

    static std::string mine() { return OutageNote::textOf(outage(), ProcessMark::ofThisProcess()); }

    velk::testing::TemporaryDirectory folder;
};

TEST_F(OutageNoteTest, WhatIsWrittenIsFoundAsLongAsTheNoteLives) {
    {
        const OutageNote note{folder.path()};
        EXPECT_TRUE(look().outages.empty()) << "nothing is written yet";
        note.write(outage());
        const auto found = look();
        ASSERT_EQ(found.outages.size(), 1U);
        const auto& one = found.outages.front();
        EXPECT_EQ(one.store, "redis://store.example/berlin");
        EXPECT_EQ(one.process, ::getpid());
        EXPECT_EQ(one.sinceMs, 1'000);
        EXPECT_EQ(one.saidMs, 2'000);
        EXPECT_EQ(one.values, 412U);
        EXPECT_EQ(one.channels, 300U);
        EXPECT_EQ(one.most, 10'000U);
        EXPECT_EQ(one.givenUp, 17U);
        EXPECT_TRUE(found.refused.empty());
        EXPECT_EQ(found.folders, std::vector<std::string>{folder.path()});
    }
    EXPECT_TRUE(names().empty());
}

TEST_F(OutageNoteTest, EachWriteReplacesTheFileAsAWhole) {
    const OutageNote note{folder.path()};
    note.write(outage());
    std::ifstream before{note.file()};
    auto more = outage();
    more.values = 413;
    note.write(more);
    const std::string text{std::istreambuf_iterator<char>{before}, {}};
    EXPECT_NE(text.find("values 412\n"), std::string::npos) << "who reads meanwhile sees one or the other";
    EXPECT_EQ(look().outages.front().values, 413U);
    EXPECT_EQ(names().size(), 1U);
}

TEST_F(OutageNoteTest, OnlyItsOwnerWritesItAndOthersDoNotReadIt) {
    const OutageNote note{folder.path()};
    const mode_t before = ::umask(0);
    note.write(outage());
    ::umask(before);
    EXPECT_EQ(fs::status(note.file()).permissions(), fs::perms{0640});
}

TEST_F(OutageNoteTest, FolderIsMadeForTheGroupWhenTheOneAboveIsThere) {
    const OutageNote note{folder / "velk"};
    note.write(outage());
    EXPECT_EQ(fs::status(folder / "velk").permissions() & fs::perms{0777}, fs::perms{0770});
    EXPECT_TRUE(fs::exists(note.file()));
}

TEST_F(OutageNoteTest, FolderInWhichEverybodyMayWriteGetsNoneAndIsNotBelieved) {
    place(mine());
    ::chmod(folder.path().c_str(), 01777);
    const OutageNote note{folder.path()};
    note.write(outage());
    EXPECT_EQ(note.file(), "");
    EXPECT_EQ(names(), std::vector<std::string>{NAME});
    const auto found = look();
    EXPECT_TRUE(found.outages.empty());
    EXPECT_EQ(found.refused,
              std::vector<std::string>{folder.path().string() + ": everybody may write into it"});
}

TEST_F(OutageNoteTest, WithoutAFolderThereIsNoFileAndNothingIsFound) {
    const OutageNote note{""};
    note.write(outage());
    EXPECT_EQ(note.file(), "");
    StoreOutages found;
    OutageNote::look(folder / "not-there", found);
    EXPECT_TRUE(found.folders.empty());
}

TEST_F(OutageNoteTest, OptionsOfTheUrlAreLeftOut) {
    auto secret = outage();
    secret.store += "?password-file=/etc/velk/pass";
    const OutageNote note{folder.path()};
    note.write(secret);
    EXPECT_EQ(look().outages.front().store, "redis://store.example/berlin");
}

TEST_F(OutageNoteTest, TextWithLineFeedsStaysInItsLine) {
    auto strange = outage();
    strange.store = "redis+unix:///tmp/a\nvalues 9\x1b/berlin";
    EXPECT_EQ(OutageNote::contentOf(OutageNote::textOf(strange, "pid=7 start=1")).outage.store,
              "redis+unix:///tmp/a_values 9_/berlin");
}

TEST_F(OutageNoteTest, NoteOfAProcessThatHasEndedOrOfAnotherBootIsPassedOver) {
    auto mark = ProcessMark::ofThisProcess();
    mark.replace(mark.find(" start="), 7, " start=9");
    place(OutageNote::textOf(outage(), mark));
    EXPECT_TRUE(look().outages.empty());
    mark = ProcessMark::ofThisProcess();
    mark.replace(mark.find(" boot="), 6, " boot=9");
    place(OutageNote::textOf(outage(), mark));
    EXPECT_TRUE(look().outages.empty());
    EXPECT_TRUE(look().refused.empty());
}

TEST_F(OutageNoteTest, WhatAKilledProgramHasLeftIsRemovedByTheNextOne) {
    place(OutageNote::textOf(outage(), "pid=1 start=9 boot=none space=none"));
    const OutageNote note{folder.path()};
    EXPECT_TRUE(names().empty());
    place(mine());
    const OutageNote another{folder.path()};
    EXPECT_EQ(names(), std::vector<std::string>{NAME}) << "that of a living one stays";
}

TEST_F(OutageNoteTest, SymbolicLinkIsToldAndNotFollowed) {
    std::ofstream{folder / "elsewhere"} << mine();
    fs::create_symlink(folder / "elsewhere", folder / NAME);
    expectRefused("it is a symbolic link");
}

TEST_F(OutageNoteTest, FolderOrPipeOfThatNameIsTold) {
    fs::create_directory(folder / NAME);
    expectRefused("it is no regular file");
    fs::remove(folder / NAME);
    ASSERT_EQ(::mkfifo((folder / NAME).c_str(), 0640), 0);
    expectRefused("it is no regular file");
}

TEST_F(OutageNoteTest, FileThatOthersMayWriteIsTold) {
    place(mine(), 0660);
    expectRefused("others than its owner may write it");
    place(mine(), 0642);
    expectRefused("others than its owner may write it");
}

TEST_F(OutageNoteTest, HugeFileIsToldAndNotReadWhole) {
    fs::resize_file(place(mine()), std::uintmax_t{1} << 40U);
    expectRefused("it is longer than such a note is");
}

TEST_F(OutageNoteTest, DamagedFileIsToldWithWhatIsWrong) {
    place("");
    expectRefused("it does not begin with \"tess-outage 1\"");
    auto text = mine();
    place(text.substr(0, text.size() - 1));
    expectRefused("it has no line \"given-up\" in its place");
    place("tess-outage 1\nprocess boot=7\nstore x\n");
    expectRefused("it names no process");
    for (const char* number : {"-412", "4x", "", "99999999999999999999999"}) {
        text = mine();
        place(text.replace(text.find("values ") + 7, 3, number));
        expectRefused("\"values\" is no number");
    }
}

TEST_F(OutageNoteTest, FileOfAnotherUserIsTold) {
    place(mine());
    if (::geteuid() != 0) { // only root may give files away
        EXPECT_EQ(look().outages.size(), 1U);
        return;
    }
    ASSERT_EQ(::chown((folder / NAME).c_str(), 65'432, static_cast<gid_t>(-1)), 0);
    expectRefused("it belongs to user 65432");
    ASSERT_EQ(::chown(folder.path().c_str(), 65'432, static_cast<gid_t>(-1)), 0);
    EXPECT_EQ(look().outages.size(), 1U) << "of the user whose folder it is";
}

TEST_F(OutageNoteTest, FolderWithMoreThanPeopleCanReadIsTold) {
    for (int i = 0; i < 101; ++i) {
        std::ofstream{folder / ("outage-" + std::to_string(1'000'000'000'000'000 + i))} << mine();
    }
    const auto found = look();
    EXPECT_TRUE(found.outages.empty());
    EXPECT_EQ(found.refused, std::vector<std::string>{folder.path().string() +
                                                      ": there are more notes in it than programs leave"});
}

} // namespace
} // namespace tessapi::network
