#include "platform/tessapi/engine/Keeper.h"

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
