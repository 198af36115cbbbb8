#include "sim/ext_commands/ext_commands.h"

#include <algorithm>
#include <array>

namespace sim {

const ExtCommand *find_ext_command(const std::string &id) {
    static constexpr std::array<ExtCommand, 9> table{{
        {"MF01", ext_commands::mf01, "00", "06", true},
        {"MF02", ext_commands::mf02, "00", "06", true},
        {"MF03", ext_commands::mf03, "00", "06", true},
        {"MF04", ext_commands::mf04, "00", "06", true},
        {"MF05", ext_commands::mf05, "00", "06", true},
        {"MF06", ext_commands::mf06, "00", "06", true},
        {"QR01", ext_commands::qr01, "0", "9", false},
        {"EX08", ext_commands::ex08, "01", "E0", false},
        {"EX10", ext_commands::ex10, "1", "E", false},
    }};
    const auto *found = std::find_if(table.begin(), table.end(),
                                     [&id](const ExtCommand &command) { return id == command.id; });
    return found == table.end() ? nullptr : found;
}

} // namespace sim
