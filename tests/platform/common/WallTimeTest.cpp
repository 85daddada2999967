#include "platform/common/WallTime.h"

#include "platform/common/UnixTime.h"

#include <gtest/gtest.h>

namespace velk::common {
namespace {

TEST(WallTimeTest, MillisecondsAreThoseOfTheSecondsSinceTheEpoch) {
    const auto before = conv::UnixTime::now().toIntegralType();
    const auto present = wallMs();
    const auto after = conv::UnixTime::now().toIntegralType();
    EXPECT_GE(present, std::int64_t{before} * 1000);
    EXPECT_LT(present, (std::int64_t{after} + 1) * 1000);
}

} // namespace
} // namespace velk::common
