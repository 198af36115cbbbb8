#include "tests/robustness/system_calls.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/types.h>
#include <termios.h>

extern "C" {
ssize_t __real_read(int fd, void *buffer, size_t count);
ssize_t __real_write(int fd, const void *buffer, size_t count);
int __real_ppoll(pollfd *fds, nfds_t count, const timespec *timeout, const sigset_t *mask);
int __real_open(const char *path, int flags, ...);
int __real_close(int fd);
int __real_tcflush(int fd, int queue);
int __real_tcdrain(int fd);
int __real_tcsetattr(int fd, int actions, const termios *attributes);
int __real_tcgetattr(int fd, termios *attributes);
ssize_t __wrap_read(int fd, void *buffer, size_t count);
ssize_t __wrap_write(int fd, const void *buffer, size_t count);
int __wrap_ppoll(pollfd *fds, nfds_t count, const timespec *timeout, const sigset_t *mask);
int __wrap_open(const char *path, int flags, mode_t mode);
int __wrap_close(int fd);
int __wrap_tcflush(int fd, int queue);
int __wrap_tcdrain(int fd);
int __wrap_tcsetattr(int fd, int actions, const termios *attributes);
int __wrap_tcgetattr(int fd, termios *attributes);
}

namespace {

using calls::Call;
using calls::Mode;

struct Plan {
    bool active;
    std::size_t failing;
    Mode mode;
    int error;
    std::size_t count;
    Call struck;
};

thread_local Plan plan = {};

bool strikes(Call call) {
    if (!plan.active || ++plan.count != plan.failing) {
        return false;
    }
    plan.struck = call;
    errno = plan.error;
    return true;
}

bool isShort() {
    return plan.mode == Mode::SHORT;
}

// Runs the call, or fails in its place.
template <typename Real>
int inPlaceOf(Call call, Real real) {
    return strikes(call) && !isShort() ? -1 : real();
}

} // namespace

ssize_t __wrap_read(int fd, void *buffer, size_t count) {
    if (!strikes(Call::READ)) {
        return __real_read(fd, buffer, count);
    }
    return isShort() ? __real_read(fd, buffer, 1) : -1;
}

ssize_t __wrap_write(int fd, const void *buffer, size_t count) {
    if (!strikes(Call::WRITE)) {
        return __real_write(fd, buffer, count);
    }
    if (!isShort()) {
        return -1;
    }
    return count > 1 ? __real_write(fd, buffer, 1) : 0;
}

int __wrap_ppoll(pollfd *fds, nfds_t count, const timespec *timeout, const sigset_t *mask) {
    return inPlaceOf(Call::POLL, [&] { return __real_ppoll(fds, count, timeout, mask); });
}

int __wrap_open(const char *path, int flags, mode_t mode) {
    return inPlaceOf(Call::OPEN, [&] { return __real_open(path, flags, mode); });
}

// The descriptor is gone even when closing it fails.
int __wrap_close(int fd) {
    const bool failing = strikes(Call::CLOSE) && !isShort();
    const int error = errno;
    const int result = __real_close(fd);
    if (failing) {
        errno = error;
        return -1;
    }
    return result;
}

int __wrap_tcflush(int fd, int queue) {
    return inPlaceOf(Call::FLUSH, [&] { return __real_tcflush(fd, queue); });
}

int __wrap_tcdrain(int fd) {
    return inPlaceOf(Call::DRAIN, [&] { return __real_tcdrain(fd); });
}

int __wrap_tcsetattr(int fd, int actions, const termios *attributes) {
    return inPlaceOf(Call::SET_LINE, [&] { return __real_tcsetattr(fd, actions, attributes); });
}

int __wrap_tcgetattr(int fd, termios *attributes) {
    return inPlaceOf(Call::GET_LINE, [&] { return __real_tcgetattr(fd, attributes); });
}

calls::FailingCall::FailingCall(std::size_t failing, Mode mode, int error) {
    plan = {true, failing, mode, error, 0, Call::NONE};
}

calls::FailingCall::~FailingCall() {
    plan.active = false;
}

std::size_t calls::FailingCall::count() const {
    return plan.count;
}

calls::Call calls::FailingCall::struck() const {
    return plan.struck;
}
