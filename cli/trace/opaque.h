#pragma once

#include "abecs/observer.h"
#include "cli/trace/told.h"

#include <string>

namespace cli {

/// Describes bytes of unknown meaning, which are therefore masked without `reveal`.
Told tellOpaque(const std::string &what, const AbecsLinkEvent &event, bool reveal);

} // namespace cli
