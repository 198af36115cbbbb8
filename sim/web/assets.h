#pragma once

#include <string_view>

namespace sim::web {

// A file of the page, embedded in the executable.
struct Asset {
    std::string_view path; // as requested: "/", "/app.js"
    std::string_view type; // its media type
    std::string_view content;
};

// Returns the file of this path, or null.
const Asset *find_asset(std::string_view path);

} // namespace sim::web
