#pragma once

#include "core/element.h"

#include <cstdint>

/// A hash map that owns copies of its keys and values: open addressing with linear probing, grown
/// to twice the size when three quarters full.
///
/// Removing an entry empties its slot and nothing else, so an entry that had been placed past it in
/// the same run of slots is not found any more (until the map grows).
///
/// A null map raises PCL_RESULT_ILLEGAL_ARGUMENT "map is NULL". Should the handler return, results
/// are null or 0. What the element functions raise leaves the map as it was.
struct PclMapEntry {
    void *key;
    void *value;
};

struct PclMap {
    std::uint32_t capacity;
    PclHashFn keyHashFn;
    PclEqualsFn keyEqualsFn;
    PclCopyFn keyCpFn;
    PclCopyFn valueCpFn;
    PclDeleteFn keyDelFn;
    PclDeleteFn valueDelFn;
    std::uint32_t count;
    PclMapEntry **slots; ///< null slots are empty
};

/// A plain value, filled by begin and next. Key and value stay the map's. Callers may put a key of
/// their own there: the iteration goes on from the equal one.
struct PclMapIterator {
    PclMap *map;
    const void *key;
    void *value;
    /// The map's own key and its hash: it is found by its address, as it may have been removed and
    /// must not be looked into then.
    const void *stored;
    std::uint32_t hash;
};

/// A new empty map, to be released with pcl_map_destroy. Raises PCL_RESULT_ILLEGAL_ARGUMENT
/// "Invalid initialCapacity: %d" below 2, "keyHashFn is NULL", "keyEqualsFn is NULL",
/// "keyCpFn is NULL", "valueCpFn is NULL", "keyDelFn is NULL", "valueDelFn is NULL", and
/// PCL_RESULT_MALLOC_ERROR.
PclMap *pcl_map_create(std::int32_t initialCapacity, PclHashFn keyHashFn, PclEqualsFn keyEqualsFn,
                       PclCopyFn keyCpFn, PclCopyFn valueCpFn, PclDeleteFn keyDelFn,
                       PclDeleteFn valueDelFn);

/// Deletes every entry; the capacity stays.
void pcl_map_clear(PclMap *map);

/// Clears and releases the map and sets the caller's variable to null. Null is ignored on both
/// levels.
void pcl_map_destroy(PclMap **map);

/// How many entries there are, and for how many there are slots.
std::uint32_t pcl_map_count(const PclMap *map);
std::uint32_t pcl_map_capacity(const PclMap *map);

/// Stores copies of key and value and returns the stored value. An equal key keeps its stored copy
/// and has its value replaced. Raises PCL_RESULT_RUNTIME_ERROR
/// "This point should never have been reached" when no slot is left.
void *pcl_map_put(PclMap *map, const void *key, const void *value);

/// The stored value, which stays the map's; null when the key is absent.
void *pcl_map_get(const PclMap *map, const void *key);

/// Deletes the entry; 1 when there was one, else 0.
std::uint8_t pcl_map_remove(PclMap *map, const void *key);

/// Moves `out` to the first entry in slot order and returns it; null when the map is empty. Raises
/// PCL_RESULT_ILLEGAL_ARGUMENT "'out' is NULL" and PCL_RESULT_RUNTIME_ERROR
/// "This point should not have been reached" when the slots contradict the count.
PclMapIterator *pcl_map_iterator_begin(PclMap *map, PclMapIterator *out);

/// Moves the iterator to the next entry and returns it; null when there is none. Raises
/// PCL_RESULT_ILLEGAL_ARGUMENT "'it' is NULL", "'it->map' is NULL" and
/// "'it->key' not present in 'it->map'".
PclMapIterator *pcl_map_iterator_next(PclMapIterator *it);
