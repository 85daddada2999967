#include "tests/scenarios/Soak.h"

#include <gtest/gtest.h>

namespace velk::scenarios {
namespace {

TEST(SoakTest, StoreEqualsTheDeviceAfterWhateverHasHappened) {
    Soak soak{7};
    for (int cycle = 0; cycle < 5; ++cycle) {
        try {
            soak.cycle();
        } catch (const std::exception& failure) {
            std::string deeds;
            for (const std::string& deed : soak.lastDeeds()) {
                deeds += "\n  " + deed;
            }
            FAIL() << failure.what() << deeds;
        }
    }
    EXPECT_EQ(soak.figures().cycles, 5U);
    EXPECT_GT(soak.figures().compared, 0U);
}

} // namespace
} // namespace velk::scenarios
