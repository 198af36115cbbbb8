#include "cli/command.h"

#include "cli/commands/capture.h"
#include "cli/commands/close.h"
#include "cli/commands/display.h"
#include "cli/commands/event.h"
#include "cli/commands/media.h"
#include "cli/commands/mifare.h"
#include "cli/commands/open.h"
#include "cli/commands/ports.h"
#include "cli/commands/qr.h"
#include "cli/commands/session.h"
#include "cli/commands/survey.h"
#include "cli/text.h"

#include <sstream>

namespace cli {

namespace {

constexpr struct {
    const char *name;
    const char *summary;
} GROUPS[] = {{"media", "List or load media files"},
              {"mifare", "Work with a MIFARE card at the PIN pad"}};

// The application of a group of commands, added when it is not there yet.
CLI::App *groupOf(CLI::App &app, const std::string &name) {
    for (CLI::App *known : app.get_subcommands([](CLI::App *) { return true; })) {
        if (known->get_name() == name) {
            return known;
        }
    }
    for (const auto &group : GROUPS) {
        if (name == group.name) {
            CLI::App *added = app.add_subcommand(name, group.summary);
            added->require_subcommand(1);
            return added;
        }
    }
    return nullptr;
}

bool isGiven(const CLI::App *command) {
    return command->parsed();
}

} // namespace

std::vector<CommandPtr> makeSessionCommands() {
    std::vector<CommandPtr> commands;
    commands.push_back(std::make_unique<OpenCommand>());
    commands.push_back(std::make_unique<CaptureCommand>());
    commands.push_back(std::make_unique<DisplayCommand>());
    commands.push_back(std::make_unique<ImageCommand>());
    commands.push_back(std::make_unique<PlayCommand>());
    commands.push_back(std::make_unique<MediaListCommand>());
    commands.push_back(std::make_unique<MediaLoadCommand>());
    commands.push_back(std::make_unique<EventCommand>());
    commands.push_back(std::make_unique<MifareActivateCommand>());
    commands.push_back(std::make_unique<MifareAuthCommand>());
    commands.push_back(std::make_unique<MifareReadCommand>());
    commands.push_back(std::make_unique<MifareWriteCommand>());
    commands.push_back(std::make_unique<MifareValueCommand>());
    commands.push_back(std::make_unique<MifareConfigCommand>());
    commands.push_back(std::make_unique<MifareKeysCommand>());
    commands.push_back(std::make_unique<QrCommand>());
    commands.push_back(std::make_unique<SurveyCommand>());
    commands.push_back(std::make_unique<CxSurveyCommand>());
    commands.push_back(std::make_unique<CloseCommand>());
    return commands;
}

std::vector<CommandPtr> makeCommands() {
    std::vector<CommandPtr> commands;
    commands.push_back(std::make_unique<PortsCommand>());
    for (CommandPtr &command : makeSessionCommands()) {
        commands.push_back(std::move(command));
    }
    commands.push_back(std::make_unique<SessionCommand>());
    return commands;
}

CommandSet::CommandSet(CLI::App &app, std::vector<CommandPtr> commands, const std::string &helpEnd)
    : m_commands(std::move(commands)) {
    app.require_subcommand(1);
    for (const CommandPtr &command : m_commands) {
        declare(app, *command, helpEnd);
    }
}

void CommandSet::declare(CLI::App &app, Command &command, const std::string &helpEnd) {
    const std::string name = command.name();
    const std::size_t blank = name.find(' ');
    CLI::App *parent = &app;
    if (blank != std::string::npos) {
        parent = groupOf(app, name.substr(0, blank));
    }
    CLI::App *own = parent->add_subcommand(
        blank == std::string::npos ? name : name.substr(blank + 1), command.summary());
    own->footer("Example:\n  " + command.example() + helpEnd);
    command.declareArguments(*own);
    m_apps.push_back(own);
}

Command &CommandSet::selected() const {
    for (std::size_t i = 0; i < m_apps.size(); ++i) {
        if (m_apps[i]->parsed()) {
            return *m_commands[i];
        }
    }
    throw UsageError("No command given.");
}

std::string CommandSet::answer(const CLI::App &app, const CLI::ParseError &request) {
    std::ostringstream text;
    app.exit(request, text, text);
    return text.str();
}

std::string CommandSet::explain(const CLI::App &app, const CLI::ParseError &error) {
    const CLI::App *given = &app;
    for (auto next = given->get_subcommands(isGiven); !next.empty();
         next = given->get_subcommands(isGiven)) {
        given = next.front();
    }
    if (given->get_require_subcommand_min() == 0) {
        return withoutKeys(error.what());
    }
    const std::vector<std::string> left = app.remaining(true);
    return left.empty() ? "No command given."
                        : withoutKeys("There is no command '" + left.front() + "'.");
}

} // namespace cli
