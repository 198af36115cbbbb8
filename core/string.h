#pragma once

#include "core/platform.h"

#include <cstdarg>
#include <cstddef>
#include <cstdint>

/// Formats into `to`, cutting what does not fit in `size` bytes; the last byte is always NUL.
/// Returns `to`. Raises PCL_RESULT_ILLEGAL_ARGUMENT "'to' is NULL" and
/// "'to' and 'format' points to the same buffer".
char *pcl_snprintf(char *to, std::size_t size, const char *format, ...) PCL_PRINTF(3, 4);
char *pcl_vsnprintf(char *to, std::size_t size, const char *format, std::va_list arguments)
    PCL_PRINTF(3, 0);

/// The polynomial hash of a text: the sum of c[i] * 31^(n-1-i) over its n bytes taken as signed, in
/// wrap-around arithmetic. 0 for null.
std::uint32_t PCL_CALL pcl_string_hash(const void *text);

/// True when both texts are the same or equal; false when exactly one is null.
bool PCL_CALL pcl_string_equals(const void *left, const void *right);

/// A copy of the text, to be released with pcl_string_delete; null for null.
void *PCL_CALL pcl_string_copy(const void *text);
void PCL_CALL pcl_string_delete(void *text);
