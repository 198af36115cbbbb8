#include "cli/text.h"

#include "cli/problem.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <optional>

namespace cli {

namespace {

constexpr char32_t FIRST_CHARACTER = 0x20;
constexpr char32_t LAST_CHARACTER = 0xFF;

constexpr char32_t LAST_CODE_POINT = 0x10FFFF;

struct CodePoints {
    char32_t first;
    char32_t last;
};

constexpr CodePoints SURROGATES{0xD800, 0xDFFF};

// What a terminal obeys.
constexpr CodePoints OBEYED[] = {{0x00, 0x1F},     {0x7F, 0x9F},     {0x061C, 0x061C},
                                 {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}};

constexpr bool holds(const CodePoints &range, char32_t character) {
    return character >= range.first && character <= range.last;
}

bool isShown(char32_t character) {
    return std::none_of(std::begin(OBEYED), std::end(OBEYED),
                        [character](const auto &range) { return holds(range, character); });
}

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
        if (character < form.least || character > LAST_CODE_POINT || holds(SURROGATES, character)) {
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

std::string hexDigits(char32_t character, int atLeast) {
    char text[16];
    std::snprintf(text, sizeof text, "%0*X", atLeast, static_cast<unsigned>(character));
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
                         (*character < FIRST_CHARACTER ? "" : "'" + shown + "' ") + "(U+" +
                         hexDigits(*character, 4) + "). It takes U+0020 to U+00FF.");
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

std::string escaped(char32_t character) {
    if (character == U'\r') {
        return "\\r";
    }
    return character <= 0xFF ? "\\x" + hexDigits(character, 2) : "\\u" + hexDigits(character, 4);
}

// The text with every byte that is no UTF-8, and every character that is not kept, escaped.
template <typename IsKept>
std::string escapedUnless(IsKept isKept, std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::string_view before = text;
        const std::optional<char32_t> character = takeCharacter(text);
        if (!character) {
            result += escaped(static_cast<std::uint8_t>(text.front()));
            text.remove_prefix(1);
        } else if (isKept(*character)) {
            result += before.substr(0, before.size() - text.size());
        } else {
            result += escaped(*character);
        }
    }
    return result;
}

constexpr std::size_t KEY_LETTER_SIZE = 2;

// Whether the word begins as the key of a card with its letter does.
bool hasKeyLetter(std::string_view word) {
    return word.size() > KEY_LETTER_SIZE && word[1] == ':' &&
           std::string_view("ABab").find(word[0]) != std::string_view::npos;
}

// Whether the word may have been meant as the key of a card: a digit too few, a letter that is
// none.
bool isNearlyKey(std::string_view word) {
    constexpr std::ptrdiff_t LEAST_DIGITS = 9;
    const auto digits = std::count_if(word.begin(), word.end(), [](char character) {
        return std::isxdigit(static_cast<unsigned char>(character)) != 0;
    });
    return digits >= LEAST_DIGITS && digits * 4 >= static_cast<std::ptrdiff_t>(word.size()) * 3;
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

std::string visible(std::string_view text) {
    return escapedUnless(isShown, text);
}

std::string fromDeviceVisibly(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        text += toUtf8(byte);
    }
    return visible(text);
}

std::string withoutKeys(std::string_view text) {
    constexpr std::string_view BETWEEN_WORDS = " \t\r\n'\"=,";
    std::string result;
    while (!text.empty()) {
        const std::size_t length = std::min(text.find_first_of(BETWEEN_WORDS), text.size());
        const std::string_view word = text.substr(0, length);
        const bool marked = hasKeyLetter(word);
        if (marked || isNearlyKey(word)) {
            result += std::string(word.substr(0, marked ? KEY_LETTER_SIZE : 0)) + "**";
        } else {
            result += word;
        }
        text.remove_prefix(length);
        if (!text.empty()) {
            result += text.front();
            text.remove_prefix(1);
        }
    }
    return result;
}

std::string upperCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    });
    return text;
}

std::string asUtf8(std::string_view text) {
    return escapedUnless([](char32_t) { return true; }, text);
}

} // namespace cli
