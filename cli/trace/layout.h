#pragma once

#include "cli/trace/told.h"

#include <string>

namespace cli {

/// The lines of text for one event: the head after `begin` (a time and a direction), what belongs
/// to it indented, the bytes in hexadecimal in a column of their own.
std::string layOut(const std::string &begin, const Told &told);

} // namespace cli
