#pragma once

#include <cstddef>
#include <cstdint>

/// What the commands that name a file in the PIN pad share.

inline constexpr std::size_t ABECS_MEDIA_NAME_SIZE = 8;
inline constexpr std::uint16_t ABECS_PARAM_MEDIA_NAME = 0x001E;

/// Whether the text is a name of 1 to 8 characters; raises PCL_RESULT_ILLEGAL_ARGUMENT
/// "'filename' is NULL", "'filename' is empty" or
/// "'filename' is too long (max: %d, requested: %zu)" when it is not.
bool abecs_is_media_name(const char *filename);
