#pragma once

#include <cstdint>

/// The settings of a line.
struct PclSerialSettings {
    std::uint8_t timeout; ///< of reads, in tenths of a second
    std::int32_t baudRate;
    std::int32_t dataBits; ///< 5 to 8
    std::int32_t stopBits;
    std::int32_t parity;
    std::int32_t flowControl;
};

enum PclSerialStopBits_e : std::int32_t {
    PCL_SERIAL_STOP_BITS_ONE = 1,
    PCL_SERIAL_STOP_BITS_TWO = 2,
    PCL_SERIAL_STOP_BITS_ONE_AND_A_HALF = 3
};

enum PclSerialParity_e : std::int32_t {
    PCL_SERIAL_PARITY_NONE = 0,
    PCL_SERIAL_PARITY_ODD = 1,
    PCL_SERIAL_PARITY_EVEN = 2
};

enum PclSerialFlowControl_e : std::int32_t {
    PCL_SERIAL_FLOW_CONTROL_NONE = 0,
    PCL_SERIAL_FLOW_CONTROL_SOFTWARE = 1, ///< XON/XOFF in both directions
    PCL_SERIAL_FLOW_CONTROL_HARDWARE = 2  ///< RTS/CTS
};

enum PclSerialPurge_e : std::int32_t {
    PCL_SERIAL_PURGE_RX = 0,
    PCL_SERIAL_PURGE_TX = 1,
    PCL_SERIAL_PURGE_BOTH = 2
};
