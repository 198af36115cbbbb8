#pragma once

#include <cstddef>

namespace soak {

/// What the process holds of the machine.
struct Usage {
    std::size_t heap;     ///< bytes allocated and not freed
    std::size_t resident; ///< bytes of memory in use, the allocator's own reserves included
    std::size_t files;    ///< open descriptors
};

Usage measureUsage();

} // namespace soak
