#include "cli/text.h"

#include "cli/problem.h"

#include <cstdint>
#include <cstdio>
#include <optional>

namespace cli {

namespace {

constexpr char32_t FIRST_CHARACTER = 0x20;
constexpr char32_t LAST_CHARACTER = 0xFF;

bool isContinuation(char byte) {
    return (static_cast<std::uint8_t>(byte) & 0xC0U) == 0x80U;
}

// Takes one character off the text; nothing when it does not begin with well-formed UTF-8.
std::optional<char32_t> takeCharacter(std::string_view &text) {
    struct Form {
        std::size_t size;
        char32_t least;
        std::uint8_t mask;
        std::uint8_t lead;
    };
    constexpr Form FORMS[] = {{1, 0, 0x80, 0x00},
                              {2, 0x80, 0xE0, 0xC0},
                              {3, 0x800, 0xF0, 0xE0},
                              {4, 0x10000, 0xF8, 0xF0}};
    const auto lead = static_cast<std::uint8_t>(text.front());
    for (const Form &form : FORMS) {
        if ((lead & form.mask) != form.lead || text.size() < form.size) {
            continue;
        }
        char32_t character = lead & static_cast<std::uint8_t>(~form.mask);
        for (std::size_t i = 1; i < form.size; ++i) {
            if (!isContinuation(text[i])) {
                return std::nullopt;
            }
            character = character << 6U | (static_cast<std::uint8_t>(text[i]) & 0x3FU);
        }
        if (character < form.least) {
            return std::nullopt;
        }
        text.remove_prefix(form.size);
        return character;
    }
    return std::nullopt;
}

// Takes a line break or an escape sequence off the text.
std::optional<char> takeSpecial(std::string_view &text) {
    constexpr struct {
        std::string_view written;
        char meant;
    } SPECIALS[] = {{"\r\n", '\r'}, {"\n", '\r'}, {"\r", '\r'}, {"\\n", '\r'}, {"\\\\", '\\'}};
    for (const auto &special : SPECIALS) {
        if (text.substr(0, special.written.size()) == special.written) {
            text.remove_prefix(special.written.size());
            return special.meant;
        }
    }
    return std::nullopt;
}

std::string codePoint(char32_t character) {
    char text[16];
    std::snprintf(text, sizeof text, "U+%04X", static_cast<unsigned>(character));
    return text;
}

char toByte(std::string_view &text, const char *what) {
    const std::string_view before = text;
    const std::optional<char32_t> character = takeCharacter(text);
    if (!character) {
        throw UsageError(std::string("The ") + what + " is not valid UTF-8.");
    }
    if (*character < FIRST_CHARACTER || *character > LAST_CHARACTER) {
        const std::string shown(before.substr(0, before.size() - text.size()));
        throw UsageError(std::string("The ") + what +
                         " has a character that the PIN pad cannot show: " +
                         (*character < FIRST_CHARACTER ? "" : "'" + shown + "' ") + "(" +
                         codePoint(*character) + "). It takes U+0020 to U+00FF.");
    }
    return static_cast<char>(static_cast<std::uint8_t>(*character));
}

std::string toUtf8(char byte) {
    const auto value = static_cast<std::uint8_t>(byte);
    if (value < 0x80) {
        return {byte};
    }
    return {static_cast<char>(0xC0U | value >> 6U), static_cast<char>(0x80U | (value & 0x3FU))};
}

bool isControl(char byte) {
    const auto value = static_cast<std::uint8_t>(byte);
    return value < 0x20 || (value >= 0x7F && value < 0xA0);
}

} // namespace

std::string toDevice(std::string_view text, const char *what, std::size_t maximum,
                     LineBreaks lineBreaks) {
    std::string bytes;
    while (!text.empty()) {
        const std::optional<char> special = takeSpecial(text);
        if (special == '\r' && lineBreaks == LineBreaks::Refused) {
            throw UsageError(std::string("The ") + what + " cannot have line breaks.");
        }
        bytes += special ? *special : toByte(text, what);
    }
    if (bytes.size() > maximum) {
        throw UsageError(std::string("The ") + what +
                         " is too long: " + std::to_string(bytes.size()) + " characters, at most " +
                         std::to_string(maximum) + ".");
    }
    return bytes;
}

std::string fromDevice(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        text += byte == '\r' ? "\n" : toUtf8(byte);
    }
    return text;
}

std::string fromDeviceVisibly(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        if (byte == '\r') {
            text += "\\r";
        } else if (isControl(byte)) {
            char escaped[5];
            std::snprintf(escaped, sizeof escaped, "\\x%02X", static_cast<std::uint8_t>(byte));
            text += escaped;
        } else {
            text += toUtf8(byte);
        }
    }
    return text;
}

} // namespace cli
