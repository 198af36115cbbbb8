#include "cli/trace/row_lines.h"

#include <algorithm>

namespace cli {

ToldLine tellRow(const Row &row, const std::vector<WireBytes> &carriers, bool reveal) {
    const bool masked = row.secret && !reveal;
    const std::size_t shownEnd = masked ? row.valueBegin : row.end;
    ToldLine line;
    const std::string value = masked ? "masked" : row.value;
    line.words = row.name + (value.empty() ? "" : " " + value);
    for (std::size_t at = row.begin; at < shownEnd; ++at) {
        line.bytes.insert(line.bytes.end(), carriers[at].begin(), carriers[at].end());
    }
    line.masked = row.end - shownEnd;
    return line;
}

bool hasSecrets(const DecodedBody &decoded) {
    return std::any_of(decoded.rows.begin(), decoded.rows.end(),
                       [](const Row &row) { return row.secret; });
}

std::vector<WireBytes> eachByteAlone(std::string_view body) {
    std::vector<WireBytes> carriers;
    for (const char byte : body) {
        carriers.push_back({static_cast<std::uint8_t>(byte)});
    }
    return carriers;
}

} // namespace cli
