#pragma once

#include "cli/qr_code.h"

#include <string>
#include <vector>

namespace cli {

/// Draw in the colour of the surrounding text, or in black whatever the terminal's colours are,
/// which takes escape sequences.
enum class Ink { OfText, Black };

/// The lines that show a code with its quiet zone, two rows of modules on each. None for an empty
/// code.
std::vector<std::string> drawQrCode(const QrModules &modules, Ink ink);

/// How many columns they take.
std::size_t qrColumns(const QrModules &modules);

} // namespace cli
