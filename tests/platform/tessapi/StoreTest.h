#pragma once

#include "testing/TemporaryDirectory.h"
#include "tests/platform/tessapi/EngineUnderTest.h"
#include "tests/platform/tessapi/StoreClient.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <memory>
#include <optional>
#include <string>

namespace tessapi::contract {

/// Channels of the catalogue, by their types.
namespace names {
inline const std::string BOOLEAN{"PowerDistribution.Status.Overload"};
inline const std::string INT32{"PowerDistribution.Setting.AutomaticSleepDelay"};
inline const std::string UINT32{"PowerDistribution.Status.Source"};
inline const std::string FLOAT32{"PowerDistribution.Measure.Voltage"};
inline const std::string TIMESTAMP{"PowerDistribution.Status.Since"};
inline const std::string STRING{"PowerDistribution.Attribute.Model"};
inline const std::string LABELLED{"PowerDistribution.Status.StoragePresent"};
} // namespace names

constexpr std::uint64_t UNKNOWN_ID = ITessAccessor::UNKNOWN_ID;
constexpr std::uint64_t ROOT = ITessAccessor::ROOT_DEVICE;
/// As a limit.
constexpr std::size_t EVERYTHING = std::numeric_limits<std::size_t>::max();

/// A fresh store of the engine under test and one client of it.
class StoreTest : public ::testing::TestWithParam<std::string> {
protected:
    StoreTest() { first.emplace(url()); }

    /// Which store this test works on.
    const std::string& url() const { return place; }

    StoreClient& client() { return *first; }

    /// One more client of the same store.
    std::unique_ptr<StoreClient> another() const { return std::make_unique<StoreClient>(url()); }

    const velk::testing::TemporaryDirectory folder;
    const std::string place{EngineUnderTest::urlFor(GetParam(), folder.path())};
    std::optional<StoreClient> first;
};

#define VELK_TEST_EVERY_ENGINE(suite)                                                                        \
    INSTANTIATE_TEST_SUITE_P(Engines, suite, ::testing::ValuesIn(EngineUnderTest::chosen()),                 \
                             [](const auto& engine) { return engine.param; })

} // namespace tessapi::contract
