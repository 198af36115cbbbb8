#pragma once

#include "sim/journal.h"
#include "sim/mifare_card.h"
#include "sim/snapshot.h"
#include "sim/types.h"
#include "sim/wire_log.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sim {

struct SimulatorOptions {
    // How many times faster than life the customer and the device's own time limits run. Delays of
    // faults, the frame gap and the pacing are time on the line and never scaled.
    double time_scale = 1.0;

    // Moves bytes at the rate of 19200 baud, both ways.
    bool paced = false;

    // The silence within a frame after which the device gives the frame up and answers NAK.
    std::chrono::milliseconds frame_gap{2000};

    // When not empty, a symbolic link of this name follows the port, across unplug and replug.
    std::string link;

    // Whether what crosses the line and what happens is kept. Without it wire, host_bytes, commands
    // and journal stay empty, and the memory of a device that runs for days does not grow.
    bool keep_logs = true;
};

// The virtual PIN pad on a pseudo terminal of its own, run by a thread of its own. Every operation
// may be called from any thread; none of them from a journal listener, except snapshot, wire,
// host_bytes, commands and journal.
class Simulator {
public:
    // Plugs the device in. Throws ScenarioError (sim/scenario.h) for a scenario that cannot be
    // read, and std::system_error when no pseudo terminal is to be had.
    explicit Simulator(const std::string &scenario = "", const SimulatorOptions &options = {});
    ~Simulator();
    Simulator(const Simulator &) = delete;
    Simulator &operator=(const Simulator &) = delete;

    // Returns the name that a host opens: the link when there is one, else the pseudo terminal.
    // After a replug the pseudo terminal may have another name. Empty while unplugged.
    std::string port() const;

    // Pulls the cable: the host sees its line hang up. No effect when already unplugged.
    void unplug();
    // Puts the cable back, on a fresh pseudo terminal. No effect when already plugged.
    void replug();

    // Live input; each returns once the device has dealt with it. press takes digits only and
    // throws std::invalid_argument for anything else. Keys pressed while nothing waits for them
    // are lost, as on a real keypad.
    void press(const std::string &digits);
    void press_key(Key key);
    void swipe(const Card &card);
    void insert_card();
    void remove_card();
    void tap_card();
    // A button of a survey's screen.
    void press_button(char button);
    // The contactless card goes into the field and out of it.
    void hold_card();
    void take_card();
    // The card as it is now.
    MifareCard card() const;

    // Adds faults and replies while the device runs, from lines of the scenario language that begin
    // with the word fault, reply or status. They stand behind the rules that are there already and
    // count their occasions from now on. Throws ScenarioError.
    void arm_fault(const std::string &rule);
    // Drops all faults, and the replies that were added here.
    void clear_faults();

    // Sends bytes to the host outside any frame, now.
    void send_raw(const Bytes &bytes);

    // Copies of what is known now. What the device did for bytes that the host has received is in
    // them. Do not call them with a lock held that a listener takes.
    Snapshot snapshot() const;
    WireLog wire() const;
    Bytes host_bytes() const;            // every byte received from the host so far
    std::vector<Bytes> commands() const; // plain bodies of the good command frames, in order
    std::vector<JournalEntry> journal() const;

    // Forgets the wire log, the command list and the journal; the state of the device stays.
    void clear_logs();

    // The listener is called on the simulator's thread for every entry from now on; an empty
    // function removes it.
    void set_listener(JournalListener listener);
    // The same for every frame and control byte on the line.
    void set_wire_listener(WireListener listener);

    // Waits until the host has read everything that was sent to it. Returns whether it did.
    bool wait_drained(std::chrono::milliseconds timeout) const;

    // Waits until the predicate holds for the device's state. Returns whether it did in time.
    // The predicate runs on the calling thread, after each change.
    bool wait_for(const std::function<bool(const Snapshot &)> &predicate,
                  std::chrono::milliseconds timeout) const;

    // Waits until a command of this identifier waits for the customer (GCD, CEX).
    bool wait_pending(const std::string &command_id,
                      std::chrono::milliseconds timeout = std::chrono::seconds(5)) const;
    // Waits until that many good command frames have been taken since the start.
    bool wait_commands(std::size_t count,
                       std::chrono::milliseconds timeout = std::chrono::seconds(5)) const;

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sim
