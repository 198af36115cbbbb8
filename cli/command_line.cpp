#include "cli/command_line.h"

#include "api/build_info.h"
#include "cli/help_format.h"
#include "cli/seconds.h"
#include "cli/simulation.h"
#include "cli/text.h"

namespace cli {

namespace {

constexpr char DESCRIPTION[] =
    "Drives a PIN pad on a serial port. Opens a session, runs the command and closes it.";

constexpr char HELP_END[] =
    "\n\nThe options that `pinpad --help` lists may stand before or after the command.";

constexpr char FOOTER[] =
    "Examples:\n"
    "  pinpad ports\n"
    "  pinpad --port ttyUSB0 --secure capture --prompt 3 --min 5 --max 11\n"
    "  pinpad --simulate display \"BOM DIA\"\n"
    "\n"
    "Exit status: 0 done, 1 refused by the PIN pad, 2 wrong arguments, 3 failure of the library,\n"
    "or output that was lost, 4 port missing or busy, 5 the customer did nothing in time,\n"
    "130 interrupted.";

constexpr std::size_t IDLE_MESSAGE_MAX = 32;

} // namespace

CommandLine::CommandLine() : m_app(DESCRIPTION, "pinpad") {
    // Inherited by the commands, so it comes first.
    m_app.fallthrough();
    m_app.formatter(std::make_shared<HelpFormatter>());
    declareOptions();
    m_commands.emplace(m_app, makeCommands(), HELP_END);
}

void CommandLine::declareOptions() {
    m_app.footer(FOOTER);
    m_app.set_help_flag("-h,--help", "Print this help and exit");
    m_app.set_version_flag("--version", std::string("pinpad ") + pinpad_version(),
                           "Print the version and exit");
    m_app.add_option("--port", m_settings.port, "The serial port, such as ttyUSB0")
        ->type_name("NAME");
    m_app.add_flag("--secure", m_settings.secure, "Open the session with the secure channel");
    m_app
        .add_option("--idle-message", m_idleText,
                    "What the display shows after the session, up to 32 characters")
        ->type_name("TEXT");
    addSeconds(m_app, "--timeout", m_settings.timeout,
               "Seconds to wait for the customer; when not given, as long as the PIN pad does");
    m_app.add_flag("--json", m_settings.json, "Print results as JSON, one object a line");
    if (hasSimulation()) {
        m_simulate = m_app
                         .add_option("--simulate", m_settings.scenario,
                                     "Use a simulated PIN pad, with this scenario file, instead "
                                     "of a port")
                         ->expected(0, 1)
                         ->type_name("[SCENARIO]");
    }
    m_trace = m_app.add_flag("--trace{}", m_settings.traceFile,
                             "Show every frame on standard error; --trace=FILE writes a file");
    m_app.add_flag("--trace-plain", m_settings.tracePlain, "Leave the times out of the trace");
    m_app.add_flag("--trace-secrets", m_settings.traceSecrets,
                   "Show what customers typed and what cards hold, too");
}

void CommandLine::parse(int argc, const char *const *argv) {
    m_app.parse(argc, argv);
    m_settings.simulate = m_simulate != nullptr && m_simulate->count() > 0;
    m_settings.trace = m_trace->count() > 0;
    checkSettings();
    command().prepare();
}

void CommandLine::checkSettings() {
    m_settings.idleMessage =
        toDevice(m_idleText, "idle message", IDLE_MESSAGE_MAX, LineBreaks::Refused);
    if (m_settings.simulate && !m_settings.port.empty()) {
        throw UsageError("Give either --port or --simulate.");
    }
    if (command().usesDevice() && !m_settings.simulate && m_settings.port.empty()) {
        throw UsageError(std::string("Say where the PIN pad is: --port NAME (`pinpad ports` lists "
                                     "them)") +
                         (hasSimulation() ? ", or --simulate." : "."));
    }
}

ExitStatus CommandLine::report(const CLI::ParseError &error, Output &output) const {
    if (error.get_exit_code() != 0) {
        return output.unreadable(CommandSet::explain(m_app, error));
    }
    output.text(CommandSet::answer(m_app, error));
    return ExitStatus::Done;
}

} // namespace cli
