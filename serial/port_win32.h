#pragma once

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include "serial/interrupt.h"

struct PclSerialPort {
    HANDLE handle = INVALID_HANDLE_VALUE;    ///< open for overlapped operations
    const PclInterrupt *interrupt = nullptr; ///< ends reads, when there is one
};

/// The settings of a line while they are being changed.
struct PclLine {
    DCB state{};
};
