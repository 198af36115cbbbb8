#include "core/abort.h"

#include <csignal>
#include <cstdlib>

#if defined(_WIN32)

void pcl_abort() {
    // abort() would show a message first, and without a console in a window that waits.
    std::raise(SIGABRT);
    constexpr int STATUS_OF_AN_ABORT = 3;
    std::_Exit(STATUS_OF_AN_ABORT);
}

#else

void pcl_abort() {
    // Not raise() before: abort() raises the signal itself, even where it is blocked.
    std::abort();
}

#endif
