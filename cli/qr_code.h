#pragma once

#include <string>
#include <vector>

namespace cli {

/// The modules of a QR code, a text of '1' (dark) and '0' for each row, without the quiet zone.
using QrModules = std::vector<std::string>;

/// The code that the PIN pad shows for these bytes. Empty when there is none: for no text, for one
/// that is too long, and in a build without the library that makes them.
QrModules makeQrCode(const std::string &bytes);

} // namespace cli
