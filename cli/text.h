#pragma once

#include <string>
#include <string_view>

/// Texts of the terminal are UTF-8, texts of the PIN pad are single bytes, of which 0x20..0xFF are
/// characters (those of Latin-1) and carriage return breaks the line.

namespace cli {

enum class LineBreaks { Refused, Allowed };

/// The PIN pad's bytes for a text. Line feeds, and the two characters \n, become carriage returns
/// where line breaks are allowed; \\ is one backslash. Throws UsageError, naming `what`, for a
/// character that the PIN pad cannot show, for a line break where none may be, and for a text of
/// more than `maximum` characters.
std::string toDevice(std::string_view text, const char *what, std::size_t maximum,
                     LineBreaks lineBreaks);

/// UTF-8 for bytes of the PIN pad; carriage returns become line feeds.
std::string fromDevice(std::string_view bytes);

/// The same on one line and without anything that a terminal would obey: carriage return as \r,
/// other control characters as \xNN.
std::string fromDeviceVisibly(std::string_view bytes);

} // namespace cli
