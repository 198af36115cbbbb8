#include "core/check.h"

#include "core/exception.h"

#include <cstdarg>

std::uint8_t pcl_enum_is_one_of(std::int32_t value, ...) {
    if (value == PCL_ENUM_END) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "%d is not acceptable as an enumerator", value);
        return 0;
    }
    std::va_list enumerators;
    va_start(enumerators, value);
    std::uint8_t found = 0;
    for (std::int32_t next = va_arg(enumerators, std::int32_t); next != PCL_ENUM_END;
         next = va_arg(enumerators, std::int32_t)) {
        if (next == value) {
            found = 1;
            break;
        }
    }
    va_end(enumerators);
    return found;
}

std::uint8_t pcl_in_range(std::int32_t value, std::int32_t min, std::int32_t max) {
    return min <= value && value <= max ? 1 : 0;
}
