#pragma once

#include "sim/journal.h"
#include "sim/scenario.h"
#include "sim/simulator.h"
#include "sim/web/recorder.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace sim::web {

// The device that the page shows, the rules armed by hand and a record of the session. Replaying a
// scenario replaces the device by a fresh one on the same link. Safe from any thread.
class Station {
public:
    // Throws as Simulator does. The listeners are called on the device's thread, with nothing
    // locked; they must outlive the station.
    Station(const std::string &scenario, const SimulatorOptions &options, JournalListener journal,
            WireListener wire);
    ~Station();
    Station(const Station &) = delete;
    Station &operator=(const Station &) = delete;

    // The current device. One that has been replaced stays unplugged.
    std::shared_ptr<Simulator> device() const;
    Scenario scenario() const;

    // A rule of the scenario language: a fault or a reply. Throws ScenarioError.
    void arm(const std::string &rule);
    // Disarms a rule that was armed here. The scenario's own faults go with it, since a device can
    // only drop all of them.
    void disarm(const std::string &rule);
    void disarm_all();
    // The rules that were armed here and can still strike.
    std::vector<std::string> armed() const;

    // The session so far, as a scenario.
    std::string recording() const;

    // Pulls the cable and plugs in a fresh device with this scenario. Throws ScenarioError when it
    // cannot be read; the device then stays as it is.
    void replay(const std::string &scenario);

private:
    struct Armed {
        std::string rule;
        std::string stage;
        std::string action;
        unsigned left;
    };

    std::shared_ptr<Simulator> start(const std::string &scenario);
    void note(const JournalEntry &entry);
    void count_strike(const JournalEntry &entry);

    const SimulatorOptions options_;
    const JournalListener journal_;
    const WireListener wire_;
    mutable std::mutex mutex_;
    Scenario scenario_;
    Recorder recorder_;
    std::vector<Armed> armed_;
    std::shared_ptr<Simulator> device_;
};

} // namespace sim::web
