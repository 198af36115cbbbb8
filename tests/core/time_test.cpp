#include "core/time.h"

#include "tests/support/wall_clock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <ctime>
#include <sys/time.h>

namespace {

volatile std::sig_atomic_t alarms = 0;

void countAlarm(int) {
    alarms = alarms + 1;
}

std::chrono::milliseconds timed(std::uint64_t millis) {
    const auto begin = std::chrono::steady_clock::now();
    pcl_sleep_millis(millis);
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 begin);
}

/// Sends an alarm every few milliseconds, without restarting what it interrupts.
class Alarms {
public:
    Alarms() {
        struct sigaction action {};
        action.sa_handler = &countAlarm;
        sigaction(SIGALRM, &action, &m_before);
        const itimerval every{{0, 5000}, {0, 5000}};
        setitimer(ITIMER_REAL, &every, nullptr);
    }
    ~Alarms() {
        const itimerval never{};
        setitimer(ITIMER_REAL, &never, nullptr);
        sigaction(SIGALRM, &m_before, nullptr);
    }
    Alarms(const Alarms &) = delete;
    Alarms &operator=(const Alarms &) = delete;

private:
    struct sigaction m_before {};
};

} // namespace

TEST(Time, MillisecondsSinceTheEpoch) {
    const auto before = static_cast<std::uint64_t>(std::time(nullptr)) * 1000;
    const std::uint64_t now = pcl_time_millis();
    const auto after = (static_cast<std::uint64_t>(std::time(nullptr)) + 1) * 1000;
    // The coarse clock of time() may lag by a tick.
    EXPECT_GE(now, before);
    EXPECT_LE(now, after + 20);
    EXPECT_GT(now, std::uint64_t{1} << 32);
}

TEST(Time, Advances) {
    const std::uint64_t before = pcl_time_millis();
    pcl_sleep_millis(30);
    EXPECT_GE(pcl_time_millis() - before, 29U);
}

TEST(Time, TheMonotonicClockAdvances) {
    const std::uint64_t before = pcl_monotonic_millis();
    pcl_sleep_millis(30);
    EXPECT_GE(pcl_monotonic_millis() - before, 29U);
}

TEST(Time, OnlyTheClockOfTheDayCanBeSet) {
    const std::uint64_t day = pcl_time_millis();
    const std::uint64_t monotonic = pcl_monotonic_millis();
    const WallClockSet set(-std::chrono::hours(1));
    EXPECT_LT(pcl_time_millis(), day);
    EXPECT_GE(pcl_monotonic_millis(), monotonic);
}

TEST(Sleep, LastsTheWholeTime) {
    EXPECT_LT(timed(0).count(), 200);
    EXPECT_GE(timed(50).count(), 50);
}

TEST(Sleep, CarriesIntoTheNextSecond) {
    // All but one moment in a thousand, this ends in another second than it began.
    const std::chrono::milliseconds slept = timed(999);
    EXPECT_GE(slept.count(), 999);
    EXPECT_LT(slept.count(), 3000);
}

TEST(Sleep, SignalsNeitherShortenNorStretchIt) {
    const Alarms interrupting;
    alarms = 0;
    const std::chrono::milliseconds slept = timed(150);
    EXPECT_GE(slept.count(), 150);
    EXPECT_LT(slept.count(), 1500);
    EXPECT_GE(alarms, 1);
}
