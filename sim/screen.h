#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace sim {

// The lines of a text on a display: broken at CR and at the last column, cut at the last row,
// without trailing blanks and without empty lines at the end.
std::vector<std::string> lay_out(const std::string &text, std::size_t columns, std::size_t rows);

} // namespace sim
