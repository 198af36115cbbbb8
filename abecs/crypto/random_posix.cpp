#include "abecs/crypto/random.h"

#include <cerrno>

#include <sys/random.h>
#include <sys/types.h>

bool pcl_random_fill(void *buffer, std::size_t size) {
    auto *next = static_cast<unsigned char *>(buffer);
    while (size > 0) {
        const ssize_t got = getrandom(next, size, 0);
        if (got > 0) {
            next += got;
            size -= static_cast<std::size_t>(got);
        } else if (got == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

// LibTomMath is the whole process's, and asks the system in the same way by itself.
void pcl_random_serve_numbers() {}
