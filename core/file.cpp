#include "core/file.h"

#include "core/exception.h"

#include <sys/stat.h>

#include <cerrno>

namespace {

#if defined(_WIN32)
using Status = struct _stat64;
int query(const char *path, Status *status) {
    return _stat64(path, status);
}
#else
using Status = struct stat;
int query(const char *path, Status *status) {
    return stat(path, status);
}
#endif

// False after raising.
bool queryStatus(const char *path, Status *status) {
    if (path == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'path' is NULL");
        return false;
    }
    if (query(path, status) == 0) {
        return true;
    }
    const int error = errno;
    if (error == ENOENT) {
        pcl_raise(PCL_RESULT_FILE_NOT_FOUND, "File not found: %s", path);
    } else {
        pcl_raise(PCL_RESULT_IO_ERROR, "stat() error: %d", error);
    }
    return false;
}

} // namespace

std::uint8_t pcl_file_is_regular(const char *path) {
    Status status;
    return queryStatus(path, &status) && (status.st_mode & S_IFMT) == S_IFREG ? 1 : 0;
}

std::uint64_t pcl_file_size(const char *path) {
    Status status;
    return queryStatus(path, &status) ? static_cast<std::uint64_t>(status.st_size) : 0;
}
