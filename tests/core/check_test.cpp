#include "core/check.h"

#include "tests/support/failures.h"

#include <gtest/gtest.h>

TEST(EnumIsOneOf, FindsTheValueAnywhereInTheList) {
    EXPECT_EQ(pcl_enum_is_one_of(1, 1, 2, 3, PCL_ENUM_END), 1);
    EXPECT_EQ(pcl_enum_is_one_of(3, 1, 2, 3, PCL_ENUM_END), 1);
    EXPECT_EQ(pcl_enum_is_one_of(-1, 5, -1, PCL_ENUM_END), 1);
}

TEST(EnumIsOneOf, AbsentValueIsNoFailure) {
    std::uint8_t found = 9;
    EXPECT_NO_FAILURE(found = pcl_enum_is_one_of(4, 1, 2, 3, PCL_ENUM_END));
    EXPECT_EQ(found, 0);
    EXPECT_EQ(pcl_enum_is_one_of(0, PCL_ENUM_END), 0);
}

TEST(EnumIsOneOf, LooksNoFurtherThanTheEnd) {
    EXPECT_EQ(pcl_enum_is_one_of(7, 1, PCL_ENUM_END, 7, PCL_ENUM_END), 0);
}

TEST(EnumIsOneOf, TheEndItselfIsRefused) {
    EXPECT_EQ(PCL_ENUM_END, -2147483647 - 1);
    EXPECT_FAILURE(pcl_enum_is_one_of(PCL_ENUM_END, 1, PCL_ENUM_END), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "-2147483648 is not acceptable as an enumerator");

    const ScopedHandler handler;
    EXPECT_EQ(pcl_enum_is_one_of(PCL_ENUM_END, 1, PCL_ENUM_END), 0);
    EXPECT_EQ(handler.count(), 1U);
}

TEST(InRange, BothBoundsAreInclusive) {
    EXPECT_EQ(pcl_in_range(5, 5, 5), 1);
    EXPECT_EQ(pcl_in_range(4, 5, 6), 0);
    EXPECT_EQ(pcl_in_range(5, 5, 6), 1);
    EXPECT_EQ(pcl_in_range(6, 5, 6), 1);
    EXPECT_EQ(pcl_in_range(7, 5, 6), 0);
    EXPECT_EQ(pcl_in_range(-3, -5, -2), 1);
    EXPECT_EQ(pcl_in_range(0, 1, -1), 0);
}
