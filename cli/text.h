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

/// What may be anything (the name of a file, the text of a failure) on one line and without
/// anything that a terminal would obey: carriage return as \r, other control characters, and bytes
/// that are no UTF-8, as \xNN; characters that end a line or turn the direction of writing as
/// \uNNNN.
std::string visible(std::string_view text);

/// The same for bytes of the PIN pad.
std::string fromDeviceVisibly(std::string_view bytes);

/// The text with the words that may be the key of a card as **: all that follows A: or B:, and what
/// consists of nine hexadecimal digits or more and little else.
std::string withoutKeys(std::string_view text);

/// The text with its ASCII letters in upper case.
std::string upperCase(std::string text);

/// What may be anything as UTF-8: bytes that are none as \xNN.
std::string asUtf8(std::string_view text);

} // namespace cli
