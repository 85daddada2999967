#include "daemon/LifeSign.h"

#include "daemon/WriteJournal.h"
#include "platform/common/ProcessMark.h"
#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

namespace velk::daemon {
namespace {

const std::string url{"memory:life-sign"};

TEST(LifeSignTest, MarkOfThisProcessStandsInTheStoreWhileTheManagerIsAtWork) {
    const auto store = tessapi::TessAccessor::open("test", url);
    std::ostringstream errors;
    LifeSign sign{[] { return tessapi::TessAccessor::open("daemon", url); }, errors};
    const auto stored = [&] {
        const std::uint64_t device = store->deviceIdOf(WriteJournal::deviceUuid());
        tessapi::InBandAccessor& inband = store->inbandAccessor();
        return inband.getChannelCValue(inband.getCatchedChannelId(device, "Daemon.Process")).as_string();
    };
    sign.atWork();
    EXPECT_EQ(stored(), velk::common::ProcessMark::ofThisProcess());
    sign.atRest();
    EXPECT_EQ(stored(), "");
    EXPECT_EQ(errors.str(), "");
    const std::uint64_t device = store->deviceIdOf(WriteJournal::deviceUuid());
    EXPECT_EQ(store->inbandAccessor().getDeviceAttribute(device, tessapi::DeviceAttribute::path), "Daemon");
    EXPECT_EQ(store->inbandAccessor().getDevice(device).parentId, tessapi::ITessAccessor::ROOT_DEVICE);
}

TEST(LifeSignTest, StoreThatFailsCostsALineAndNothingElse) {
    std::ostringstream errors;
    LifeSign sign{[]() -> std::unique_ptr<tessapi::ITessAccessor> { throw std::runtime_error{"no store"}; },
                  errors};
    sign.atWork();
    EXPECT_EQ(errors.str(),
              "powerdistributiond: the store cannot be told whether the daemon is at work: no store\n");
}

} // namespace
} // namespace velk::daemon
