#pragma once

#include <string>
#include <vector>

namespace sim {

// The modules of the QR code for a text, a string of '1' (dark) and '0' for each row, without the
// quiet zone. Empty when the text is empty or does not fit into any code.
std::vector<std::string> qr_matrix(const std::string &text);

} // namespace sim
