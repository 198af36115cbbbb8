#pragma once

#include "cli/trace/row.h"

#include <string_view>

namespace cli {

/// Decodes the body of a response or notification.
DecodedBody decodeResponse(std::string_view body);

} // namespace cli
