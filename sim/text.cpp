#include "sim/text.h"

#include <algorithm>
#include <array>
#include <utility>

namespace sim {

namespace {

constexpr std::array<std::pair<Key, std::string_view>, 10> key_names{{
    {Key::enter, "enter"},
    {Key::cancel, "cancel"},
    {Key::clear, "clear"},
    {Key::backspace, "backspace"},
    {Key::up, "up"},
    {Key::down, "down"},
    {Key::f1, "f1"},
    {Key::f2, "f2"},
    {Key::f3, "f3"},
    {Key::f4, "f4"},
}};

std::optional<unsigned> hex_digit(char c) {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned>(c - '0');
    }
    if (c >= 'A' && c <= 'F') {
        return static_cast<unsigned>(c - 'A' + 10);
    }
    if (c >= 'a' && c <= 'f') {
        return static_cast<unsigned>(c - 'a' + 10);
    }
    return std::nullopt;
}

} // namespace

Bytes to_bytes(std::string_view text) {
    return {text.begin(), text.end()};
}

std::string to_text(const Bytes &bytes) {
    return {bytes.begin(), bytes.end()};
}

std::string to_hex(const Bytes &bytes) {
    static constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (std::uint8_t byte : bytes) {
        text.push_back(digits[byte >> 4]);
        text.push_back(digits[byte & 0x0F]);
    }
    return text;
}

std::optional<Bytes> from_hex(std::string_view text) {
    if (text.size() % 2 != 0) {
        return std::nullopt;
    }
    Bytes bytes;
    bytes.reserve(text.size() / 2);
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const auto high = hex_digit(text[i]);
        const auto low = hex_digit(text[i + 1]);
        if (!high || !low) {
            return std::nullopt;
        }
        bytes.push_back(static_cast<std::uint8_t>(*high << 4 | *low));
    }
    return bytes;
}

std::string zero_filled(std::size_t number, std::size_t width) {
    std::string digits = std::to_string(number);
    if (digits.size() < width) {
        digits.insert(0, width - digits.size(), '0');
    }
    return digits;
}

std::optional<std::size_t> read_decimal(std::string_view digits) {
    constexpr std::size_t max_digits = 9;
    if (digits.empty() || digits.size() > max_digits) {
        return std::nullopt;
    }
    std::size_t number = 0;
    for (char c : digits) {
        if (c < '0' || c > '9') {
            return std::nullopt;
        }
        number = number * 10 + static_cast<std::size_t>(c - '0');
    }
    return number;
}

std::string trim_right(std::string text) {
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

std::string to_utf8(std::string_view latin1) {
    std::string text;
    for (char c : latin1) {
        const auto byte = static_cast<std::uint8_t>(c);
        if (byte < 0x80) {
            text.push_back(c);
        } else {
            text.push_back(static_cast<char>(0xC0 | byte >> 6));
            text.push_back(static_cast<char>(0x80 | (byte & 0x3F)));
        }
    }
    return text;
}

std::string key_name(Key key) {
    const auto *found = std::find_if(key_names.begin(), key_names.end(),
                                     [key](const auto &entry) { return entry.first == key; });
    return std::string(found->second);
}

std::optional<Key> key_of_name(std::string_view name) {
    const auto *found = std::find_if(key_names.begin(), key_names.end(),
                                     [name](const auto &entry) { return entry.second == name; });
    if (found == key_names.end()) {
        return std::nullopt;
    }
    return found->first;
}

const char *screen_word(ScreenKind kind) {
    switch (kind) {
    case ScreenKind::blank:
        return "blank";
    case ScreenKind::text:
        return "text";
    case ScreenKind::prompt:
        return "prompt";
    case ScreenKind::media:
        return "media";
    case ScreenKind::qr_code:
        return "qr_code";
    case ScreenKind::survey:
        return "survey";
    }
    return "";
}

} // namespace sim
