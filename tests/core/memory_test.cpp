#include "core/memory.h"

#include "tests/support/allocations.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <cstring>

TEST(Malloc, GivesABlockAlsoForSizeZero) {
    void *block = pcl_malloc(16, 0);
    ASSERT_NE(block, nullptr);
    std::memset(block, 1, 16);
    pcl_free(block);

    block = pcl_malloc(0, 0);
    EXPECT_NE(block, nullptr);
    pcl_free(block);
    pcl_free(nullptr);
}

TEST(Malloc, FailureHasAnEmptyDetail) {
    const FailingAllocation first(1);
    EXPECT_FAILURE(pcl_malloc(16, 0), PCL_RESULT_MALLOC_ERROR, "");
}

TEST(Malloc, OnlyTheFlagOneKeepsItQuiet) {
    {
        const FailingAllocation first(1);
        void *block = &block;
        EXPECT_NO_FAILURE(block = pcl_malloc(16, 1));
        EXPECT_EQ(block, nullptr);
    }
    const FailingAllocation first(1);
    EXPECT_FAILURE(pcl_malloc(16, 2), PCL_RESULT_MALLOC_ERROR, "");
}

TEST(Malloc, GivesNullWhenTheHandlerReturns) {
    const ScopedHandler handler;
    const FailingAllocation first(1);
    EXPECT_EQ(pcl_malloc(16, 0), nullptr);
    EXPECT_EQ(handler.code(), PCL_RESULT_MALLOC_ERROR);
    EXPECT_EQ(handler.message(), "[PCL_RESULT_MALLOC_ERROR] ");
}

TEST(Memdup, CopiesTheBlock) {
    char data[] = {'a', '\0', 'b'};
    auto *copy = static_cast<char *>(pcl_memdup(data, sizeof data));
    data[0] = 'z';
    EXPECT_EQ(std::memcmp(copy, "a\0b", 3), 0);
    pcl_memdup_free(copy);
    pcl_memdup_free(nullptr);
}

TEST(Memdup, NullDataNeedsSizeZero) {
    void *copy = &copy;
    EXPECT_NO_FAILURE(copy = pcl_memdup(nullptr, 0));
    EXPECT_EQ(copy, nullptr);
    EXPECT_FAILURE(pcl_memdup(nullptr, 1), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "data is NULL and size != 0");

    const ScopedHandler handler;
    EXPECT_EQ(pcl_memdup(nullptr, 1), nullptr);
    EXPECT_EQ(handler.count(), 1U);
}

TEST(Memdup, SurvivesAFailedAllocationWithAHandlerThatReturns) {
    const ScopedHandler handler;
    const FailingAllocation first(1);
    EXPECT_EQ(pcl_memdup("abc", 3), nullptr);
    EXPECT_EQ(handler.code(), PCL_RESULT_MALLOC_ERROR);
}

TEST(MemEquals, ComparesTheFirstBytes) {
    EXPECT_TRUE(pcl_mem_equals("abc", "abd", 2));
    EXPECT_FALSE(pcl_mem_equals("abc", "abd", 3));
    EXPECT_TRUE(pcl_mem_equals("abc", "xyz", 0));
}

TEST(MemEquals, NullsEqualOnlyEachOther) {
    EXPECT_TRUE(pcl_mem_equals(nullptr, nullptr, 5));
    EXPECT_FALSE(pcl_mem_equals(nullptr, "a", 0));
    EXPECT_FALSE(pcl_mem_equals("a", nullptr, 1));
}

TEST(WipedMemory, ZeroesTheBlockAndNothingElse) {
    unsigned char data[6] = {1, 2, 3, 4, 5, 6};
    pcl_wipe(data + 1, 4);
    const unsigned char expected[6] = {1, 0, 0, 0, 0, 6};
    EXPECT_EQ(std::memcmp(data, expected, sizeof data), 0);
    pcl_wipe(nullptr, 4);
    pcl_wipe(data, 0);
    EXPECT_EQ(data[0], 1);
}
