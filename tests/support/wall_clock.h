#pragma once

#include <chrono>

/// While an object lives, the clock of the day is that much ahead, or behind, for the whole
/// program. A test program that uses this compiles wall_clock.cpp.
class WallClockSet {
public:
    explicit WallClockSet(std::chrono::seconds ahead);
    ~WallClockSet();
    WallClockSet(const WallClockSet &) = delete;
    WallClockSet &operator=(const WallClockSet &) = delete;
};
