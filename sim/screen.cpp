#include "sim/screen.h"

#include "sim/text.h"

namespace sim {

std::vector<std::string> lay_out(const std::string &text, std::size_t columns, std::size_t rows) {
    std::vector<std::string> lines(1);
    for (char c : text) {
        if (c == '\r') {
            lines.emplace_back();
            continue;
        }
        if (lines.back().size() == columns) {
            lines.emplace_back();
        }
        lines.back().push_back(c);
    }
    if (lines.size() > rows) {
        lines.resize(rows);
    }
    for (std::string &line : lines) {
        line = trim_right(line);
    }
    while (!lines.empty() && lines.back().empty()) {
        lines.pop_back();
    }
    return lines;
}

} // namespace sim
