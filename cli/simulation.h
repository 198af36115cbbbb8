#pragma once

#include <memory>
#include <string>

namespace cli {

/// A virtual PIN pad that lives in this process.
class Simulation {
public:
    virtual ~Simulation() = default;

    /// The name of its port.
    virtual std::string port() const = 0;
};

/// Whether this build has one.
bool hasSimulation();

/// Plugs one in. `scenarioFile` says what the customer does; when empty the customer types 12345
/// and Enter at every capture, presses Enter at every event check and QR code and button 1 at every
/// survey, and holds a fresh MIFARE card up. Throws UsageError for a scenario that cannot be read.
std::unique_ptr<Simulation> startSimulation(const std::string &scenarioFile);

} // namespace cli
