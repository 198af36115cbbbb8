#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>

namespace obeyed {

inline std::uint8_t byteAt(std::string_view text, std::size_t at) {
    return at < text.size() ? static_cast<std::uint8_t>(text[at]) : 0;
}

inline bool isContinuation(std::uint8_t byte) {
    return byte >= 0x80 && byte <= 0xBF;
}

/// All characters that turn the direction of writing, or break the line, outside of ASCII.
inline constexpr std::string_view TURNS_AND_BREAKS[] = {
    "\u061C", "\u200E", "\u200F", "\u2028", "\u2029", "\u202A", "\u202B",
    "\u202C", "\u202D", "\u202E", "\u2066", "\u2067", "\u2068", "\u2069"};

inline bool turnsOrBreaksAt(std::string_view text, std::size_t at) {
    return std::any_of(
        std::begin(TURNS_AND_BREAKS), std::end(TURNS_AND_BREAKS),
        [&](std::string_view character) { return text.substr(at, character.size()) == character; });
}

/// How many bytes of UTF-8 at this place are one character that a terminal shows; 0 for a control
/// character, for one that turns or breaks the line, and for what is no UTF-8.
inline std::size_t shownAt(std::string_view text, std::size_t at) {
    const std::uint8_t first = byteAt(text, at);
    const std::uint8_t second = byteAt(text, at + 1);
    if (first < 0x80) {
        return first >= 0x20 && first != 0x7F ? 1 : 0;
    }
    if (first >= 0xC2 && first <= 0xDF) {
        const bool isControl = first == 0xC2 && second < 0xA0;
        const bool isShown = isContinuation(second) && !isControl && !turnsOrBreaksAt(text, at);
        return isShown ? 2 : 0;
    }
    std::size_t length = 0;
    if (first >= 0xE0 && first <= 0xEF) {
        const bool isOther = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F);
        length = isOther ? 0 : 3;
    } else if (first >= 0xF0 && first <= 0xF4) {
        const bool isOther = (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
        length = isOther ? 0 : 4;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if (!isContinuation(byteAt(text, at + i))) {
            return 0;
        }
    }
    return turnsOrBreaksAt(text, at) ? 0 : length;
}

/// What of a program's output a terminal would obey instead of showing it, in hexadecimal: control
/// characters but the line feed that ends a line, what turns or breaks a line, and bytes that are
/// no UTF-8. "" when all is shown.
inline std::string in(std::string_view output) {
    std::string found;
    for (std::size_t at = 0; at < output.size();) {
        const std::size_t length = output[at] == '\n' ? 1 : shownAt(output, at);
        if (length == 0) {
            char hex[8];
            std::snprintf(hex, sizeof hex, "%02X ", static_cast<unsigned>(byteAt(output, at)));
            found += hex;
        }
        at += length == 0 ? 1 : length;
    }
    return found;
}

} // namespace obeyed
