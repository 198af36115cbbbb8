#pragma once

#include <cstddef>
#include <string>

namespace bench {

// Opens a line and takes that many turns on one side of the pairs of exchanges, for a tracer to
// count the system calls of. False when there is no such side.
bool takeTurns(const std::string &side, std::size_t count);

} // namespace bench
