#include "abecs/commands/media_name.h"

#include "core/exception.h"

#include <cstring>

bool abecs_is_media_name(const char *filename) {
    if (filename == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'filename' is NULL");
        return false;
    }
    const std::size_t length = std::strlen(filename);
    if (length == 0) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'filename' is empty");
        return false;
    }
    if (length > ABECS_MEDIA_NAME_SIZE) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'filename' is too long (max: %d, requested: %zu)",
                  static_cast<int>(ABECS_MEDIA_NAME_SIZE), length);
        return false;
    }
    return true;
}
