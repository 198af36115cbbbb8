#include "cli/commands/session.h"

#include "cli/interrupt.h"
#include "cli/prompt.h"
#include "cli/terminal.h"
#include "cli/text.h"
#include "cli/words.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace cli {

namespace {

constexpr char PROMPT[] = "pinpad> ";
constexpr char STANDARD_INPUT[] = "-";

// Reads the words of one line and runs the command in them.
class LineParser {
public:
    LineParser() : m_set(m_app, makeSessionCommands(), "") {
        m_app.name("");
        m_app.set_help_flag("-h,--help", "Print this help and go on");
    }

    CLI::App &app() { return m_app; }

    // The command with its arguments; null when the line asked for help, which is printed.
    Command *parse(std::vector<std::string> words, Output &output) {
        std::reverse(words.begin(), words.end());
        try {
            m_app.parse(words);
        } catch (const CLI::Success &help) {
            output.text(CommandSet::answer(m_app, help));
            return nullptr;
        } catch (const CLI::ParseError &error) {
            throw UsageError(CommandSet::explain(m_app, error));
        }
        Command &command = m_set.selected();
        command.prepare();
        return &command;
    }

private:
    CLI::App m_app;
    CommandSet m_set;
};

std::vector<std::string> wordsOfCommands() {
    std::vector<std::string> words = {"exit", "help"};
    for (const CommandPtr &command : makeSessionCommands()) {
        for (const std::string &word : splitWords(command->name())) {
            words.push_back(word);
        }
    }
    std::sort(words.begin(), words.end());
    words.erase(std::unique(words.begin(), words.end()), words.end());
    return words;
}

} // namespace

void SessionCommand::declareArguments(CLI::App &app) {
    app.add_option("FILE", m_file,
                   "The lines; - (or nothing) for standard input, with a prompt on a terminal");
    app.add_flag("--keep-going", m_keepGoing, "Go on after a command that failed");
}

void SessionCommand::prepare() {
    if (m_file == STANDARD_INPUT) {
        return;
    }
    std::error_code ignored;
    if (std::filesystem::is_directory(m_file, ignored)) {
        throw UsageError("This is a folder, not a file: " + m_file);
    }
    if (!std::ifstream(m_file)) {
        throw UsageError("Cannot read the file: " + m_file);
    }
}

bool SessionCommand::isInteractive() const {
    return m_file == STANDARD_INPUT && isTerminal(Stream::Input) && isTerminal(Stream::Output);
}

void SessionCommand::run(Context &context) {
    if (isInteractive()) {
        runPrompt(context);
    } else {
        runScript(context);
    }
    context.output.clearPlace();
    context.output.setCommand(name());
}

void SessionCommand::runScript(Context &context) {
    Lines lines(m_file == STANDARD_INPUT ? readInput : readerOf(m_file));
    Next next = Next::Line;
    for (std::size_t number = 1; next == Next::Line && !context.output.isLost(); ++number) {
        context.output.setPlace(m_file, number);
        next = runNextLine(context, lines);
    }
}

// A script that cannot be read on ends, whatever its errors do.
SessionCommand::Next SessionCommand::runNextLine(Context &context, Lines &lines) {
    std::optional<std::string> line;
    try {
        line = lines.next();
    } catch (...) {
        handleProblem(context, false);
        return Next::End;
    }
    return line ? runLine(context, *line, false) : Next::End;
}

void SessionCommand::runPrompt(Context &context) {
    context.output.text("Session with the PIN pad on " + visible(context.settings.port) +
                        ". `help` lists the commands, Ctrl-D ends it.\n");
    const std::unique_ptr<Prompt> prompt = makePrompt(PROMPT, wordsOfCommands());
    while (const std::optional<std::string> line = prompt->ask()) {
        if (runLine(context, *line, true) == Next::End) {
            return;
        }
    }
}

SessionCommand::Next SessionCommand::runLine(Context &context, const std::string &line,
                                             bool isPrompt) {
    try {
        const std::vector<std::string> words = splitWords(line);
        if (words.empty()) {
            return Next::Line;
        }
        if (words.size() == 1 && (words[0] == "exit" || words[0] == "quit")) {
            return Next::End;
        }
        LineParser parser;
        if (words.size() == 1 && words[0] == "help") {
            context.output.text(parser.app().help());
            return Next::Line;
        }
        context.output.setCommand(withoutKeys(words[0]));
        Command *command = parser.parse(words, context.output);
        if (command == nullptr) {
            return Next::Line;
        }
        context.output.setCommand(command->name());
        context.device.open();
        command->run(context);
        throwIfInterrupted();
        return Next::Line;
    } catch (...) {
        return handleProblem(context, isPrompt);
    }
}

SessionCommand::Next SessionCommand::handleProblem(Context &context, bool isPrompt) {
    const std::exception_ptr problem = std::current_exception();
    try {
        std::rethrow_exception(problem);
    } catch (const UsageError &) {
        // Nothing was sent.
    } catch (const Refused &) {
        // The PIN pad has answered, so that the session goes on.
    } catch (const CardRefused &) {
        // The PIN pad has answered for the card.
    } catch (const SurveyStopped &) {
        // The PIN pad has ended the survey.
    } catch (const CustomerTimeout &) {
        context.device.abortCommand();
    } catch (const Interrupted &) {
        if (!isPrompt) {
            throw;
        }
        context.device.abandon();
    } catch (...) {
        context.device.abandon();
    }
    const ExitStatus exit = context.output.problem(problem);
    if (isPrompt) {
        forgetInterrupt();
        return Next::Line;
    }
    if (m_exit == ExitStatus::Done) {
        m_exit = exit;
    }
    return m_keepGoing ? Next::Line : Next::End;
}

} // namespace cli
