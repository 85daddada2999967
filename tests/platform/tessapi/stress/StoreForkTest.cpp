#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"
#include "testing/TemporaryDirectory.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using tessapi::TessAccessor;

bool isRefused(const std::function<void()>& work) {
    try {
        work();
        return false;
    } catch (const boost::system::system_error& failure) {
        return std::string{failure.what()}.find("a store cannot be used across a fork") != std::string::npos;
    }
}

TEST(StoreForkTest, AForkedChildIsRefusedAndItsParentIsNotHarmed) {
    const velk::testing::TemporaryDirectory folder;
    auto store = TessAccessor::open("test", "sqlite:" + (folder / "tess.db").string());
    const auto channel = store->inbandAccessor().emplaceChannel(1, "PowerDistribution.Status.Source", false);
    const pid_t child = ::fork();
    if (child == 0) {
        const bool refused =
            isRefused([&] { store->inbandAccessor().getChannelCValue(channel); }) &&
            isRefused([&] { store->inbandAccessor().setChannelCValue(channel, qz::CValue{1U}); });
        store.reset();
        ::_exit(refused ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    store->inbandAccessor().setChannelCValue(channel, qz::CValue{2U});
    EXPECT_EQ(store->inbandAccessor().getChannelCValue(channel), qz::CValue{2U});
}

} // namespace
