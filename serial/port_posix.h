#pragma once

#include "serial/deadline.h"

#include <atomic>
#include <cstdint>

#include <termios.h>

inline constexpr int PCL_PORT_NO_HANDLE = -1;

/// Timeout, pending mark and handle may be used by two threads at once; the rest belongs to the
/// operations that open, close and configure.
struct PclSerialPort {
    int handle = PCL_PORT_NO_HANDLE;
    std::atomic<std::uint8_t> timeout{10};  ///< tenths of a second
    std::atomic<bool> outputPending{false}; ///< written since the output was last waited for
    PclWaits *waits = &pcl_system_waits();
    termios previous{};  ///< what the line was before it was opened
    termios requested{}; ///< what was last asked for; the device may have made less of it
};

/// The settings of a line while they are being changed.
struct PclLine {
    termios attributes{};
};
