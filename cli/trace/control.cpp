#include "cli/trace/control.h"

#include <cstdint>

namespace cli {

namespace {

struct ControlName {
    std::uint8_t byte;
    const char *name;
};

constexpr ControlName CONTROL_NAMES[] = {{0x04, "EOT"}, {0x06, "ACK"}, {0x12, "DC2"},
                                         {0x13, "DC3"}, {0x15, "NAK"}, {0x16, "SYN"},
                                         {0x17, "ETB"}, {0x18, "CAN"}};

const char *nameOf(std::uint8_t byte) {
    for (const ControlName &control : CONTROL_NAMES) {
        if (control.byte == byte) {
            return control.name;
        }
    }
    return "stray byte";
}

bool isPrintable(std::uint8_t byte) {
    return byte >= 0x20 && byte != 0x7F;
}

} // namespace

Told tellByte(const AbecsLinkEvent &event, bool reveal) {
    const std::uint8_t byte = event.wire[0];
    Told told;
    told.head.words = nameOf(byte);
    if (isPrintable(byte) && !reveal) {
        told.head.masked = 1;
    } else {
        told.head.bytes = {byte};
    }
    return told;
}

} // namespace cli
