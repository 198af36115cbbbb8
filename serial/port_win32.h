#pragma once

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

struct PclSerialPort {
    HANDLE handle = INVALID_HANDLE_VALUE;
};

/// The settings of a line while they are being changed.
struct PclLine {
    DCB state{};
};
