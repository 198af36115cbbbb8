#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace cli {

/// One line of a decoded body: the bytes from `begin` to `end`, of which those from `valueBegin` on
/// are the value that the rest names.
struct Row {
    std::string name;
    std::string value; ///< in words
    std::size_t begin;
    std::size_t valueBegin;
    std::size_t end;
    bool secret; ///< whether the value is to be masked
};

/// A decoded body. Its rows cover all of it, in order.
struct DecodedBody {
    std::string title;
    std::vector<Row> rows;
};

} // namespace cli
