#include "core/string.h"

#include "core/exception.h"
#include "core/memory.h"

#include <cstdio>
#include <cstring>

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

std::uint32_t PCL_CALL pcl_string_hash(const void *text) {
    std::uint32_t hash = 0;
    if (const auto *next = static_cast<const signed char *>(text); next != nullptr) {
        for (; *next != 0; ++next) {
            hash = hash * 31 + static_cast<std::uint32_t>(*next);
        }
    }
    return hash;
}

bool PCL_CALL pcl_string_equals(const void *left, const void *right) {
    if (left == nullptr || right == nullptr) {
        return left == right;
    }
    return std::strcmp(static_cast<const char *>(left), static_cast<const char *>(right)) == 0;
}

void *PCL_CALL pcl_string_copy(const void *text) {
    return text == nullptr ? nullptr
                           : pcl_memdup(text, std::strlen(static_cast<const char *>(text)) + 1);
}

void PCL_CALL pcl_string_delete(void *text) {
    pcl_memdup_free(text);
}
