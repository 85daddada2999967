#include "platform/tessapi/engine/Keeper.h"

#include "platform/tessapi/LossClaim.h"
#include "platform/tessapi/engine/StoreError.h"
#include "testing/FakeClock.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

using tessapi::IKeeping;
using tessapi::Keeper;
using velk::testing::FakeClock;

/// A disk that does not take anything.
class FailingKeeping final : public IKeeping {
public:
    explicit FailingKeeping(std::promise<void> told) : tried{std::move(told)} {}

    velk::common::Clock::Duration keep(const Round& round) override {
        if (++rounds == 2 && !round.last) {
            tried.set_value();
        }
        throw std::runtime_error{"store x: no disk"};
    }
    std::string leftBehind() const override { return "it is there"; }

private:
    std::promise<void> tried;
    int rounds{0};
};

/// A copy that is not where it was.
class LostKeeping final : public IKeeping {
public:
    LostKeeping(FakeClock& time, std::promise<void> told) : clock{time}, isTold{std::move(told)} {}

    velk::common::Clock::Duration keep(const Round& round) override {
        const auto text = ::testing::internal::GetCapturedStderr();
        ::testing::internal::CaptureStderr();
        if (!text.empty() && !round.last) {
            EXPECT_EQ(
                text,
                "WARNING - store x: the store's file was removed or replaced [tess:6]; tried again until "
                "it works\n");
            EXPECT_GE(clock.now() - since, std::chrono::seconds{5});
            EXPECT_EQ(++times, 1);
            isTold.set_value();
        }
        throw boost::system::system_error{static_cast<int>(tessapi::StoreFault::disappeared),
                                          tessapi::storeCategory(), "store x"};
    }
    std::string leftBehind() const override { return "it is there"; }

private:
    FakeClock& clock;
    std::promise<void> isTold;
    const velk::common::Clock::Duration since{clock.now()};
    int times{0};
};

TEST(KeeperTest, ACopyThatIsGoneIsLeftForAWhileToWhoeverTellsThatTheStoreIsLost) {
    FakeClock clock;
    tessapi::Engine::Options options;
    options.clock = &clock;
    std::promise<void> told;
    auto isTold = told.get_future();
    const tessapi::LossClaim claim;
    ::testing::internal::CaptureStderr();
    {
        const Keeper keeper{std::make_unique<LostKeeping>(clock, std::move(told)), options};
        isTold.wait();
    }
    const auto text = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(text.find("; not tried again, as this program ends: it is there\n"), std::string::npos) << text;
}

TEST(KeeperTest, WhatFailsIsToldOnceWhileItIsTriedAndOnceMoreWhenItIsNotTriedAgain) {
    tessapi::Engine::Options options;
    options.restBeforeSync = std::chrono::milliseconds{1};
    std::promise<void> tried;
    auto isTried = tried.get_future();
    ::testing::internal::CaptureStderr();
    {
        const Keeper keeper{std::make_unique<FailingKeeping>(std::move(tried)), options};
        isTried.wait();
    }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "WARNING - store x: no disk; tried again until it works\n"
              "WARNING - store x: no disk; not tried again, as this program ends: it is there\n");
}

} // namespace
