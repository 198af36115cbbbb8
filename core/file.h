#pragma once

#include <cstdint>

/// Both raise PCL_RESULT_ILLEGAL_ARGUMENT "'path' is NULL", PCL_RESULT_FILE_NOT_FOUND
/// "File not found: %s" when nothing has that name, and PCL_RESULT_IO_ERROR "stat() error: %d" with
/// the system's number otherwise. Should the handler return, the result is 0.

/// 1 when the path names a regular file, else 0.
std::uint8_t pcl_file_is_regular(const char *path);

/// The file's size in bytes.
std::uint64_t pcl_file_size(const char *path);
