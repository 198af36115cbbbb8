#include "core/memory.h"

#include "core/exception.h"

#include <cstdlib>
#include <cstring>

void *pcl_malloc(std::size_t size, std::uint8_t nothrow) {
    // The runtime may answer null for a size of 0, which is no failure.
    void *block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr && nothrow != 1) {
        pcl_raise(PCL_RESULT_MALLOC_ERROR, "%s", "");
    }
    return block;
}

void PCL_CALL pcl_free(void *block) {
    std::free(block);
}

void pcl_wipe(void *data, std::size_t size) {
    if (data == nullptr) {
        return;
    }
    std::memset(data, 0, size);
    // The compiler has to take the zeros for read here, so that it cannot leave them out.
    __asm__ __volatile__("" : : "r"(data) : "memory");
}

void *pcl_memdup(const void *data, std::size_t size) {
    if (data == nullptr) {
        if (size != 0) {
            pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "data is NULL and size != 0");
        }
        return nullptr;
    }
    void *copy = pcl_malloc(size, 0);
    if (copy != nullptr) {
        std::memcpy(copy, data, size);
    }
    return copy;
}

void pcl_memdup_free(void *block) {
    pcl_free(block);
}

bool pcl_mem_equals(const void *left, const void *right, std::size_t length) {
    if (left == right) {
        return true;
    }
    if (left == nullptr || right == nullptr) {
        return false;
    }
    return std::memcmp(left, right, length) == 0;
}
