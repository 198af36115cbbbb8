#pragma once

#include "tests/faults/commands.h"

#include <chrono>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace soak {

using Milliseconds = std::chrono::duration<double, std::milli>;

/// The same numbers from the same seed everywhere.
class Dice {
public:
    explicit Dice(std::uint64_t seed) : m_engine(seed) {}

    /// 0 up to and without the limit.
    unsigned below(unsigned limit) { return static_cast<unsigned>(m_engine() % limit); }
    bool percent(unsigned chance) { return below(100) < chance; }

private:
    std::mt19937_64 m_engine;
};

/// The faults that strike one call, and how long the library may wait because of them.
struct FaultPlan {
    std::vector<std::string> rules;
    unsigned causes = 0;
    /// Of the waits of the library, before they are divided.
    Milliseconds waits{0};
    /// Something may follow a good answer.
    bool surplus = false;
    /// Of the device, never divided.
    Milliseconds delays{0};
    /// What the device still sends comes no later than this after the call.
    Milliseconds late{0};
    /// Nothing but silence can have made the call fail; this is the wait it must have kept.
    Milliseconds silence{0};
    /// A failure means that the two sides may disagree about it.
    bool exchangesKey = false;
};

/// Throws the dice for each frame of the call: each is struck with a chance of `rate` percent.
/// `divisor` is that of the library's waits: late is what is later than those.
FaultPlan planFaults(Dice &dice, const faults::Command &command, bool secure, unsigned rate,
                     std::uint32_t divisor);

} // namespace soak
