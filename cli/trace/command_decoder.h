#pragma once

#include "cli/trace/row.h"

#include <string_view>

namespace cli {

/// Decodes the body of a command.
DecodedBody decodeCommand(std::string_view body);

} // namespace cli
