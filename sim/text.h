#pragma once

#include "sim/types.h"

#include <optional>
#include <string>
#include <string_view>

namespace sim {

Bytes to_bytes(std::string_view text);
std::string to_text(const Bytes &bytes);

// Upper-case hexadecimal digits, two for each byte.
std::string to_hex(const Bytes &bytes);

// Reads pairs of hexadecimal digits of either case; nothing when the text is anything else.
std::optional<Bytes> from_hex(std::string_view text);

// The number in decimal, filled with zeros on the left up to the width.
std::string zero_filled(std::size_t number, std::size_t width);

// Reads a text that consists of decimal digits only (at most nine of them).
std::optional<std::size_t> read_decimal(std::string_view digits);

// The text without its trailing blanks.
std::string trim_right(std::string text);

// Latin-1 bytes as UTF-8.
std::string to_utf8(std::string_view latin1);

// A text that may hold anything, on one line and with nothing that a terminal would obey: control
// characters, and bytes that are no UTF-8, as \xNN, characters that end a line or turn the
// direction of writing as \uNNNN.
std::string visible(std::string_view text);

// The name of a key, as scenarios and the journal write it.
std::string key_name(Key key);
std::optional<Key> key_of_name(std::string_view name);

// What the journal calls a kind of screen.
const char *screen_word(ScreenKind kind);

} // namespace sim
