#pragma once

#include "core/owned.h"
#include "serial/serial.h"

using PortPtr = PclOwned<PclSerialPort, pcl_serial_close>;

inline PortPtr openPort(const char *name) {
    return PortPtr(pcl_serial_open(name));
}
