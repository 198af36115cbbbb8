#pragma once

#include "cli/exit_status.h"
#include "cli/problem.h"
#include "cli/settings.h"

#include <nlohmann/json.hpp>

#include <exception>
#include <optional>
#include <string>
#include <vector>

namespace cli {

using Json = nlohmann::ordered_json;

/// Tells results. Results for people go to standard output and problems to standard error; with
/// --json both are objects on standard output, one a line. Texts may hold whatever a PIN pad or the
/// name of a file brings: nothing of it that a terminal would obey is printed as it is.
class Output {
public:
    explicit Output(const Settings &settings) : m_settings(settings) {}

    /// The command that the next results belong to.
    void setCommand(std::string command) { m_command = std::move(command); }
    /// Where it stands in a script; in front of its problems.
    void setPlace(std::string script, std::size_t line);
    void clearPlace();

    /// One result: a line for people, fields for programs.
    void result(const std::string &text, const Json &fields = Json::object());
    /// Several lines for people, one object for programs.
    void lines(const std::vector<std::string> &texts, const Json &fields);

    /// Something that happened before the result.
    void happened(const std::string &line, const Json &fields);

    /// Help, or a drawing: nothing but what the tool itself makes, as it is.
    void text(const std::string &text);

    /// Whether something could not be printed on standard output. Nothing more is printed then.
    bool isLost() const { return !m_loss.empty(); }

    /// Tells the problem that is being handled and returns what to exit with.
    ExitStatus problem(const std::exception_ptr &problem);
    /// A problem found before any command could run.
    ExitStatus usage(const std::string &text);
    /// Arguments that cannot be taken apart: a text with --json, too.
    ExitStatus unreadable(const std::string &text);

    /// Tells when something was lost: of the trace for this reason, or of the output. Returns what
    /// to exit with instead of `exit`: what is lost is no success.
    ExitStatus finishTrace(const std::string &loss, ExitStatus exit);
    ExitStatus finish(ExitStatus exit);

private:
    void object(const Json &fields);
    ExitStatus lose(const std::string &what, ExitStatus exit);
    ExitStatus tell(ExitStatus exit, const char *kind, const std::string &text,
                    const Json &fields = Json::object());

    const Settings &m_settings;
    std::string m_command;
    std::string m_script;
    std::optional<std::size_t> m_line;
    std::string m_loss; ///< why something could not be printed
};

} // namespace cli
