#include "platform/tessapi/ITessAccessor.h"
#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"
#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <sys/stat.h>

namespace tessapi {
namespace {

namespace fs = std::filesystem;

/// For a scope; a test has its process for itself.
class Umask {
public:
    explicit Umask(mode_t mask) : former{::umask(mask)} {}
    ~Umask() { ::umask(former); }
    Umask(const Umask&) = delete;
    Umask& operator=(const Umask&) = delete;

private:
    mode_t former;
};

mode_t modeOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777U;
}

/// Makes a store if there is none and writes into it.
void use(const fs::path& file) {
    const auto store = TessAccessor::open("test", "sqlite:" + file.string());
    InBandAccessor& inBand = store->inbandAccessor();
    const auto device = store->emplaceDevice(velk::common::Uuid{"6f1d0c52-935e-4b0a-8c27-51d4e83a9b70"},
                                             ITessAccessor::ROOT_DEVICE, 0);
    const auto channel = inBand.emplaceChannel(device, "Own.Text", false);
    inBand.setChannelCValue(channel, qz::CValue{std::string{"x"}});
}

class SqliteStoreAccessTest : public ::testing::TestWithParam<mode_t> {
protected:
    velk::testing::TemporaryDirectory folder;
};

TEST_P(SqliteStoreAccessTest, EveryFileIsForOwnerAndGroupWhateverTheUmask) {
    const Umask umask{GetParam()};
    use(folder / "velk/tess.db");
    EXPECT_EQ(modeOf(folder / "velk"), 02770U);
    std::map<std::string, mode_t> modes;
    for (const fs::directory_entry& entry : fs::directory_iterator{folder / "velk"}) {
        modes[entry.path().filename()] = modeOf(entry.path());
    }
    EXPECT_GE(modes.size(), 2U);
    EXPECT_EQ(modes.count("tess.db"), 1U);
    for (const auto& [name, mode] : modes) {
        EXPECT_EQ(mode, 0660U) << name;
    }
}

TEST_P(SqliteStoreAccessTest, ModesThatSomebodyHasChosenStay) {
    use(folder / "tess.db");
    ASSERT_EQ(::chmod((folder / "tess.db").c_str(), 0640), 0);
    ASSERT_EQ(::chmod(folder.path().c_str(), 0750), 0);
    const Umask umask{GetParam()};
    use(folder / "tess.db");
    EXPECT_EQ(modeOf(folder / "tess.db"), 0640U);
    EXPECT_EQ(modeOf(folder.path()), 0750U);
}

INSTANTIATE_TEST_SUITE_P(Umasks, SqliteStoreAccessTest, ::testing::Values(0000, 0022, 0077));

} // namespace
} // namespace tessapi
