#include "cli/commands/open.h"

#include "cli/status_text.h"

namespace cli {

void OpenCommand::run(Context &context) {
    const bool secure = context.settings.secure;
    const std::string name = statusName(ABECS_RSP_STAT_ST_OK);
    context.output.result("The PIN pad answered " + name + " on " + context.settings.port + ", " +
                              (secure ? "with the secure channel." : "without a secure channel."),
                          Json{{"status", static_cast<int>(ABECS_RSP_STAT_ST_OK)},
                               {"name", name},
                               {"port", context.settings.port},
                               {"secure", secure}});
}

} // namespace cli
