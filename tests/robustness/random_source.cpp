#include "tests/robustness/random_source.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

namespace {

using source::Mode;

std::atomic<bool> active{false};
std::atomic<Mode> current{Mode::GOOD};
std::atomic<std::size_t> drawCount{0};
std::atomic<std::size_t> deviceCount{0};
std::atomic<std::size_t> clockCount{0};

bool isRandomDevice(const char *path) {
    const bool is =
        active && (std::strcmp(path, "/dev/urandom") == 0 || std::strcmp(path, "/dev/random") == 0);
    if (is) {
        ++deviceCount;
        errno = ENOENT;
    }
    return is;
}

ssize_t draw(void *buffer, size_t size, unsigned flags) {
    return ::syscall(SYS_getrandom, buffer, size, flags);
}

template <typename Function>
Function *original(const char *name) {
    return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

} // namespace

// The libraries that the program is linked with call these, too.
#pragma GCC visibility push(default)
extern "C" {

ssize_t getrandom(void *buffer, size_t size, unsigned flags) {
    const std::size_t number = ++drawCount;
    if (!active) {
        return draw(buffer, size, flags);
    }
    switch (current.load()) {
    case Mode::FAILING:
        errno = ENOSYS;
        return -1;
    case Mode::EMPTY:
        return 0;
    case Mode::INTERRUPTED:
        if (number % 2 == 1) {
            errno = EINTR;
            return -1;
        }
        return draw(buffer, size < 1 ? size : 1, flags);
    case Mode::GOOD:
        break;
    }
    return draw(buffer, size, flags);
}

FILE *fopen(const char *path, const char *mode) {
    return isRandomDevice(path) ? nullptr
                                : original<FILE *(const char *, const char *)>("fopen")(path, mode);
}

FILE *fopen64(const char *path, const char *mode) {
    return fopen(path, mode);
}

int open(const char *path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const auto mode = static_cast<mode_t>((flags & O_CREAT) != 0 ? va_arg(arguments, int) : 0);
    va_end(arguments);
    return isRandomDevice(path)
               ? -1
               : static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

clock_t clock() noexcept {
    ++clockCount;
    return original<clock_t()>("clock")();
}

} // extern "C"
#pragma GCC visibility pop

source::Source::Source(Mode mode) {
    drawCount = 0;
    deviceCount = 0;
    clockCount = 0;
    current = mode;
    active = true;
}

source::Source::~Source() {
    active = false;
}

std::size_t source::Source::draws() const {
    return drawCount;
}

std::size_t source::Source::devicesOpened() const {
    return deviceCount;
}

std::size_t source::Source::looksAtTheClock() const {
    return clockCount;
}
