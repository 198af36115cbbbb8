#pragma once

#include "core/platform.h"

#include <cstddef>
#include <cstdint>

/// Allocates; a failed allocation raises PCL_RESULT_MALLOC_ERROR with an empty detail, unless
/// nothrow is 1: then null is returned. The caller owns the block and releases it with pcl_free.
void *pcl_malloc(std::size_t size, std::uint8_t nothrow);

/// Releases a block of pcl_malloc; null is ignored.
void PCL_CALL pcl_free(void *block);

/// Overwrites with zeros in a way that the optimiser may not drop. Null is ignored.
void pcl_wipe(void *data, std::size_t size);

/// A copy of the block, to be released with pcl_memdup_free. Null data gives null when size is 0
/// and raises PCL_RESULT_ILLEGAL_ARGUMENT "data is NULL and size != 0" otherwise.
void *pcl_memdup(const void *data, std::size_t size);
void pcl_memdup_free(void *block);

/// True when both pointers are the same or the first `length` bytes compare equal; false when
/// exactly one of them is null.
bool pcl_mem_equals(const void *left, const void *right, std::size_t length);
