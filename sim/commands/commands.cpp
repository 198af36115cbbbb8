#include "sim/commands/commands.h"

#include <algorithm>
#include <array>

namespace sim {

const Command *find_command(const std::string &id) {
    static constexpr std::array<Command, 12> table{{
        {"OPN", commands::opn},
        {"CLO", commands::clo, true},
        {"CLX", commands::clx, true},
        {"GCD", commands::gcd},
        {"CEX", commands::cex},
        {"DEX", commands::dex},
        {"DSI", commands::dsi},
        {"DMF", commands::dmf},
        {"LMF", commands::lmf},
        {"MLI", commands::mli},
        {"MLR", commands::mlr},
        {"MLE", commands::mle},
    }};
    const auto *found = std::find_if(table.begin(), table.end(),
                                     [&id](const Command &command) { return id == command.id; });
    return found == table.end() ? nullptr : found;
}

} // namespace sim
