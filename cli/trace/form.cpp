#include "cli/trace/form.h"

#include "cli/text.h"
#include "cli/trace/body_reader.h"

#include <cstdint>
#include <cstdio>

namespace cli {

namespace {

constexpr std::size_t MEDIA_INFO_SIZE = 10;

std::uint64_t bigEndian(std::string_view bytes) {
    std::uint64_t number = 0;
    for (const char byte : bytes) {
        number = number << 8U | static_cast<std::uint8_t>(byte);
    }
    return number;
}

std::string mediaInfo(std::string_view value) {
    char text[64];
    std::snprintf(text, sizeof text, "%llu bytes, CRC %04X, type %u",
                  static_cast<unsigned long long>(bigEndian(value.substr(0, 4))),
                  static_cast<unsigned>(bigEndian(value.substr(4, 2))),
                  static_cast<unsigned>(bigEndian(value.substr(6, 1))));
    return text;
}

// Padding blanks are left out: the hexadecimal column shows them.
std::string quotedText(std::string_view value) {
    return "\"" + fromDeviceVisibly(value.substr(0, value.find_last_not_of(' ') + 1)) + "\"";
}

} // namespace

std::string inWords(Form form, std::string_view value) {
    if (form == Form::Binary && value.size() <= 4) {
        return std::to_string(bigEndian(value));
    }
    if (form == Form::Characters) {
        return fromDeviceVisibly(value);
    }
    if (form == Form::Text) {
        return quotedText(value);
    }
    if (form == Form::MediaInfo && value.size() == MEDIA_INFO_SIZE) {
        return mediaInfo(value);
    }
    return byteCount(value.size());
}

} // namespace cli
