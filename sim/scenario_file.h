#pragma once

#include <cstddef>
#include <string>

namespace sim {

// How many bytes a scenario may have.
constexpr std::size_t max_scenario = std::size_t{16} * 1024 * 1024;

// The text of a scenario. Throws std::runtime_error with the reason when it cannot be read or is
// longer.
std::string read_scenario(const std::string &path);

} // namespace sim
