#pragma once

#include "cli/trace/row.h"

#include <string_view>

namespace cli {

/// Decode the body of an extension command and of its answer.
DecodedBody decodeExtensionRequest(std::string_view body);
DecodedBody decodeExtensionAnswer(std::string_view body);

} // namespace cli
