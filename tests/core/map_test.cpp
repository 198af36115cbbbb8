#include "core/map.h"

#include "core/slots.h"
#include "tests/core/elements.h"
#include "tests/support/allocations.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

PclMap *createMap(std::int32_t capacity, PclHashFn hash = &elements::hash) {
    return pcl_map_create(capacity, hash, &elements::equals, &elements::copy, &elements::copy,
                          &elements::release, &elements::release);
}

class Map : public testing::Test {
protected:
    void SetUp() override {
        elements::counters = {};
        m_map = createMap(4);
    }
    void TearDown() override {
        pcl_map_destroy(&m_map);
        EXPECT_EQ(m_map, nullptr);
        EXPECT_EQ(elements::counters.live(), 0);
    }

    void useHash(PclHashFn hash) {
        pcl_map_destroy(&m_map);
        m_map = createMap(8, hash);
    }

    void *put(int key, int value) { return pcl_map_put(m_map, &key, &value); }
    std::uint8_t remove(int key) { return pcl_map_remove(m_map, &key); }

    /// The value stored for the key, -1 when there is none.
    int get(int key) const {
        const void *value = pcl_map_get(m_map, &key);
        return value == nullptr ? -1 : elements::valueOf(value);
    }

    std::vector<std::pair<int, int>> all() const {
        std::vector<std::pair<int, int>> entries;
        PclMapIterator at;
        for (PclMapIterator *it = pcl_map_iterator_begin(m_map, &at); it != nullptr;
             it = pcl_map_iterator_next(it)) {
            entries.emplace_back(elements::valueOf(it->key), elements::valueOf(it->value));
        }
        return entries;
    }

    PclMap *m_map = nullptr;
};

using Entries = std::vector<std::pair<int, int>>;

} // namespace

TEST(MapCreate, ArgumentsAreCheckedInOrder) {
    const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
    const auto hash = &elements::hash;
    const auto equals = &elements::equals;
    const auto copy = &elements::copy;
    const auto del = &elements::release;
    EXPECT_FAILURE(pcl_map_create(1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), code,
                   "Invalid initialCapacity: 1");
    EXPECT_FAILURE(pcl_map_create(0, hash, equals, copy, copy, del, del), code,
                   "Invalid initialCapacity: 0");
    EXPECT_FAILURE(pcl_map_create(-5, hash, equals, copy, copy, del, del), code,
                   "Invalid initialCapacity: -5");
    EXPECT_FAILURE(pcl_map_create(2, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), code,
                   "keyHashFn is NULL");
    EXPECT_FAILURE(pcl_map_create(2, hash, nullptr, nullptr, nullptr, nullptr, nullptr), code,
                   "keyEqualsFn is NULL");
    EXPECT_FAILURE(pcl_map_create(2, hash, equals, nullptr, nullptr, nullptr, nullptr), code,
                   "keyCpFn is NULL");
    EXPECT_FAILURE(pcl_map_create(2, hash, equals, copy, nullptr, nullptr, nullptr), code,
                   "valueCpFn is NULL");
    EXPECT_FAILURE(pcl_map_create(2, hash, equals, copy, copy, nullptr, nullptr), code,
                   "keyDelFn is NULL");
    EXPECT_FAILURE(pcl_map_create(2, hash, equals, copy, copy, del, nullptr), code,
                   "valueDelFn is NULL");
}

TEST(MapCreate, CapacityTwoIsAccepted) {
    PclMap *map = createMap(2);
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(pcl_map_capacity(map), 2U);
    EXPECT_EQ(pcl_map_count(map), 0U);
    pcl_map_destroy(&map);
}

TEST(MapCreate, EitherAllocationMayFail) {
    for (std::size_t failing = 1; failing <= 2; ++failing) {
        {
            const FailingAllocation plan(failing);
            EXPECT_FAILURE(createMap(4), PCL_RESULT_MALLOC_ERROR, "");
        }
        const ScopedHandler handler;
        const FailingAllocation plan(failing);
        EXPECT_EQ(createMap(4), nullptr);
        EXPECT_EQ(handler.count(), 1U);
    }
}

TEST(MapCreate, ASizeThatCannotBeExpressedIsAFailedAllocation) {
    EXPECT_FAILURE(pcl_slots_create<PclMapEntry>(std::uint64_t{1} << 32), PCL_RESULT_MALLOC_ERROR,
                   "");
    EXPECT_FAILURE(pcl_slots_create<PclMapEntry>(std::uint64_t{1} << 62), PCL_RESULT_MALLOC_ERROR,
                   "");
}

TEST_F(Map, StoresCopies) {
    int key = 1;
    int value = 10;
    void *stored = pcl_map_put(m_map, &key, &value);
    EXPECT_NE(stored, &value);
    EXPECT_EQ(elements::valueOf(stored), 10);
    value = 11;
    EXPECT_EQ(get(1), 10);
    EXPECT_EQ(pcl_map_get(m_map, &key), stored);
    EXPECT_EQ(elements::counters.copies, 2);
}

TEST_F(Map, AKeyNeverPutIsAbsent) {
    put(1, 10);
    const int absent = 2;
    EXPECT_EQ(pcl_map_get(m_map, &absent), nullptr);
    EXPECT_EQ(pcl_map_remove(m_map, &absent), 0);
    EXPECT_EQ(pcl_map_count(m_map), 1U);
}

TEST_F(Map, AnExistingKeyHasItsValueReplaced) {
    put(1, 10);
    PclMapIterator before;
    pcl_map_iterator_begin(m_map, &before);
    const int copies = elements::counters.copies;
    const void *stored = put(1, 11);
    EXPECT_EQ(elements::valueOf(stored), 11);
    EXPECT_EQ(get(1), 11);
    EXPECT_EQ(pcl_map_count(m_map), 1U);
    EXPECT_EQ(elements::counters.copies, copies + 1);
    EXPECT_EQ(elements::counters.deletes, 1);
    PclMapIterator after;
    pcl_map_iterator_begin(m_map, &after);
    EXPECT_EQ(after.key, before.key);
}

TEST_F(Map, AValueMayBeReplacedByItself) {
    const int key = 1;
    put(1, 10);
    pcl_map_put(m_map, &key, pcl_map_get(m_map, &key));
    EXPECT_EQ(get(1), 10);
}

TEST_F(Map, GrowsWithTheThirdOfFour) {
    put(1, 10);
    put(2, 20);
    EXPECT_EQ(pcl_map_capacity(m_map), 4U);
    put(2, 21);
    EXPECT_EQ(pcl_map_capacity(m_map), 4U);
    put(3, 30);
    EXPECT_EQ(pcl_map_capacity(m_map), 8U);
    EXPECT_EQ(pcl_map_count(m_map), 3U);
    EXPECT_EQ(all(), (Entries{{1, 10}, {2, 21}, {3, 30}}));
}

TEST_F(Map, GrowingMovesWithoutCopying) {
    void *first = put(1, 10);
    put(2, 20);
    put(3, 30);
    const int key = 1;
    EXPECT_EQ(pcl_map_get(m_map, &key), first);
    EXPECT_EQ(elements::counters.copies, 6);
    EXPECT_EQ(elements::counters.deletes, 0);
}

TEST_F(Map, ProbesFurtherAndWrapsToTheStart) {
    useHash([](const void *) -> std::uint32_t { return 7; });
    put(1, 10);
    put(2, 20);
    put(3, 30);
    EXPECT_EQ(elements::valueOf(m_map->slots[7]->key), 1);
    EXPECT_EQ(elements::valueOf(m_map->slots[0]->key), 2);
    EXPECT_EQ(elements::valueOf(m_map->slots[1]->key), 3);
    EXPECT_EQ(get(1), 10);
    EXPECT_EQ(get(2), 20);
    EXPECT_EQ(get(3), 30);
    EXPECT_EQ(get(4), -1);
}

TEST_F(Map, RemoveDeletesKeyAndValue) {
    put(1, 10);
    EXPECT_EQ(remove(1), 1);
    EXPECT_EQ(pcl_map_count(m_map), 0U);
    EXPECT_EQ(elements::counters.deletes, 2);
    EXPECT_EQ(get(1), -1);
    EXPECT_EQ(remove(1), 0);
}

TEST_F(Map, RemovalHidesWhatHadProbedPastTheRemoved) {
    useHash(&elements::sameHash);
    put(1, 10);
    put(2, 20);
    EXPECT_EQ(remove(1), 1);
    EXPECT_EQ(get(2), -1);
    EXPECT_EQ(remove(2), 0);
    EXPECT_EQ(pcl_map_count(m_map), 1U);
}

TEST_F(Map, AHiddenEntryPutAgainIsStillReleasedInTheEnd) {
    useHash(&elements::sameHash);
    put(1, 10);
    put(2, 20);
    remove(1);
    put(2, 21);
    EXPECT_EQ(get(2), 21);
    EXPECT_EQ(pcl_map_count(m_map), 2U);
    EXPECT_EQ(all(), (Entries{{2, 21}, {2, 20}}));
    for (int key = 3; key <= 6; ++key) {
        put(key, key * 10);
    }
    EXPECT_EQ(pcl_map_capacity(m_map), 16U);
    EXPECT_EQ(pcl_map_count(m_map), 6U);
    EXPECT_EQ(get(2), 21);
}

TEST_F(Map, NullKeysAndValuesAreStoredAsNull) {
    const int value = 5;
    pcl_map_put(m_map, nullptr, &value);
    const int key = 0;
    EXPECT_EQ(pcl_map_put(m_map, &key, nullptr), nullptr);
    EXPECT_EQ(pcl_map_count(m_map), 2U);
    EXPECT_EQ(elements::valueOf(pcl_map_get(m_map, nullptr)), 5);
    EXPECT_EQ(pcl_map_get(m_map, &key), nullptr);
    EXPECT_EQ(elements::counters.copies, 2);
    EXPECT_EQ(pcl_map_remove(m_map, &key), 1);
    EXPECT_EQ(pcl_map_remove(m_map, nullptr), 1);
}

TEST_F(Map, ClearKeepsTheCapacity) {
    for (int key = 0; key < 10; ++key) {
        put(key, key);
    }
    const std::uint32_t capacity = pcl_map_capacity(m_map);
    pcl_map_clear(m_map);
    EXPECT_EQ(pcl_map_count(m_map), 0U);
    EXPECT_EQ(pcl_map_capacity(m_map), capacity);
    EXPECT_EQ(elements::counters.live(), 0);
    EXPECT_EQ(all(), Entries{});
    put(1, 10);
    EXPECT_EQ(get(1), 10);
}

TEST_F(Map, AFullMapRefusesAnotherKey) {
    put(1, 10);
    // A map never fills up by itself: make it believe that it has one slot.
    m_map->slots[0] = std::exchange(m_map->slots[1], nullptr);
    m_map->capacity = 1;
    EXPECT_FAILURE(put(2, 20), PCL_RESULT_RUNTIME_ERROR,
                   "This point should never have been reached");
    EXPECT_EQ(get(2), -1);
    EXPECT_EQ(get(1), 10);
    m_map->capacity = 4;
}

TEST_F(Map, WhateverFailsInAPutChangesNothing) {
    put(1, 10);
    put(2, 20);
    const int copies = elements::counters.copies;
    // Key, value, entry and the doubled slots.
    for (std::size_t failing = 1; failing <= 4; ++failing) {
        const FailingAllocation plan(failing);
        EXPECT_FAILURE(put(3, 30), PCL_RESULT_MALLOC_ERROR, "");
        EXPECT_EQ(plan.calls(), failing);
    }
    for (int failing = 1; failing <= 2; ++failing) {
        elements::counters.failingCopy = elements::counters.copies + failing;
        EXPECT_FAILURE(put(3, 30), PCL_RESULT_RUNTIME_ERROR, "copy");
    }
    EXPECT_EQ(elements::counters.live(), copies);
    EXPECT_EQ(pcl_map_capacity(m_map), 4U);
    EXPECT_EQ(pcl_map_count(m_map), 2U);
    EXPECT_EQ(all(), (Entries{{1, 10}, {2, 20}}));
    elements::counters.failingCopy = 0;
    put(3, 30);
    EXPECT_EQ(all(), (Entries{{1, 10}, {2, 20}, {3, 30}}));
}

TEST_F(Map, WhateverFailsInAPutChangesNothingWhenTheHandlerReturns) {
    put(1, 10);
    put(2, 20);
    const ScopedHandler handler;
    for (std::size_t failing = 1; failing <= 4; ++failing) {
        const FailingAllocation plan(failing);
        EXPECT_EQ(put(3, 30), nullptr);
        EXPECT_EQ(handler.count(), failing);
    }
    elements::counters.hashFails = true;
    EXPECT_EQ(put(3, 30), nullptr);
    elements::counters.hashFails = false;
    EXPECT_EQ(handler.message(), "[PCL_RESULT_RUNTIME_ERROR] hash");
    EXPECT_EQ(all(), (Entries{{1, 10}, {2, 20}}));
}

TEST_F(Map, AFailedReplacementKeepsTheOldValue) {
    put(1, 10);
    {
        const FailingAllocation plan(1);
        EXPECT_FAILURE(put(1, 11), PCL_RESULT_MALLOC_ERROR, "");
    }
    elements::counters.failingCopy = elements::counters.copies + 1;
    EXPECT_FAILURE(put(1, 11), PCL_RESULT_RUNTIME_ERROR, "copy");
    EXPECT_EQ(get(1), 10);
    EXPECT_EQ(elements::counters.deletes, 0);
}

TEST_F(Map, AForeignExceptionWhileGrowingChangesNothing) {
    static int hashes;
    useHash([](const void *element) -> std::uint32_t {
        if (++hashes == 8) {
            throw 42;
        }
        return elements::hash(element);
    });
    hashes = 0;
    for (int key = 1; key <= 5; ++key) {
        put(key, key * 10);
    }
    // The sixth makes the map grow; its own hash is taken, then the second of the old entries'.
    EXPECT_THROW(put(6, 60), int);
    hashes = 100;
    EXPECT_EQ(pcl_exception_frame(), nullptr);
    EXPECT_EQ(pcl_map_capacity(m_map), 8U);
    EXPECT_EQ(all(), (Entries{{1, 10}, {2, 20}, {3, 30}, {4, 40}, {5, 50}}));
    put(6, 60);
    EXPECT_EQ(pcl_map_count(m_map), 6U);
}

TEST_F(Map, IteratesInSlotOrder) {
    put(6, 60);
    put(1, 10);
    EXPECT_EQ(all(), (Entries{{1, 10}, {6, 60}}));
    PclMapIterator at;
    EXPECT_EQ(pcl_map_iterator_begin(m_map, &at), &at);
    EXPECT_EQ(at.map, m_map);
    EXPECT_EQ(pcl_map_iterator_next(&at), &at);
    EXPECT_EQ(pcl_map_iterator_next(&at), nullptr);
}

TEST_F(Map, AnEmptyMapHasNothingToIterate) {
    PclMapIterator at;
    EXPECT_EQ(pcl_map_iterator_begin(m_map, &at), nullptr);
}

TEST_F(Map, IterationGoesOnWhereTheEntryHasMovedTo) {
    put(1, 10);
    put(2, 20);
    PclMapIterator at;
    pcl_map_iterator_begin(m_map, &at);
    put(7, 70);
    ASSERT_EQ(pcl_map_capacity(m_map), 8U);
    ASSERT_NE(pcl_map_iterator_next(&at), nullptr);
    EXPECT_EQ(elements::valueOf(at.key), 2);
    ASSERT_NE(pcl_map_iterator_next(&at), nullptr);
    EXPECT_EQ(elements::valueOf(at.key), 7);
}

TEST_F(Map, ARemovedKeyCannotBeIteratedFrom) {
    put(1, 10);
    put(2, 20);
    PclMapIterator at;
    pcl_map_iterator_begin(m_map, &at);
    remove(1);
    EXPECT_FAILURE(pcl_map_iterator_next(&at), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'it->key' not present in 'it->map'");
    const ScopedHandler handler;
    EXPECT_EQ(pcl_map_iterator_next(&at), nullptr);
    EXPECT_EQ(handler.count(), 1U);
}

TEST_F(Map, CanBeIteratedFromAnEqualKey) {
    useHash(&elements::sameHash);
    put(1, 10);
    put(2, 20);
    put(3, 30);
    int key = 2;
    PclMapIterator at{};
    at.map = m_map;
    at.key = &key;
    ASSERT_EQ(pcl_map_iterator_next(&at), &at);
    EXPECT_EQ(elements::valueOf(at.key), 3);
    pcl_map_iterator_begin(m_map, &at);
    at.key = &key;
    ASSERT_EQ(pcl_map_iterator_next(&at), &at);
    EXPECT_EQ(elements::valueOf(at.value), 30);
    key = 4;
    at.key = &key;
    EXPECT_FAILURE(pcl_map_iterator_next(&at), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'it->key' not present in 'it->map'");
}

TEST_F(Map, CanBeIteratedFromANullKey) {
    useHash(&elements::sameHash);
    pcl_map_put(m_map, nullptr, nullptr);
    put(2, 20);
    PclMapIterator at{};
    at.map = m_map;
    ASSERT_EQ(pcl_map_iterator_next(&at), &at);
    EXPECT_EQ(elements::valueOf(at.key), 2);
}

TEST_F(Map, AKeyHiddenByARemovalCannotBeIteratedFrom) {
    useHash(&elements::sameHash);
    put(1, 10);
    put(2, 20);
    PclMapIterator at;
    pcl_map_iterator_begin(m_map, &at);
    pcl_map_iterator_next(&at);
    remove(1);
    EXPECT_FAILURE(pcl_map_iterator_next(&at), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'it->key' not present in 'it->map'");
}

TEST_F(Map, ACountWithoutEntriesIsNoticed) {
    m_map->count = 1;
    PclMapIterator at;
    EXPECT_FAILURE(pcl_map_iterator_begin(m_map, &at), PCL_RESULT_RUNTIME_ERROR,
                   "This point should not have been reached");
    {
        const ScopedHandler handler;
        EXPECT_EQ(pcl_map_iterator_begin(m_map, &at), nullptr);
        EXPECT_EQ(handler.count(), 1U);
    }
    m_map->count = 0;
}

TEST_F(Map, IteratorArgumentsAreChecked) {
    const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
    PclMapIterator at{};
    EXPECT_FAILURE(pcl_map_iterator_begin(nullptr, nullptr), code, "map is NULL");
    EXPECT_FAILURE(pcl_map_iterator_begin(m_map, nullptr), code, "'out' is NULL");
    EXPECT_FAILURE(pcl_map_iterator_next(nullptr), code, "'it' is NULL");
    EXPECT_FAILURE(pcl_map_iterator_next(&at), code, "'it->map' is NULL");
}

TEST_F(Map, DestroyIgnoresNull) {
    PclMap *none = nullptr;
    EXPECT_NO_FAILURE(pcl_map_destroy(&none));
    EXPECT_NO_FAILURE(pcl_map_destroy(nullptr));
}

TEST_F(Map, NullMapsAreRefused) {
    const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
    const int key = 1;
    EXPECT_FAILURE(pcl_map_clear(nullptr), code, "map is NULL");
    EXPECT_FAILURE(pcl_map_count(nullptr), code, "map is NULL");
    EXPECT_FAILURE(pcl_map_capacity(nullptr), code, "map is NULL");
    EXPECT_FAILURE(pcl_map_put(nullptr, &key, &key), code, "map is NULL");
    EXPECT_FAILURE(pcl_map_get(nullptr, &key), code, "map is NULL");
    EXPECT_FAILURE(pcl_map_remove(nullptr, &key), code, "map is NULL");
}

TEST_F(Map, NullIsHarmlessWhenTheHandlerReturns) {
    const ScopedHandler handler;
    const int key = 1;
    PclMapIterator at{};
    pcl_map_clear(nullptr);
    EXPECT_EQ(pcl_map_count(nullptr), 0U);
    EXPECT_EQ(pcl_map_capacity(nullptr), 0U);
    EXPECT_EQ(pcl_map_put(nullptr, &key, &key), nullptr);
    EXPECT_EQ(pcl_map_get(nullptr, &key), nullptr);
    EXPECT_EQ(pcl_map_remove(nullptr, &key), 0);
    EXPECT_EQ(pcl_map_iterator_begin(nullptr, &at), nullptr);
    EXPECT_EQ(pcl_map_iterator_begin(m_map, nullptr), nullptr);
    EXPECT_EQ(pcl_map_iterator_next(nullptr), nullptr);
    EXPECT_EQ(pcl_map_iterator_next(&at), nullptr);
    EXPECT_EQ(pcl_map_create(1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), nullptr);
    EXPECT_EQ(pcl_map_create(2, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), nullptr);
    EXPECT_EQ(handler.count(), 12U);
}
