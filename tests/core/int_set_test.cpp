#include "core/int_set.h"

#include "core/owned.h"
#include "tests/support/allocations.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>
#include <vector>

namespace {

class IntSet : public testing::Test {
protected:
    void SetUp() override { m_set = pcl_int_set_create(4); }
    void TearDown() override { pcl_set_destroy(&m_set); }

    std::vector<std::int32_t> all() const {
        std::vector<std::int32_t> values;
        PclIntSetIterator at;
        for (PclIntSetIterator *it = pcl_int_set_iterator_begin(m_set, &at); it != nullptr;
             it = pcl_int_set_iterator_next(it)) {
            values.push_back(it->value);
        }
        return values;
    }

    PclIntSet *m_set = nullptr;
};

} // namespace

TEST(IntSetCreate, NeedsACapacityOfTwo) {
    EXPECT_FAILURE(pcl_int_set_create(1), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "Invalid 'initialCapacity': 1");
    PclIntSet *set = pcl_int_set_create(2);
    ASSERT_NE(set, nullptr);
    pcl_set_destroy(&set);
}

TEST_F(IntSet, HoldsAnyValueOnce) {
    const std::set<std::int32_t> values{0, -1, 1, std::numeric_limits<std::int32_t>::min(),
                                        std::numeric_limits<std::int32_t>::max()};
    for (const std::int32_t value : values) {
        EXPECT_EQ(pcl_int_set_contains(m_set, value), 0);
        pcl_int_set_add(m_set, value);
        pcl_int_set_add(m_set, value);
        EXPECT_EQ(pcl_int_set_contains(m_set, value), 1);
    }
    EXPECT_EQ(pcl_set_count(m_set), values.size());
    const std::vector<std::int32_t> iterated = all();
    EXPECT_EQ(iterated.size(), values.size());
    EXPECT_EQ(std::set<std::int32_t>(iterated.begin(), iterated.end()), values);
}

TEST_F(IntSet, TheValueIsItsHash) {
    pcl_int_set_add(m_set, 6);
    EXPECT_NE(m_set->slots[2], nullptr);
    pcl_int_set_add(m_set, -1);
    EXPECT_NE(m_set->slots[3], nullptr);
    EXPECT_EQ(all(), (std::vector<std::int32_t>{6, -1}));
}

TEST_F(IntSet, RemovesValues) {
    pcl_int_set_add(m_set, 3);
    EXPECT_EQ(pcl_int_set_remove(m_set, 4), 0);
    EXPECT_EQ(pcl_int_set_remove(m_set, 3), 1);
    EXPECT_EQ(pcl_int_set_remove(m_set, 3), 0);
    EXPECT_EQ(pcl_int_set_contains(m_set, 3), 0);
    EXPECT_TRUE(all().empty());
}

TEST_F(IntSet, AFailedAddChangesNothing) {
    pcl_int_set_add(m_set, 1);
    pcl_int_set_add(m_set, 2);
    for (std::size_t failing = 1; failing <= 3; ++failing) {
        const FailingAllocation plan(failing);
        EXPECT_FAILURE(pcl_int_set_add(m_set, 3), PCL_RESULT_MALLOC_ERROR, "");
    }
    EXPECT_EQ(all(), (std::vector<std::int32_t>{1, 2}));
}

TEST_F(IntSet, ARemovedValueCannotBeIteratedFrom) {
    pcl_int_set_add(m_set, 1);
    pcl_int_set_add(m_set, 2);
    PclIntSetIterator at;
    ASSERT_EQ(pcl_int_set_iterator_begin(m_set, &at), &at);
    EXPECT_EQ(at.intSet, m_set);
    EXPECT_EQ(at.value, 1);
    pcl_int_set_remove(m_set, 1);
    EXPECT_FAILURE(pcl_int_set_iterator_next(&at), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'it->item' not present in 'it->set'");
}

TEST_F(IntSet, IterationGoesOnFromAValueThatWasPutBack) {
    pcl_int_set_add(m_set, 1);
    pcl_int_set_add(m_set, 2);
    PclIntSetIterator at;
    ASSERT_EQ(pcl_int_set_iterator_begin(m_set, &at), &at);
    const void *stored = m_set->slots[1]->item;
    pcl_int_set_remove(m_set, 1);
    const PclBlock<void> inItsPlace(pcl_malloc(sizeof(std::int32_t), 0));
    pcl_int_set_add(m_set, 1);
    ASSERT_NE(m_set->slots[1]->item, stored);
    ASSERT_EQ(pcl_int_set_iterator_next(&at), &at);
    EXPECT_EQ(at.value, 2);
}

TEST_F(IntSet, CanBeIteratedFromAnyOfItsValues) {
    for (const std::int32_t value : {1, 2, 3}) {
        pcl_int_set_add(m_set, value);
    }
    PclIntSetIterator at{m_set, 2};
    ASSERT_EQ(pcl_int_set_iterator_next(&at), &at);
    EXPECT_EQ(at.value, 3);
    EXPECT_EQ(pcl_int_set_iterator_next(&at), nullptr);
}

TEST_F(IntSet, ArgumentsAreChecked) {
    const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
    PclIntSetIterator at{};
    EXPECT_FAILURE(pcl_int_set_contains(nullptr, 1), code, "'set' is NULL");
    EXPECT_FAILURE(pcl_int_set_add(nullptr, 1), code, "'set' is NULL");
    EXPECT_FAILURE(pcl_int_set_remove(nullptr, 1), code, "'set' is NULL");
    EXPECT_FAILURE(pcl_int_set_iterator_begin(nullptr, nullptr), code, "'set' is NULL");
    EXPECT_FAILURE(pcl_int_set_iterator_begin(m_set, nullptr), code, "'out' is NULL");
    EXPECT_FAILURE(pcl_int_set_iterator_next(nullptr), code, "'it' is NULL");
    EXPECT_FAILURE(pcl_int_set_iterator_next(&at), code, "'it->intSet' is NULL");
}

TEST_F(IntSet, NullIsHarmlessWhenTheHandlerReturns) {
    const ScopedHandler handler;
    PclIntSetIterator at{};
    EXPECT_EQ(pcl_int_set_contains(nullptr, 1), 0);
    pcl_int_set_add(nullptr, 1);
    EXPECT_EQ(pcl_int_set_remove(nullptr, 1), 0);
    EXPECT_EQ(pcl_int_set_iterator_begin(nullptr, &at), nullptr);
    EXPECT_EQ(pcl_int_set_iterator_begin(m_set, nullptr), nullptr);
    EXPECT_EQ(pcl_int_set_iterator_next(nullptr), nullptr);
    EXPECT_EQ(pcl_int_set_iterator_next(&at), nullptr);
    EXPECT_EQ(handler.count(), 7U);
}
