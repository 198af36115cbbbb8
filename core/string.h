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
