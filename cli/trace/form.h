#pragma once

#include <string>
#include <string_view>

namespace cli {

/// How the bytes of a value are told in words.
enum class Form {
    Binary,     ///< an unsigned number, big-endian
    Characters, ///< characters as they are: digits of a number
    Text,       ///< a quoted text
    Bytes,      ///< how many there are
    MediaInfo   ///< size, CRC and type of a media file
};

/// The value in words.
std::string inWords(Form form, std::string_view value);

} // namespace cli
