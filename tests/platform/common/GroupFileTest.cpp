#include "platform/common/GroupFile.h"

#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

using velk::common::GroupFile::FILE_MODE;
using velk::common::GroupFile::FOLDER_MODE;
namespace GroupFile = velk::common::GroupFile;

namespace {

/// For a scope; the tests of this program run one after the other.
class Umask {
public:
    explicit Umask(mode_t mask) : former{::umask(mask)} {}
    ~Umask() { ::umask(former); }
    Umask(const Umask&) = delete;
    Umask& operator=(const Umask&) = delete;

private:
    mode_t former;
};

struct stat statusOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status;
}

mode_t modeOf(const std::string& path) {
    return statusOf(path).st_mode & 07777U;
}

/// Opened and closed again; 0 or the reason.
int reach(const std::string& path, mode_t mode = FILE_MODE) {
    const int file = GroupFile::open(path, O_RDWR, mode);
    const int reason = file < 0 ? errno : 0;
    ::close(file);
    return reason;
}

class GroupFileTest : public ::testing::TestWithParam<mode_t> {
protected:
    velk::testing::TemporaryDirectory folder;
    const std::string path{(folder / "file").string()};
};

TEST_P(GroupFileTest, IsForOwnerAndGroupWhateverTheUmask) {
    const Umask umask{GetParam()};
    EXPECT_EQ(reach(path), 0);
    EXPECT_EQ(modeOf(path), 0660U);
    EXPECT_EQ(reach(path + "-own", 0600), 0);
    EXPECT_EQ(modeOf(path + "-own"), 0600U);
}

TEST_P(GroupFileTest, MadeWithoutOpeningItIsTheSame) {
    const Umask umask{GetParam()};
    EXPECT_TRUE(GroupFile::make(path));
    EXPECT_EQ(modeOf(path), 0660U);
    EXPECT_EQ(statusOf(path).st_size, 0);
    ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
    EXPECT_TRUE(GroupFile::make(path));
    EXPECT_EQ(modeOf(path), 0640U);
}

TEST_P(GroupFileTest, FolderHandsItsGroupOnWhateverTheUmask) {
    const Umask umask{GetParam()};
    std::error_code error;
    const std::string inner = (folder / "inner").string();
    EXPECT_TRUE(GroupFile::makeFolder(inner, error)) << error.message();
    EXPECT_EQ(modeOf(inner), 02770U);
    EXPECT_FALSE(GroupFile::makeFolder(inner, error));
    EXPECT_FALSE(error) << error.message();
}

TEST_P(GroupFileTest, WhatIsThereKeepsItsMode) {
    ASSERT_EQ(reach(path), 0);
    for (const mode_t mode : {0600, 0666}) {
        ASSERT_EQ(::chmod(path.c_str(), mode), 0);
        const Umask umask{GetParam()};
        EXPECT_EQ(reach(path), 0);
        EXPECT_EQ(modeOf(path), mode);
    }
    ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
    std::error_code error;
    EXPECT_FALSE(GroupFile::makeFolder(folder.path().string(), error));
    EXPECT_EQ(modeOf(folder.path().string()), 0755U);
}

INSTANTIATE_TEST_SUITE_P(Umasks, GroupFileTest, ::testing::Values(0000, 0022, 0077));

TEST_F(GroupFileTest, GroupIsThatOfTheFolder) {
    if (::geteuid() != 0) {
        // Nobody else has a second group for certain; the folder's own group is the program's then.
        EXPECT_EQ(reach(path), 0);
        EXPECT_EQ(statusOf(path).st_gid, statusOf(folder.path().string()).st_gid);
        return;
    }
    constexpr gid_t OTHER = 54321;
    for (const mode_t mode : {0770, 02770}) {
        ASSERT_EQ(::chown(folder.path().c_str(), static_cast<uid_t>(-1), OTHER), 0);
        ASSERT_EQ(::chmod(folder.path().c_str(), mode), 0);
        const std::string name = path + std::to_string(mode);
        EXPECT_EQ(reach(name), 0);
        EXPECT_EQ(statusOf(name).st_gid, OTHER);
        std::error_code error;
        EXPECT_TRUE(GroupFile::makeFolder(name + ".d", error)) << error.message();
        EXPECT_EQ(statusOf(name + ".d").st_gid, OTHER);
    }
}

TEST_F(GroupFileTest, AFileUnderAnotherNameIsGivenWhatItWouldHaveAtItsPlace) {
    if (::geteuid() == 0) { // nobody else may give a folder to a group of which he is no member
        ASSERT_EQ(::chown(folder.path().c_str(), static_cast<uid_t>(-1), 54321), 0);
    }
    velk::testing::TemporaryDirectory elsewhere;
    const std::string draft = (elsewhere / "draft").string();
    const int file = ::open(draft.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    EXPECT_TRUE(GroupFile::adopt(file, path));
    ::close(file);
    EXPECT_EQ(statusOf(draft).st_gid, statusOf(folder.path().string()).st_gid);
    EXPECT_EQ(modeOf(draft), 0660U);
    EXPECT_FALSE(GroupFile::adopt(-1, path));
    EXPECT_EQ(errno, EBADF);
}

TEST_F(GroupFileTest, TellsWhyAFileCannotBeMade) {
    EXPECT_EQ(reach((folder / "none/file").string()), ENOENT);
    EXPECT_EQ(reach(folder.path().string()), EISDIR);
    ASSERT_EQ(::symlink("nowhere/file", path.c_str()), 0);
    EXPECT_NE(reach(path), 0);
    EXPECT_FALSE(GroupFile::make(path));
    EXPECT_FALSE(GroupFile::make((folder / "none/file").string()));
    std::error_code error;
    EXPECT_FALSE(GroupFile::makeFolder(path, error));
    EXPECT_TRUE(error);
}

TEST_F(GroupFileTest, FoldersAboveAreMadeToo) {
    std::error_code error;
    const std::string deep = (folder / "a/b/c").string();
    EXPECT_TRUE(GroupFile::makeFolder(deep, error)) << error.message();
    EXPECT_EQ(modeOf(deep), FOLDER_MODE);
    EXPECT_EQ(modeOf((folder / "a").string()) & S_ISGID, 0U);
}

} // namespace
