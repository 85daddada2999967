#include "platform/common/SecretFile.h"

#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sys/stat.h>

using velk::common::SecretFile;

namespace {

class SecretFileTest : public ::testing::Test {
protected:
    void keep(const std::string& content, mode_t mode = 0600) {
        std::ofstream{path, std::ios::binary} << content;
        ASSERT_EQ(::chmod(path.c_str(), mode), 0);
    }

    std::string failure() const { return failureOf(path); }

    static std::string failureOf(const std::string& file) {
        try {
            return "read as " + SecretFile::read(file);
        } catch (const std::runtime_error& refusal) {
            return refusal.what();
        }
    }

    velk::testing::TemporaryDirectory folder;
    const std::string path{(folder / "secret").string()};
};

TEST_F(SecretFileTest, GivesTheFirstLineWithoutItsEnd) {
    keep("pass word\n");
    EXPECT_EQ(SecretFile::read(path), "pass word");
    keep("pass word\r\nfor the server in the cellar\n");
    EXPECT_EQ(SecretFile::read(path), "pass word");
    keep("pass word ");
    EXPECT_EQ(SecretFile::read(path), "pass word ");
}

TEST_F(SecretFileTest, MayBeReadByItsGroup) {
    for (const mode_t mode : {0400, 0440, 0600, 0640, 0660, 0750}) {
        keep("secret\n", 0600);
        keep("secret\n", mode);
        EXPECT_EQ(SecretFile::read(path), "secret");
    }
}

TEST_F(SecretFileTest, IsRefusedWhenOthersCanReadIt) {
    keep("secret\n", 0644);
    EXPECT_EQ(failure(), path + " can be read by everybody (mode 0644); chmod o= makes it usable");
    keep("secret\n", 0604);
    EXPECT_EQ(failure(), path + " can be read by everybody (mode 0604); chmod o= makes it usable");
}

TEST_F(SecretFileTest, IsRefusedWhenOthersCanChangeIt) {
    keep("secret\n", 0602);
    EXPECT_EQ(failure(), path + " can be changed by everybody (mode 0602); chmod o= makes it usable");
}

TEST_F(SecretFileTest, OfAnyFormAndLengthIsCheckedTheSameWay) {
    keep(std::string(2 * SecretFile::MAX_BYTES, '\0'), 0640);
    EXPECT_NO_THROW(SecretFile::checkAccess(path));
    keep("secret\n", 0604);
    EXPECT_THROW(SecretFile::checkAccess(path), std::runtime_error);
    EXPECT_THROW(SecretFile::checkAccess(path + " that is missing"), std::runtime_error);
}

TEST_F(SecretFileTest, TellsWhyItCannotBeRead) {
    EXPECT_EQ(failure(), path + " cannot be read: No such file or directory");
    EXPECT_EQ(failureOf(folder.path().string()), folder.path().string() + " is no regular file");
    EXPECT_EQ(failureOf("/dev/null"), "/dev/null is no regular file");
}

TEST_F(SecretFileTest, APipeOfThatNameDoesNotHoldUp) {
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(failure(), path + " is no regular file");
}

TEST_F(SecretFileTest, BehindALinkTheFileCounts) {
    keep("secret\n", 0600);
    const std::string link = (folder / "link").string();
    std::filesystem::create_symlink("secret", link);
    EXPECT_EQ(SecretFile::read(link), "secret");
    keep("secret\n", 0644);
    EXPECT_EQ(failureOf(link), link + " can be read by everybody (mode 0644); chmod o= makes it usable");
}

TEST_F(SecretFileTest, WithoutAFirstLineIsRefused) {
    keep("");
    EXPECT_EQ(failure(), path + " is empty in its first line");
    keep("\r\nsecret\n");
    EXPECT_EQ(failure(), path + " is empty in its first line");
}

TEST_F(SecretFileTest, WithANulByteIsRefused) {
    keep(std::string("sec\0ret\n", 8));
    EXPECT_EQ(failure(), path + " has a NUL byte in its first line");
}

TEST_F(SecretFileTest, LongerThanAnyPasswordIsRefused) {
    keep(std::string(SecretFile::MAX_BYTES, 'x'));
    EXPECT_EQ(SecretFile::read(path), std::string(SecretFile::MAX_BYTES, 'x'));
    keep(std::string(SecretFile::MAX_BYTES + 1, 'x'));
    EXPECT_EQ(failure(), path + " has more than 4096 bytes");
}

} // namespace
