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

// How many bytes the UTF-8 character at the front of a text has; 0 when there is none. The first
// byte alone tells neither a longer form than needed, nor a surrogate, nor what lies beyond
// U+10FFFF: the second one does.
std::size_t utf8_length(std::string_view text) {
    struct Form {
        std::uint8_t first;
        std::uint8_t last;
        std::size_t length;
        std::uint8_t least_second;
        std::uint8_t greatest_second;
    };
    static constexpr std::array<Form, 9> forms{{{0x00, 0x7F, 1, 0, 0},
                                                {0xC2, 0xDF, 2, 0x80, 0xBF},
                                                {0xE0, 0xE0, 3, 0xA0, 0xBF},
                                                {0xE1, 0xEC, 3, 0x80, 0xBF},
                                                {0xED, 0xED, 3, 0x80, 0x9F},
                                                {0xEE, 0xEF, 3, 0x80, 0xBF},
                                                {0xF0, 0xF0, 4, 0x90, 0xBF},
                                                {0xF1, 0xF3, 4, 0x80, 0xBF},
                                                {0xF4, 0xF4, 4, 0x80, 0x8F}}};
    const auto byte = [text](std::size_t at) { return static_cast<std::uint8_t>(text[at]); };
    const auto *form = std::find_if(forms.begin(), forms.end(), [&](const Form &one) {
        return byte(0) >= one.first && byte(0) <= one.last;
    });
    if (form == forms.end() || text.size() < form->length) {
        return 0;
    }
    for (std::size_t at = 1; at < form->length; ++at) {
        const bool second = at == 1;
        if (byte(at) < (second ? form->least_second : 0x80) ||
            byte(at) > (second ? form->greatest_second : 0xBF)) {
            return 0;
        }
    }
    return form->length;
}

// The character that a whole UTF-8 sequence stands for.
std::uint32_t code_point(std::string_view sequence) {
    static constexpr std::array<std::uint8_t, 5> lead_bits{0, 0x7F, 0x1F, 0x0F, 0x07};
    std::uint32_t code = static_cast<std::uint8_t>(sequence.front()) & lead_bits[sequence.size()];
    for (char c : sequence.substr(1)) {
        code = code << 6 | (static_cast<std::uint8_t>(c) & 0x3F);
    }
    return code;
}

// Whether a terminal would obey this character instead of showing it.
bool obeyed(std::uint32_t code) {
    static constexpr std::array<std::pair<std::uint32_t, std::uint32_t>, 6> ranges{
        {{0x00, 0x1F},
         {0x7F, 0x9F},
         {0x61C, 0x61C},
         {0x200E, 0x200F},
         {0x2028, 0x202E},
         {0x2066, 0x2069}}};
    return std::any_of(ranges.begin(), ranges.end(), [code](const auto &range) {
        return code >= range.first && code <= range.second;
    });
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

std::string visible(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const std::size_t length = utf8_length(text);
        const std::string_view taken = text.substr(0, std::max<std::size_t>(length, 1));
        const std::uint32_t code =
            length == 0 ? static_cast<std::uint8_t>(taken.front()) : code_point(taken);
        if (length > 0 && !obeyed(code)) {
            shown += taken;
        } else {
            shown += code <= 0xFF ? "\\x" : "\\u" + to_hex({static_cast<std::uint8_t>(code >> 8)});
            shown += to_hex({static_cast<std::uint8_t>(code & 0xFF)});
        }
        text.remove_prefix(taken.size());
    }
    return shown;
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
