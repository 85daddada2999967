#include "daemon/LifeSign.h"

#include "daemon/WriteJournal.h"
#include "platform/common/ProcessMark.h"
#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"
#include "testing/FakeClock.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <utility>

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

TEST(LifeSignTest, StoreInThePlaceOfALostOneIsToldNothing) {
    const std::string place{"memory:life-sign-lost"};
    const auto store = tessapi::TessAccessor::open("test", place);
    std::ostringstream errors;
    LifeSign sign{[&] { return tessapi::TessAccessor::open("daemon", place); }, errors};
    sign.abandon();
    sign.atWork();
    sign.atRest();
    EXPECT_EQ(store->deviceIdOf(WriteJournal::deviceUuid()), tessapi::ITessAccessor::UNKNOWN_ID);
    EXPECT_EQ(errors.str(), "");
}

/// A store that can be broken for one attempt.
class LifeSignRetryTest : public ::testing::Test {
protected:
    std::unique_ptr<tessapi::ITessAccessor> open() {
        if (std::exchange(broken, false)) {
            failed = true;
            throw std::runtime_error{"no store"};
        }
        if (failed) {
            again.set_value();
        }
        return tessapi::TessAccessor::open("daemon", retryUrl);
    }

    /// Lets the pause pass and waits for the second attempt.
    void passPause() {
        clock.awaitBlocked(1);
        clock.advance(LifeSign::RETRY);
        again.get_future().wait();
        // Ends only when the attempt has ended.
        sign.reset();
    }

    std::string stored() const {
        const std::uint64_t device = store->deviceIdOf(WriteJournal::deviceUuid());
        tessapi::InBandAccessor& inband = store->inbandAccessor();
        return inband.getChannelCValue(inband.getCatchedChannelId(device, "Daemon.Process")).as_string();
    }

    const std::string retryUrl{"memory:life-sign-retry"};
    const std::unique_ptr<tessapi::TessAccessor> store{tessapi::TessAccessor::open("test", retryUrl)};
    velk::testing::FakeClock clock{velk::testing::FakeClock::Passing::ByHand};
    std::ostringstream errors;
    bool broken{false}; ///< the next attempt fails
    bool failed{false};
    std::promise<void> again;
    std::unique_ptr<LifeSign> sign{std::make_unique<LifeSign>([this] { return open(); }, errors, clock)};
};

TEST_F(LifeSignRetryTest, WorkThatTheStoreDidNotHearOfIsToldAgain) {
    broken = true;
    sign->atWork();
    passPause();
    EXPECT_EQ(stored(), velk::common::ProcessMark::ofThisProcess());
}

TEST_F(LifeSignRetryTest, RestThatTheStoreDidNotHearOfIsToldAgainAndTheFailureReportedOnce) {
    sign->atWork();
    broken = true;
    sign->atRest();
    EXPECT_EQ(stored(), velk::common::ProcessMark::ofThisProcess());
    passPause();
    EXPECT_EQ(stored(), "");
    EXPECT_EQ(errors.str(),
              "powerdistributiond: the store cannot be told whether the daemon is at work: no store\n");
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
