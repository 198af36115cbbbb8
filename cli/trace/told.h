#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace cli {

/// One line of the trace: words, and beside them bytes as on the line.
struct ToldLine {
    std::string words;
    std::vector<std::uint8_t> bytes;
    std::size_t masked = 0; ///< how many bytes follow that are not shown
};

/// What the trace tells of one event.
struct Told {
    ToldLine head;
    std::vector<ToldLine> lines;
};

} // namespace cli
