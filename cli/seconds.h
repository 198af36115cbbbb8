#pragma once

#include <CLI/CLI.hpp>

#include <chrono>
#include <optional>
#include <string>

namespace cli {

/// Adds an option that takes seconds, parts of a second, too: 0 to those of a day.
void addSeconds(CLI::App &app, const std::string &name,
                std::optional<std::chrono::milliseconds> &value, const std::string &description);

} // namespace cli
