#pragma once

#include "serial/deadline.h"
#include "serial/interrupt.h"

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
    const PclInterrupt *interrupt = nullptr; ///< ends reads, when there is one
    termios previous{};                      ///< what the line was before it was opened
};

/// The settings of a line while they are being changed.
struct PclLine {
    termios attributes{};
};
