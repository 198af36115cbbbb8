#pragma once

#include "core/element.h"

#include <cstdint>

/// A hash set that owns copies of its items; placed, grown and removed from like a PclMap.
///
/// A null set raises PCL_RESULT_ILLEGAL_ARGUMENT "'set' is NULL". Should the handler return,
/// results are null or 0. What the element functions raise leaves the set as it was.
struct PclSetEntry {
    void *item;
};

struct PclSet {
    std::uint32_t capacity;
    PclHashFn itemHashFn;
    PclEqualsFn itemEqualsFn;
    PclCopyFn itemCpFn;
    PclDeleteFn itemDelFn;
    std::uint32_t count;
    PclSetEntry **slots; ///< null slots are empty
};

/// A plain value, filled by begin and next. The item stays the set's. Callers may put an item of
/// their own there: the iteration goes on from the equal one.
struct PclSetIterator {
    PclSet *set;
    const void *item;
    /// The set's own item and its hash: it is found by its address, as it may have been removed and
    /// must not be looked into then.
    const void *stored;
    std::uint32_t hash;
};

/// A new empty set, to be released with pcl_set_destroy. Raises PCL_RESULT_ILLEGAL_ARGUMENT
/// "Invalid 'initialCapacity': %d" below 2, "'itemHashFn' is NULL", "'itemEqualsFn' is NULL",
/// "'itemCpFn' is NULL", "'itemDelFn' is NULL", and PCL_RESULT_MALLOC_ERROR.
PclSet *pcl_set_create(std::int32_t initialCapacity, PclHashFn itemHashFn, PclEqualsFn itemEqualsFn,
                       PclCopyFn itemCpFn, PclDeleteFn itemDelFn);

/// Deletes every item; the capacity stays.
void pcl_set_clear(PclSet *set);

/// Clears and releases the set and sets the caller's variable to null. Null is ignored on both
/// levels.
void pcl_set_destroy(PclSet **set);

/// How many items there are, and for how many there are slots.
std::uint32_t pcl_set_count(const PclSet *set);
std::uint32_t pcl_set_capacity(const PclSet *set);

/// Stores a copy of the item unless an equal one is there; returns the stored one. Raises
/// PCL_RESULT_RUNTIME_ERROR "This point should never have been reached" when no slot is left.
void *pcl_set_add(PclSet *set, const void *item);

/// 1 when an equal item is stored, else 0.
std::uint8_t pcl_set_contains(const PclSet *set, const void *item);

/// Deletes the item; 1 when there was one, else 0.
std::uint8_t pcl_set_remove(PclSet *set, const void *item);

/// Moves `out` to the first item in slot order and returns it; null when the set is empty. Raises
/// PCL_RESULT_ILLEGAL_ARGUMENT "'out' is NULL" and PCL_RESULT_RUNTIME_ERROR
/// "This point should not have been reached" when the slots contradict the count.
PclSetIterator *pcl_set_iterator_begin(PclSet *set, PclSetIterator *out);

/// Moves the iterator to the next item and returns it; null when there is none. Raises
/// PCL_RESULT_ILLEGAL_ARGUMENT "'it' is NULL", "'it->set' is NULL" and
/// "'it->item' not present in 'it->set'".
PclSetIterator *pcl_set_iterator_next(PclSetIterator *it);
