#pragma once

#include "cli/exit_status.h"

namespace cli {

/// Runs the tool with the arguments of the process.
ExitStatus runApplication(int argc, const char *const *argv);

} // namespace cli
