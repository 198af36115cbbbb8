#pragma once

#include "core/set.h"

/// A set of signed 32-bit integers. What has no operation here is done with the set's own:
/// pcl_set_destroy, pcl_set_clear, pcl_set_count, pcl_set_capacity. Raises what those raise.
using PclIntSet = PclSet;

/// A plain value, filled by begin and next; the iteration goes on from where the value is then.
struct PclIntSetIterator {
    PclIntSet *intSet;
    std::int32_t value;
};

/// A new empty set, to be released with pcl_set_destroy.
PclIntSet *pcl_int_set_create(std::int32_t initialCapacity);

/// 1 when the value is in the set, else 0.
std::uint8_t pcl_int_set_contains(const PclIntSet *set, std::int32_t value);

void pcl_int_set_add(PclIntSet *set, std::int32_t value);

/// 1 when the value was in the set, else 0.
std::uint8_t pcl_int_set_remove(PclIntSet *set, std::int32_t value);

/// Moves `out` to the first value in slot order and returns it; null when the set is empty. Raises
/// PCL_RESULT_ILLEGAL_ARGUMENT "'set' is NULL" and "'out' is NULL".
PclIntSetIterator *pcl_int_set_iterator_begin(PclIntSet *set, PclIntSetIterator *out);

/// Moves the iterator to the next value and returns it; null when there is none. Raises
/// PCL_RESULT_ILLEGAL_ARGUMENT "'it' is NULL", "'it->intSet' is NULL" and, when the value is not in
/// the set, "'it->item' not present in 'it->set'".
PclIntSetIterator *pcl_int_set_iterator_next(PclIntSetIterator *it);
