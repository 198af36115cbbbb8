#pragma once

#include "tests/faults/commands.h"

#include <string>
#include <vector>

namespace soak {

/// The identifier under which the abort stands in the table; it sends no frame.
inline constexpr const char *ABORT = "CAN";

/// Everything that a host can do with an open session: the commands, the extension commands and
/// the abort.
const std::vector<faults::Command> &commands();

/// What the device must have and do for all of them to succeed any number of times.
std::string scenario();

} // namespace soak
