#pragma once

#include "cli/command.h"
#include "cli/settings.h"

#include <CLI/CLI.hpp>

#include <optional>
#include <string>

namespace cli {

/// The arguments of the process.
class CommandLine {
public:
    CommandLine();

    /// Reads them. Throws CLI::ParseError (help and version included) and UsageError.
    void parse(int argc, const char *const *argv);

    /// Tells what a CLI::ParseError is about and returns what to exit with.
    ExitStatus report(const CLI::ParseError &error, Output &output) const;

    Settings &settings() { return m_settings; }
    Command &command() const { return m_commands->selected(); }

private:
    void declareOptions();
    void checkSettings();

    CLI::App m_app;
    Settings m_settings;
    std::string m_idleText;
    CLI::Option *m_simulate = nullptr;
    CLI::Option *m_trace = nullptr;
    std::optional<CommandSet> m_commands;
};

} // namespace cli
