#include "cli/interrupt.h"
#include "cli/problem.h"
#include "cli/simulation.h"
#include "sim/scenario.h"
#include "sim/scenario_file.h"
#include "sim/simulator.h"

#include <stdexcept>

namespace cli {

namespace {

constexpr char USUAL_CUSTOMER[] = "capture * keys 12345 enter\n"
                                  "event * key enter\n"
                                  "qrcode * enter\n"
                                  "survey * press 1\n"
                                  "cxsurvey * press 1 enter\n"
                                  "mifare uid 04A1B2C3\n";

std::string readScenario(const std::string &file) {
    if (file.empty()) {
        return USUAL_CUSTOMER;
    }
    try {
        return sim::read_scenario(file);
    } catch (const std::runtime_error &error) {
        throw UsageError("Cannot read the scenario " + file + ": " + error.what() +
                         ". To give none, put --simulate before another option or last.");
    }
}

sim::SimulatorOptions options() {
    sim::SimulatorOptions options;
    options.keep_logs = false;
    return options;
}

class SimulatedPinPad : public Simulation {
public:
    explicit SimulatedPinPad(const std::string &scenario) : m_simulator(scenario, options()) {}

    std::string port() const override { return m_simulator.port(); }

private:
    sim::Simulator m_simulator;
};

} // namespace

bool hasSimulation() {
    return true;
}

std::unique_ptr<Simulation> startSimulation(const std::string &scenarioFile) {
    const std::string scenario = readScenario(scenarioFile);
    const InterruptsElsewhere guard;
    try {
        return std::make_unique<SimulatedPinPad>(scenario);
    } catch (const sim::ScenarioError &error) {
        throw UsageError(scenarioFile + ": " + error.what());
    }
}

} // namespace cli
