#include "core/string.h"

#include "core/exception.h"

#include <cstdio>

char *pcl_vsnprintf(char *to, std::size_t size, const char *format, std::va_list arguments) {
    if (to == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'to' is NULL");
        return to;
    }
    if (to == format) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'to' and 'format' points to the same buffer");
        return to;
    }
    if (size != 0) {
        std::vsnprintf(to, size, format, arguments);
        to[size - 1] = '\0';
    }
    return to;
}

char *pcl_snprintf(char *to, std::size_t size, const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    pcl_vsnprintf(to, size, format, arguments);
    va_end(arguments);
    return to;
}
