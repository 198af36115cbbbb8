#include "cli/trace/layout.h"

#include "cli/text.h"
#include "cli/trace/body_reader.h"

#include <cstdio>

namespace cli {

namespace {

constexpr std::size_t HEX_COLUMN = 44;
constexpr std::size_t BYTES_A_LINE = 16;
constexpr char INDENT[] = "   ";

// The bytes in groups that fit beside the words, and what is masked at the end.
std::vector<std::string> hexLines(const ToldLine &line) {
    std::vector<std::string> lines;
    std::size_t onLine = BYTES_A_LINE;
    for (const std::uint8_t byte : line.bytes) {
        char text[4];
        std::snprintf(text, sizeof text, "%02X", static_cast<unsigned>(byte));
        if (onLine == BYTES_A_LINE) {
            lines.emplace_back();
            onLine = 0;
        } else {
            lines.back() += ' ';
        }
        lines.back() += text;
        ++onLine;
    }
    if (line.masked > 0) {
        const std::string masked = "** (" + byteCount(line.masked) + ")";
        if (lines.empty()) {
            lines.push_back(masked);
        } else {
            lines.back() += " " + masked;
        }
    }
    return lines;
}

// Words are UTF-8: a continuation byte takes no column.
std::size_t columnsOf(const std::string &words) {
    std::size_t columns = 0;
    for (const char byte : words) {
        columns += (static_cast<std::uint8_t>(byte) & 0xC0U) != 0x80U ? 1 : 0;
    }
    return columns;
}

void append(std::string &text, const std::string &toldWords, const ToldLine &line) {
    const std::string words = visible(toldWords);
    text += words;
    std::size_t column = columnsOf(words);
    for (const std::string &hex : hexLines(line)) {
        if (column >= HEX_COLUMN) {
            text += '\n';
            column = 0;
        }
        text += std::string(HEX_COLUMN - column, ' ') + hex;
        column = HEX_COLUMN;
    }
    text += '\n';
}

} // namespace

std::string layOut(const std::string &begin, const Told &told) {
    std::string text;
    append(text, begin + told.head.words, told.head);
    for (const ToldLine &line : told.lines) {
        append(text, INDENT + line.words, line);
    }
    return text;
}

} // namespace cli
