#include "platform/common/UnexpectedIndex.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using velk::common::checkedGet;
using velk::common::UnexpectedIndex;

using Variant = std::variant<std::monostate, int, std::string>;

TEST(UnexpectedIndexTest, HeldAlternativeIsGivenByReference) {
    const Variant value{std::string{"text"}};
    EXPECT_EQ(&checkedGet<std::string>(value), std::get_if<std::string>(&value));
}

TEST(UnexpectedIndexTest, OtherAlternativeThrowsUnexpectedIndex) {
    const Variant value{7};
    try {
        checkedGet<std::string>(value);
        FAIL() << "no exception";
    } catch (const UnexpectedIndex& failure) {
        EXPECT_STREQ(failure.what(), "Unexpected index");
    }
}

TEST(UnexpectedIndexTest, IsCaughtAsTheStandardFailure) {
    EXPECT_THROW(checkedGet<int>(Variant{}), std::bad_variant_access);
}

} // namespace
