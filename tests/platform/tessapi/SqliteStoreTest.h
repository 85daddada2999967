#pragma once

#include "testing/TemporaryDirectory.h"
#include "tests/platform/tessapi/StoreClient.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <string>

namespace tessapi::contract {

/// A store in a file, which outlives its clients.
class SqliteStoreTest : public ::testing::Test {
protected:
    std::filesystem::path file() const { return folder / "tess.db"; }
    std::string url() const { return "sqlite:" + file().string(); }
    std::unique_ptr<StoreClient> open(bool create = true) const {
        return std::make_unique<StoreClient>(url(), create);
    }

    static std::string contentOf(const std::filesystem::path& path) {
        std::ifstream stream{path, std::ios::binary};
        return {std::istreambuf_iterator<char>{stream}, {}};
    }

    const velk::testing::TemporaryDirectory folder;
};

} // namespace tessapi::contract
