// What the parts of the daemon say of a store that is lost, which its watch tells: nothing.

#include "daemon/CommunicationJournal.h"
#include "daemon/LogJournal.h"
#include "daemon/WriteJournal.h"
#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/LossClaim.h"
#include "platform/tessapi/TessAccessor.h"
#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <sstream>
#include <string>

namespace velk::daemon {
namespace {

class LostStoreWordsTest : public ::testing::Test {
protected:
    std::unique_ptr<tessapi::ITessAccessor> open() const {
        return tessapi::TessAccessor::open("daemon", url);
    }

    const tessapi::LossClaim claim;
    velk::testing::TemporaryDirectory folder;
    const std::string file{folder / "tess.db"};
    const std::string url{"sqlite:" + file};
    std::ostringstream errors;
};

TEST_F(LostStoreWordsTest, JournalOfWritesLeavesItToTheWatch) {
    WriteJournal journal{[this] { return open(); }, errors};
    journal.open();
    velk::powerdistribution::DeviceWrite write;
    write.device = "Outlets.1";
    write.channel = "Setting.AutomaticSwitchOffDelay";
    journal.record(write);
    std::filesystem::remove(file);
    journal.record(write);
    EXPECT_EQ(errors.str(), "");
}

TEST_F(LostStoreWordsTest, JournalOfTheDevicesLogLeavesItToTheWatch) {
    LogJournal journal{[this] { return open(); }, errors};
    const auto pieceOf = [](std::uint32_t id) {
        velk::powerdistribution::InternalLogChunk::Entries entries(1);
        entries.front().id = id;
        return velk::powerdistribution::DeviceLogPiece{{entries.begin(), entries.end()}, ""};
    };
    journal.record(pieceOf(1));
    std::filesystem::remove(file);
    journal.record(pieceOf(2));
    EXPECT_EQ(errors.str(), "");
}

TEST_F(LostStoreWordsTest, JournalOfTheLinksLeavesItToTheWatch) {
    constexpr std::uint64_t STATE = 500;
    const auto store = open();
    CommunicationJournal journal{errors};
    journal.begin(*store);
    tessapi::ChannelRecord state;
    state.id = STATE;
    state.name = CommunicationJournal::STATE;
    journal.meet({}, state, false);
    std::filesystem::remove(file);
    journal.take({STATE, qz::CValue{3U}, 5000});
    journal.tick();
    EXPECT_THROW(store->inbandAccessor().setChannelCValue(1, qz::CValue{1U}), std::exception)
        << "it is there";
    EXPECT_EQ(errors.str(), "");
}

} // namespace
} // namespace velk::daemon
