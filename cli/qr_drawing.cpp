#include "cli/qr_drawing.h"

namespace cli {

namespace {

// Readers need this much light around the code.
constexpr std::size_t QUIET = 4;

constexpr char BLACK_ON_WHITE[] = "\x1b[30;47m";
constexpr char COLOURS_AS_BEFORE[] = "\x1b[0m";

bool isDark(const QrModules &modules, std::size_t row, std::size_t column) {
    const bool isInside = row >= QUIET && row < QUIET + modules.size() && column >= QUIET &&
                          column < QUIET + modules.size();
    return isInside && modules[row - QUIET][column - QUIET] == '1';
}

const char *block(bool upper, bool lower) {
    if (upper) {
        return lower ? "\xE2\x96\x88" : "\xE2\x96\x80";
    }
    return lower ? "\xE2\x96\x84" : " ";
}

} // namespace

std::vector<std::string> drawQrCode(const QrModules &modules, Ink ink) {
    if (modules.empty()) {
        return {};
    }
    const std::size_t size = qrColumns(modules);
    std::vector<std::string> lines;
    for (std::size_t row = 0; row < size; row += 2) {
        std::string line;
        for (std::size_t column = 0; column < size; ++column) {
            line += block(isDark(modules, row, column), isDark(modules, row + 1, column));
        }
        lines.push_back(ink == Ink::Black ? BLACK_ON_WHITE + line + COLOURS_AS_BEFORE : line);
    }
    return lines;
}

std::size_t qrColumns(const QrModules &modules) {
    return modules.empty() ? 0 : modules.size() + 2 * QUIET;
}

} // namespace cli
