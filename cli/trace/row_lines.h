#pragma once

#include "cli/trace/row.h"
#include "cli/trace/told.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace cli {

using WireBytes = std::vector<std::uint8_t>;

/// The line for a row of a body, of which `carriers` holds the bytes on the line that carry each
/// byte. A secret value is masked without `reveal`.
ToldLine tellRow(const Row &row, const std::vector<WireBytes> &carriers, bool reveal);

bool hasSecrets(const DecodedBody &decoded);

/// The carriers of a body that is on the line as it is.
std::vector<WireBytes> eachByteAlone(std::string_view body);

} // namespace cli
