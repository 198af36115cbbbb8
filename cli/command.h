#pragma once

#include "cli/device.h"
#include "cli/output.h"
#include "cli/settings.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <vector>

namespace cli {

/// What a command works with.
struct Context {
    const Settings &settings;
    Device &device;
    Output &output;
};

/// One command of the tool: its arguments and what it does.
class Command {
public:
    virtual ~Command() = default;

    /// The words that select it, such as "media load".
    virtual std::string name() const = 0;
    /// One line for the list of commands.
    virtual std::string summary() const = 0;
    /// For the end of its help.
    virtual std::string example() const = 0;

    virtual void declareArguments(CLI::App &) {}

    /// Checks the arguments, before anything is opened. Throws UsageError.
    virtual void prepare() {}

    virtual void run(Context &context) = 0;

    /// What to exit with after run() returned.
    virtual ExitStatus exitStatus() const { return ExitStatus::Done; }

    /// Whether it needs an open session.
    virtual bool usesDevice() const { return true; }
};

using CommandPtr = std::unique_ptr<Command>;

/// The commands that a line of a session takes.
std::vector<CommandPtr> makeSessionCommands();

/// All commands.
std::vector<CommandPtr> makeCommands();

/// The commands of an application, declared in it.
class CommandSet {
public:
    /// `helpEnd` closes the help of every command.
    CommandSet(CLI::App &app, std::vector<CommandPtr> commands, const std::string &helpEnd);

    /// The one that the parsed arguments select.
    Command &selected() const;

    /// The help or the version that arguments asked `app` for.
    static std::string answer(const CLI::App &app, const CLI::ParseError &request);

    /// What is wrong with arguments that `app` did not take.
    static std::string explain(const CLI::App &app, const CLI::ParseError &error);

private:
    void declare(CLI::App &app, Command &command, const std::string &helpEnd);

    std::vector<CommandPtr> m_commands;
    std::vector<CLI::App *> m_apps;
};

} // namespace cli
