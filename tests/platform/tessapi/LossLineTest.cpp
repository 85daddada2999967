// What a program that has a store open in several places says when its file is gone for good.

#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/LossClaim.h"
#include "platform/tessapi/TessAccessor.h"
#include "testing/TemporaryDirectory.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace tessapi {
namespace {

/// Longer than a listener rests between two looks.
constexpr std::chrono::milliseconds LONG_ENOUGH{700};

class LossLineTest : public ::testing::Test {
protected:
    std::unique_ptr<TessAccessor> listening() const {
        auto client = TessAccessor::open("test", url);
        client->inbandAccessor().subscribeMultipleChannels(
            {client->inbandAccessor().emplaceChannel(1, "Daemon.Writes", false)},
            [](std::uint64_t, const qz::CValue&) {}, qz::sub::everyWrite, nullptr);
        return client;
    }

    /// Two clients listen, a third one writes in vain.
    std::string saidWhenTheFileGoes() const {
        ::testing::internal::CaptureStderr();
        {
            const std::vector<std::unique_ptr<TessAccessor>> clients = [this] {
                std::vector<std::unique_ptr<TessAccessor>> two;
                two.push_back(listening());
                two.push_back(listening());
                return two;
            }();
            const auto writer = TessAccessor::open("test", url);
            std::filesystem::remove(file);
            EXPECT_THROW(writer->inbandAccessor().emplaceChannel(1, "Daemon.Writer", false),
                         boost::system::system_error);
            std::this_thread::sleep_for(LONG_ENOUGH);
        }
        return ::testing::internal::GetCapturedStderr();
    }

    velk::testing::TemporaryDirectory folder;
    const std::string file{folder / "tess.db"};
    const std::string url{"sqlite:" + file};
};

TEST_F(LossLineTest, IsOneForAllThatAProgramDoesWithTheStoreAndNewForTheNextLoss) {
    const std::string line =
        "WARNING - store " + url + ": the store's file was removed or replaced; it has to be opened anew\n";
    EXPECT_EQ(saidWhenTheFileGoes(), line);
    EXPECT_EQ(saidWhenTheFileGoes(), line);
}

TEST_F(LossLineTest, IsLeftToWhoeverHasClaimedIt) {
    const LossClaim claim;
    EXPECT_EQ(saidWhenTheFileGoes(), "");
}

} // namespace
} // namespace tessapi
