#include "tests/core/elements.h"

#include "core/exception.h"
#include "core/memory.h"

#include <cstdlib>

namespace elements {

Counters counters;

std::uint32_t PCL_CALL hash(const void *element) {
    if (counters.hashFails) {
        pcl_raise(PCL_RESULT_RUNTIME_ERROR, "hash");
        return 0;
    }
    if (counters.hashThrows) {
        throw 42;
    }
    return element == nullptr ? 0 : static_cast<std::uint32_t>(valueOf(element));
}

std::uint32_t PCL_CALL sameHash(const void *) {
    return 1;
}

bool PCL_CALL equals(const void *left, const void *right) {
    // The containers never pass a null.
    if (left == nullptr || right == nullptr) {
        std::abort();
    }
    return valueOf(left) == valueOf(right);
}

void *PCL_CALL copy(const void *element) {
    if (element == nullptr) {
        std::abort();
    }
    if (counters.copies + 1 == counters.failingCopy) {
        pcl_raise(PCL_RESULT_RUNTIME_ERROR, "copy");
        return nullptr;
    }
    void *made = pcl_memdup(element, sizeof(int));
    ++counters.copies;
    return made;
}

void PCL_CALL release(void *element) {
    if (element == nullptr) {
        std::abort();
    }
    ++counters.deletes;
    pcl_memdup_free(element);
}

} // namespace elements
