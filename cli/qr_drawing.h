#pragma once

#include "cli/qr_code.h"

#include <string>
#include <vector>

namespace cli {

/// Whether the ink is black whatever the colours of the terminal are, which takes escape sequences,
/// or that of the text around it.
enum class Ink { OfText, Black };

/// The lines that show a code with its quiet zone, two rows of modules on each. No code, no lines.
std::vector<std::string> drawQrCode(const QrModules &modules, Ink ink);

/// How many columns they take.
std::size_t qrColumns(const QrModules &modules);

} // namespace cli
