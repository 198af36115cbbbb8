#pragma once

#include "core/guard.h"

namespace soak {

/// Where a fault strikes; several make a set.
enum Cause : unsigned {
    AT_ACK = 1,
    AT_RESPONSE = 2,
    AT_ENCRYPTION = 4,
    AT_KEY_EXCHANGE = 8,
    AT_ABORT = 16,
    AT_CABLE = 32
};

/// The text under which the headers of the library promise this failure, its code and its whole
/// message, for a fault of these causes; null when none does. '*' in it stands for what the device
/// determines.
const char *documentedAs(const PclException &failure, unsigned causes);

} // namespace soak
