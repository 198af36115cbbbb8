#pragma once

#include "core/element.h"

#include <cstdint>

/// Integers as container elements whose copies are counted, and whose element functions can be made
/// to fail.
namespace elements {

struct Counters {
    int copies = 0;
    int deletes = 0;
    int failingCopy = 0;     ///< number of the copy that raises, from 1; 0 for none
    bool hashFails = false;  ///< hash raises
    bool hashThrows = false; ///< hash throws an int of its own

    int live() const { return copies - deletes; }
};

extern Counters counters;

/// Every element function goes through these.
std::uint32_t PCL_CALL hash(const void *element);
/// Sends every element to the same slot.
std::uint32_t PCL_CALL sameHash(const void *element);
bool PCL_CALL equals(const void *left, const void *right);
void *PCL_CALL copy(const void *element);
void PCL_CALL release(void *element);

inline int valueOf(const void *element) {
    return *static_cast<const int *>(element);
}

} // namespace elements
