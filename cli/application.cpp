#include "cli/application.h"

#include "cli/command_line.h"
#include "cli/interrupt.h"
#include "cli/simulation.h"
#include "cli/trace/trace.h"

namespace cli {

namespace {

// Runs the command in a session of its own.
ExitStatus runInSession(Command &command, Context &context) {
    try {
        context.device.open();
        command.run(context);
        throwIfInterrupted();
        context.device.close();
        return command.exitStatus();
    } catch (...) {
        const std::exception_ptr problem = std::current_exception();
        context.device.abandon();
        return context.output.problem(problem);
    }
}

ExitStatus runCommand(CommandLine &line, Output &output) {
    try {
        Settings &settings = line.settings();
        Command &command = line.command();
        output.setCommand(command.name());
        std::unique_ptr<Simulation> simulation;
        if (settings.simulate) {
            simulation = startSimulation(settings.scenario);
            settings.port = simulation->port();
        }
        const std::unique_ptr<Trace> trace = makeTrace(settings);
        Device device(settings);
        Context context{settings, device, output};
        if (!command.usesDevice()) {
            command.run(context);
            return command.exitStatus();
        }
        const ExitStatus exit = runInSession(command, context);
        return trace == nullptr ? exit : output.finishTrace(trace->finish(), exit);
    } catch (...) {
        return output.problem(std::current_exception());
    }
}

} // namespace

ExitStatus runApplication(int argc, const char *const *argv) {
    watchForInterrupts();
    CommandLine line;
    Output output(line.settings());
    try {
        line.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return output.finish(line.report(error, output));
    } catch (const UsageError &error) {
        return output.finish(output.usage(error.what()));
    }
    return output.finish(runCommand(line, output));
}

} // namespace cli
