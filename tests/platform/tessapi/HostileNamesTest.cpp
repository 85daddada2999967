#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"
#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

namespace tessapi {
namespace {

namespace fs = std::filesystem;

/// All files and folders below the folder that the store has for itself, without what SQLite and the lock put
/// beside the database.
std::set<std::string> foreignFilesIn(const fs::path& folder) {
    std::set<std::string> names;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator{folder}) {
        const std::string name = fs::relative(entry.path(), folder).string();
        if (name != "inner" && name.rfind("inner/tess.db", 0) != 0) {
            names.insert(name);
        }
    }
    return names;
}

/// Names of devices and channels are rows of a table and no part of any path.
TEST(HostileNamesTest, NamesOfDevicesAndChannelsNeverBecomeFiles) {
    const velk::testing::TemporaryDirectory folder;
    const std::string url = "sqlite:" + (folder / "inner/tess.db").string();
    const auto store = TessAccessor::open("test", url);
    InBandAccessor& inBand = store->inbandAccessor();
    int number = 0;
    for (const std::string name :
         {"../escaped", "../../escaped", "/tmp/velk-escaped", "a/b", "..", ".", "line\nbreak", "\033]0;x\a",
          "' ; DROP TABLE device; --", "%n%s", "$(touch escaped)", "C:\\x", "\xFF\xFE"}) {
        const velk::common::Uuid uuid{velk::common::Uuid::VELK_NAMESPACE,
                                      "hostile" + std::to_string(number++)};
        const std::uint64_t device = store->emplaceDevice(uuid, ITessAccessor::ROOT_DEVICE, 0);
        inBand.setDeviceAttribute(device, DeviceAttribute::path, name);
        const std::uint64_t channel = inBand.emplaceChannel(device, name, false);
        inBand.setChannelCValue(channel, qz::CValue{name});
        EXPECT_EQ(inBand.getDeviceAttribute(device, DeviceAttribute::path), name);
        EXPECT_EQ(inBand.getCatchedChannelId(device, name), channel);
        EXPECT_EQ(inBand.getChannelCValue(channel), qz::CValue{name});
    }
    EXPECT_EQ(foreignFilesIn(folder.path()), std::set<std::string>{});
    EXPECT_FALSE(fs::exists("/tmp/velk-escaped"));
    EXPECT_FALSE(fs::exists(folder.path().parent_path() / "escaped"));
}

} // namespace
} // namespace tessapi
