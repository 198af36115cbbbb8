#include "core/time.h"

#include <chrono>

#if defined(_WIN32)
#include <windows.h>
#else
#include <cerrno>
#include <ctime>
#endif

namespace {

template <typename Clock>
std::uint64_t millisOf() {
    using std::chrono::duration_cast;
    using std::chrono::milliseconds;
    return static_cast<std::uint64_t>(
        duration_cast<milliseconds>(Clock::now().time_since_epoch()).count());
}

} // namespace

std::uint64_t pcl_time_millis() {
    return millisOf<std::chrono::system_clock>();
}

std::uint64_t pcl_monotonic_millis() {
    return millisOf<std::chrono::steady_clock>();
}

#if defined(_WIN32)

void pcl_sleep_millis(std::uint64_t millis) {
    constexpr std::uint64_t LONGEST = INFINITE - 1;
    for (; millis > LONGEST; millis -= LONGEST) {
        Sleep(static_cast<DWORD>(LONGEST));
    }
    Sleep(static_cast<DWORD>(millis));
}

#else

void pcl_sleep_millis(std::uint64_t millis) {
    constexpr long NANOS_PER_SECOND = 1'000'000'000;
    timespec until{};
    clock_gettime(CLOCK_MONOTONIC, &until);
    until.tv_sec += static_cast<std::time_t>(millis / 1000);
    until.tv_nsec += static_cast<long>(millis % 1000) * 1'000'000;
    if (until.tv_nsec >= NANOS_PER_SECOND) {
        until.tv_nsec -= NANOS_PER_SECOND;
        ++until.tv_sec;
    }
    // Sleeping until a moment, not for a time: interruptions then add nothing.
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
    }
}

#endif
