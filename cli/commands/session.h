#pragma once

#include "cli/command.h"
#include "cli/lines.h"

#include <string>

namespace cli {

/// Runs several commands, one a line, in one session with the PIN pad: from a file, from standard
/// input, or at a prompt.
class SessionCommand : public Command {
public:
    std::string name() const override { return "session"; }
    std::string summary() const override {
        return "Run several commands, one a line, in one session";
    }
    std::string example() const override {
        return "pinpad --port ttyUSB0 session morning.pin\n"
               "  printf 'display HELLO\\ncapture --max 4\\n' | pinpad --port ttyUSB0 session -";
    }
    void declareArguments(CLI::App &app) override;
    void prepare() override;
    void run(Context &context) override;

    /// That of the first problem.
    ExitStatus exitStatus() const override { return m_exit; }

private:
    enum class Next { Line, End };

    bool isInteractive() const;
    void runScript(Context &context);
    void runPrompt(Context &context);
    Next runNextLine(Context &context, Lines &lines);
    Next runLine(Context &context, const std::string &line, bool isPrompt);
    Next handleProblem(Context &context, bool isPrompt);

    std::string m_file = "-";
    bool m_keepGoing = false;
    ExitStatus m_exit = ExitStatus::Done;
};

} // namespace cli
