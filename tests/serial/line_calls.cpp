#include "tests/serial/line_calls.h"

#include <sys/ioctl.h>

extern "C" {
int __real_tcsetattr(int fd, int actions, const termios *attributes);
int __real_ioctl(int fd, unsigned long request, void *argument);
int __wrap_tcsetattr(int fd, int actions, const termios *attributes);
int __wrap_ioctl(int fd, unsigned long request, void *argument);
}

namespace {

termios asked{};
bool modemLines = false;
bool exclusiveMark = false;

} // namespace

int __wrap_tcsetattr(int fd, int actions, const termios *attributes) {
    asked = *attributes;
    return __real_tcsetattr(fd, actions, attributes);
}

int __wrap_ioctl(int fd, unsigned long request, void *argument) {
    if (!modemLines) {
        return __real_ioctl(fd, request, argument);
    }
    switch (request) {
    case TIOCMGET:
    case TIOCMBIS:
        return 0;
    case TIOCEXCL:
    case TIOCNXCL:
        exclusiveMark = request == TIOCEXCL;
        return 0;
    case TIOCGEXCL:
        *static_cast<int *>(argument) = exclusiveMark ? 1 : 0;
        return 0;
    default:
        return __real_ioctl(fd, request, argument);
    }
}

const termios &line_calls::settings() {
    return asked;
}

line_calls::ModemLines::ModemLines(bool exclusive) {
    modemLines = true;
    exclusiveMark = exclusive;
}

line_calls::ModemLines::~ModemLines() {
    modemLines = false;
    exclusiveMark = false;
}

bool line_calls::ModemLines::exclusive() const {
    return exclusiveMark;
}
