#include "core/set.h"

#include "tests/core/elements.h"
#include "tests/support/allocations.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

PclSet *createSet(std::int32_t capacity, PclHashFn hash = &elements::hash) {
    return pcl_set_create(capacity, hash, &elements::equals, &elements::copy, &elements::release);
}

class Set : public testing::Test {
protected:
    void SetUp() override {
        elements::counters = {};
        m_set = createSet(4);
    }
    void TearDown() override {
        pcl_set_destroy(&m_set);
        EXPECT_EQ(m_set, nullptr);
        EXPECT_EQ(elements::counters.live(), 0);
    }

    void useHash(PclHashFn hash) {
        pcl_set_destroy(&m_set);
        m_set = createSet(8, hash);
    }

    void *add(int item) { return pcl_set_add(m_set, &item); }
    std::uint8_t contains(int item) const { return pcl_set_contains(m_set, &item); }
    std::uint8_t remove(int item) { return pcl_set_remove(m_set, &item); }

    std::vector<int> all() const {
        std::vector<int> items;
        PclSetIterator at;
        for (PclSetIterator *it = pcl_set_iterator_begin(m_set, &at); it != nullptr;
             it = pcl_set_iterator_next(it)) {
            items.push_back(elements::valueOf(it->item));
        }
        return items;
    }

    PclSet *m_set = nullptr;
};

using Items = std::vector<int>;

} // namespace

TEST(SetCreate, ArgumentsAreCheckedInOrder) {
    const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
    const auto hash = &elements::hash;
    const auto equals = &elements::equals;
    const auto copy = &elements::copy;
    EXPECT_FAILURE(pcl_set_create(1, nullptr, nullptr, nullptr, nullptr), code,
                   "Invalid 'initialCapacity': 1");
    EXPECT_FAILURE(pcl_set_create(-1, nullptr, nullptr, nullptr, nullptr), code,
                   "Invalid 'initialCapacity': -1");
    EXPECT_FAILURE(pcl_set_create(2, nullptr, nullptr, nullptr, nullptr), code,
                   "'itemHashFn' is NULL");
    EXPECT_FAILURE(pcl_set_create(2, hash, nullptr, nullptr, nullptr), code,
                   "'itemEqualsFn' is NULL");
    EXPECT_FAILURE(pcl_set_create(2, hash, equals, nullptr, nullptr), code, "'itemCpFn' is NULL");
    EXPECT_FAILURE(pcl_set_create(2, hash, equals, copy, nullptr), code, "'itemDelFn' is NULL");
}

TEST(SetCreate, CapacityTwoIsAccepted) {
    PclSet *set = createSet(2);
    ASSERT_NE(set, nullptr);
    EXPECT_EQ(pcl_set_capacity(set), 2U);
    EXPECT_EQ(pcl_set_count(set), 0U);
    pcl_set_destroy(&set);
}

TEST(SetCreate, EitherAllocationMayFail) {
    for (std::size_t failing = 1; failing <= 2; ++failing) {
        {
            const FailingAllocation plan(failing);
            EXPECT_FAILURE(createSet(4), PCL_RESULT_MALLOC_ERROR, "");
        }
        const ScopedHandler handler;
        const FailingAllocation plan(failing);
        EXPECT_EQ(createSet(4), nullptr);
        EXPECT_EQ(handler.count(), 1U);
    }
}

TEST_F(Set, HoldsEachItemOnce) {
    const int item = 5;
    void *stored = pcl_set_add(m_set, &item);
    EXPECT_NE(stored, &item);
    EXPECT_EQ(elements::valueOf(stored), 5);
    EXPECT_EQ(add(5), stored);
    EXPECT_EQ(pcl_set_count(m_set), 1U);
    EXPECT_EQ(elements::counters.copies, 1);
    EXPECT_EQ(elements::counters.deletes, 0);
    EXPECT_EQ(contains(5), 1);
    EXPECT_EQ(contains(6), 0);
}

TEST_F(Set, GrowsWithTheThirdOfFour) {
    add(1);
    add(2);
    add(2);
    EXPECT_EQ(pcl_set_capacity(m_set), 4U);
    add(3);
    EXPECT_EQ(pcl_set_capacity(m_set), 8U);
    EXPECT_EQ(all(), (Items{1, 2, 3}));
    EXPECT_EQ(elements::counters.copies, 3);
}

TEST_F(Set, RemoveDeletesTheItem) {
    add(1);
    EXPECT_EQ(remove(2), 0);
    EXPECT_EQ(remove(1), 1);
    EXPECT_EQ(elements::counters.deletes, 1);
    EXPECT_EQ(pcl_set_count(m_set), 0U);
    EXPECT_EQ(contains(1), 0);
}

TEST_F(Set, RemovalHidesWhatHadProbedPastTheRemoved) {
    useHash(&elements::sameHash);
    add(1);
    add(2);
    remove(1);
    EXPECT_EQ(contains(2), 0);
    EXPECT_EQ(remove(2), 0);
    EXPECT_EQ(pcl_set_count(m_set), 1U);
    add(2);
    EXPECT_EQ(all(), (Items{2, 2}));
}

TEST_F(Set, ANullItemIsStoredAsNull) {
    EXPECT_EQ(pcl_set_contains(m_set, nullptr), 0);
    EXPECT_EQ(pcl_set_add(m_set, nullptr), nullptr);
    add(0);
    EXPECT_EQ(pcl_set_count(m_set), 2U);
    EXPECT_EQ(pcl_set_contains(m_set, nullptr), 1);
    EXPECT_EQ(elements::counters.copies, 1);
    EXPECT_EQ(remove(0), 1);
    EXPECT_EQ(pcl_set_remove(m_set, nullptr), 1);
    EXPECT_EQ(elements::counters.deletes, 1);
}

TEST_F(Set, ClearKeepsTheCapacity) {
    for (int item = 0; item < 10; ++item) {
        add(item);
    }
    const std::uint32_t capacity = pcl_set_capacity(m_set);
    pcl_set_clear(m_set);
    EXPECT_EQ(pcl_set_count(m_set), 0U);
    EXPECT_EQ(pcl_set_capacity(m_set), capacity);
    EXPECT_EQ(elements::counters.live(), 0);
}

TEST_F(Set, AFullSetRefusesAnotherItem) {
    add(1);
    // A set never fills up by itself: make it believe that it has one slot.
    m_set->slots[0] = std::exchange(m_set->slots[1], nullptr);
    m_set->capacity = 1;
    EXPECT_FAILURE(add(2), PCL_RESULT_RUNTIME_ERROR, "This point should never have been reached");
    EXPECT_EQ(contains(2), 0);
    EXPECT_EQ(contains(1), 1);
    m_set->capacity = 4;
}

TEST_F(Set, WhateverFailsInAnAddChangesNothing) {
    add(1);
    add(2);
    // Item, entry and the doubled slots.
    for (std::size_t failing = 1; failing <= 3; ++failing) {
        {
            const FailingAllocation plan(failing);
            EXPECT_FAILURE(add(3), PCL_RESULT_MALLOC_ERROR, "");
        }
        const ScopedHandler handler;
        const FailingAllocation plan(failing);
        EXPECT_EQ(add(3), nullptr);
        EXPECT_EQ(handler.count(), 1U);
    }
    elements::counters.failingCopy = elements::counters.copies + 1;
    EXPECT_FAILURE(add(3), PCL_RESULT_RUNTIME_ERROR, "copy");
    EXPECT_EQ(elements::counters.live(), 2);
    EXPECT_EQ(pcl_set_capacity(m_set), 4U);
    EXPECT_EQ(all(), (Items{1, 2}));
    elements::counters.failingCopy = 0;
    add(3);
    EXPECT_EQ(all(), (Items{1, 2, 3}));
}

TEST_F(Set, AForeignExceptionPassesThrough) {
    add(1);
    elements::counters.hashThrows = true;
    EXPECT_THROW(add(2), int);
    elements::counters.hashThrows = false;
    EXPECT_EQ(pcl_exception_frame(), nullptr);
    EXPECT_EQ(all(), Items{1});
}

TEST_F(Set, IteratesInSlotOrder) {
    PclSetIterator at;
    EXPECT_EQ(pcl_set_iterator_begin(m_set, &at), nullptr);
    add(6);
    add(1);
    EXPECT_EQ(all(), (Items{1, 6}));
    EXPECT_EQ(pcl_set_iterator_begin(m_set, &at), &at);
    EXPECT_EQ(at.set, m_set);
    EXPECT_EQ(pcl_set_iterator_next(&at), &at);
    EXPECT_EQ(pcl_set_iterator_next(&at), nullptr);
}

TEST_F(Set, ARemovedItemCannotBeIteratedFrom) {
    add(1);
    add(2);
    PclSetIterator at;
    pcl_set_iterator_begin(m_set, &at);
    remove(1);
    EXPECT_FAILURE(pcl_set_iterator_next(&at), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'it->item' not present in 'it->set'");
    const ScopedHandler handler;
    EXPECT_EQ(pcl_set_iterator_next(&at), nullptr);
    EXPECT_EQ(handler.count(), 1U);
}

TEST_F(Set, CanBeIteratedFromAnEqualItem) {
    add(1);
    add(2);
    const int item = 1;
    PclSetIterator at{};
    at.set = m_set;
    at.item = &item;
    ASSERT_EQ(pcl_set_iterator_next(&at), &at);
    EXPECT_EQ(elements::valueOf(at.item), 2);
    pcl_set_iterator_begin(m_set, &at);
    at.item = &item;
    ASSERT_EQ(pcl_set_iterator_next(&at), &at);
    EXPECT_EQ(elements::valueOf(at.item), 2);
}

TEST_F(Set, ACountWithoutItemsIsNoticed) {
    m_set->count = 1;
    PclSetIterator at;
    EXPECT_FAILURE(pcl_set_iterator_begin(m_set, &at), PCL_RESULT_RUNTIME_ERROR,
                   "This point should not have been reached");
    {
        const ScopedHandler handler;
        EXPECT_EQ(pcl_set_iterator_begin(m_set, &at), nullptr);
        EXPECT_EQ(handler.count(), 1U);
    }
    m_set->count = 0;
}

TEST_F(Set, ArgumentsAreChecked) {
    const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
    const int item = 1;
    PclSetIterator at{};
    EXPECT_FAILURE(pcl_set_clear(nullptr), code, "'set' is NULL");
    EXPECT_FAILURE(pcl_set_count(nullptr), code, "'set' is NULL");
    EXPECT_FAILURE(pcl_set_capacity(nullptr), code, "'set' is NULL");
    EXPECT_FAILURE(pcl_set_add(nullptr, &item), code, "'set' is NULL");
    EXPECT_FAILURE(pcl_set_contains(nullptr, &item), code, "'set' is NULL");
    EXPECT_FAILURE(pcl_set_remove(nullptr, &item), code, "'set' is NULL");
    EXPECT_FAILURE(pcl_set_iterator_begin(nullptr, nullptr), code, "'set' is NULL");
    EXPECT_FAILURE(pcl_set_iterator_begin(m_set, nullptr), code, "'out' is NULL");
    EXPECT_FAILURE(pcl_set_iterator_next(nullptr), code, "'it' is NULL");
    EXPECT_FAILURE(pcl_set_iterator_next(&at), code, "'it->set' is NULL");
    PclSet *none = nullptr;
    EXPECT_NO_FAILURE(pcl_set_destroy(&none));
    EXPECT_NO_FAILURE(pcl_set_destroy(nullptr));
}

TEST_F(Set, NullIsHarmlessWhenTheHandlerReturns) {
    const ScopedHandler handler;
    const int item = 1;
    PclSetIterator at{};
    pcl_set_clear(nullptr);
    EXPECT_EQ(pcl_set_count(nullptr), 0U);
    EXPECT_EQ(pcl_set_capacity(nullptr), 0U);
    EXPECT_EQ(pcl_set_add(nullptr, &item), nullptr);
    EXPECT_EQ(pcl_set_contains(nullptr, &item), 0);
    EXPECT_EQ(pcl_set_remove(nullptr, &item), 0);
    EXPECT_EQ(pcl_set_iterator_begin(nullptr, &at), nullptr);
    EXPECT_EQ(pcl_set_iterator_begin(m_set, nullptr), nullptr);
    EXPECT_EQ(pcl_set_iterator_next(nullptr), nullptr);
    EXPECT_EQ(pcl_set_iterator_next(&at), nullptr);
    EXPECT_EQ(pcl_set_create(1, nullptr, nullptr, nullptr, nullptr), nullptr);
    EXPECT_EQ(pcl_set_create(2, nullptr, nullptr, nullptr, nullptr), nullptr);
    EXPECT_EQ(handler.count(), 12U);
}
