#include "tests/platform/tessapi/EngineUnderTest.h"

#include <gtest/gtest.h>

#include <iostream>
#include <string>

/// With `--engines` it names the engines that `VELK_ENGINES` can choose, one a line.
int main(int argc, char** argv) {
    if (argc == 2 && std::string{argv[1]} == "--engines") {
        for (const auto& engine : tessapi::contract::EngineUnderTest::all()) {
            std::cout << engine << "\n";
        }
        return 0;
    }
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
