#pragma once

#include <termios.h>

/// What the library asks of a line, seen at the calls of the system: a pseudo-terminal has neither
/// a character frame nor modem lines, and drops size and parity.
namespace line_calls {

/// What was last asked of any line.
const termios &settings();

/// While it lives, every line has modem lines, and its exclusive mark is kept here instead of in
/// the system.
class ModemLines {
public:
    explicit ModemLines(bool exclusive);
    ~ModemLines();
    ModemLines(const ModemLines &) = delete;
    ModemLines &operator=(const ModemLines &) = delete;

    bool exclusive() const;
};

} // namespace line_calls
