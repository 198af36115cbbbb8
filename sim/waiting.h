#pragma once

#include "sim/scenario.h"
#include "sim/timer.h"
#include "sim/types.h"

#include <string>
#include <utility>

namespace sim {

class Device;

// A command that has not been answered yet, because it waits for the customer or takes long. The
// device owns it and stops it before dropping it; a stopped one does nothing.
class Waiting {
public:
    Waiting() = default;
    virtual ~Waiting() = default;
    Waiting(const Waiting &) = delete;
    Waiting &operator=(const Waiting &) = delete;

    virtual void start() = 0;
    virtual void stop() = 0;
    // Whether the customer is to do something.
    virtual bool for_customer() const { return true; }

    virtual void digit(char) {}
    virtual void button(char) {}
    virtual void key(Key) {}
    virtual void swipe(const Card &) {}
    // Insertion, removal or tap, as an event code.
    virtual void card_event(const std::string &) {}
    // The host wants the answer now.
    virtual void host_stops() {}
};

// Plays a script: waits before each step, sends notifications and raw bodies, and hands all other
// steps to a function.
class ScriptPlayer {
public:
    ScriptPlayer(Device &device, Script script, std::function<void(const Step &)> perform);

    void start() { next(); }
    void stop();

private:
    void next();
    void play(const Step &step);

    Device &device_;
    Script script_;
    std::function<void(const Step &)> perform_;
    std::size_t position_ = 0;
    bool stopped_ = false;
    Timer timer_;
};

} // namespace sim
