#pragma once

#include <cstdint>
#include <limits>

/// Ends the list of pcl_enum_is_one_of; no enumerator may have this value.
inline constexpr std::int32_t PCL_ENUM_END = std::numeric_limits<std::int32_t>::min();

/// 1 when `value` is among the 32-bit integers that follow, up to PCL_ENUM_END; else 0. Raises
/// PCL_RESULT_ILLEGAL_ARGUMENT "%d is not acceptable as an enumerator" when the value itself is
/// PCL_ENUM_END, and gives 0 when the handler returns.
std::uint8_t pcl_enum_is_one_of(std::int32_t value, ...);

/// 1 when min <= value <= max, else 0.
std::uint8_t pcl_in_range(std::int32_t value, std::int32_t min, std::int32_t max);
