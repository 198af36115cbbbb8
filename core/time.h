#pragma once

#include <cstdint>

/// Milliseconds since 1970-01-01 00:00 UTC. The system's clock: it jumps when somebody sets it.
std::uint64_t pcl_time_millis();

/// Milliseconds from some moment on, on a clock that nobody sets.
std::uint64_t pcl_monotonic_millis();

/// Sleeps the whole time, measured on a clock that nobody sets, whatever signals arrive meanwhile.
void pcl_sleep_millis(std::uint64_t millis);
