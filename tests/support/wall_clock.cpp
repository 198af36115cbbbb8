#include "tests/support/wall_clock.h"

#include <atomic>
#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::atomic<std::time_t> secondsAhead{0};

} // namespace

// Takes the place of the runtime's own, for the shared libraries of the program too.
extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock,
                                                                    timespec *now) noexcept {
    const auto result = static_cast<int>(syscall(SYS_clock_gettime, clock, now));
    if (result == 0 && clock == CLOCK_REALTIME) {
        now->tv_sec += secondsAhead;
    }
    return result;
}

WallClockSet::WallClockSet(std::chrono::seconds ahead) {
    secondsAhead = ahead.count();
}

WallClockSet::~WallClockSet() {
    secondsAhead = 0;
}
