#pragma once

#include "abecs/observer.h"
#include "cli/trace/told.h"

#include <string>

namespace cli {

/// Tells of bytes whose meaning is not known, and which are masked for that reason without
/// `reveal`.
Told tellOpaque(const std::string &what, const AbecsLinkEvent &event, bool reveal);

} // namespace cli
