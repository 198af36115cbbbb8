#include "cli/problem.h"
#include "cli/simulation.h"

namespace cli {

bool hasSimulation() {
    return false;
}

std::unique_ptr<Simulation> startSimulation(const std::string &) {
    throw UsageError("This build has no simulated PIN pad.");
}

} // namespace cli
