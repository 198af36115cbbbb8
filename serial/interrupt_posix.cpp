#include "serial/interrupt.h"

#include <cerrno>

#include <sys/eventfd.h>
#include <unistd.h>

PclInterrupt::PclInterrupt() : m_signal(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

PclInterrupt::~PclInterrupt() {
    if (m_signal >= 0) {
        ::close(static_cast<int>(m_signal));
    }
}

void PclInterrupt::raise() {
    const int error = errno;
    m_raised.store(true);
    // Fails only when it is readable already.
    static_cast<void>(eventfd_write(static_cast<int>(m_signal), 1));
    errno = error;
}
