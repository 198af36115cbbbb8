#pragma once

#include "abecs/pinpad.h"
#include "core/guard.h"
#include "sim/simulator.h"
#include "tests/faults/commands.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <string>

namespace robustness {

/// The virtual PIN pad and an open session with it. The library's waits run faster.
class Rig {
public:
    static constexpr std::uint32_t TIME_DIVISOR = 10;

    /// After the frame gap the device gives a broken frame up and takes what follows for control
    /// bytes, so that it has to be longer than a busy machine may pause within a frame.
    explicit Rig(bool secure, std::chrono::milliseconds frameGap = std::chrono::seconds(2));
    ~Rig();
    Rig(const Rig &) = delete;
    Rig &operator=(const Rig &) = delete;

    AbecsPinpad *pinpad() { return m_pinpad.get(); }
    sim::Simulator &device() { return m_device; }

    /// Waits until the device has said all that it will: so many looks in a row, a millisecond
    /// apart, find nothing new on the line, and the device was awake before each of them.
    void awaitSilence(unsigned looks);

    /// A new session on a newly opened port.
    void reopen();
    /// Whatever became of the command, the same session is put in order as a host would - a pending
    /// command aborted, a channel in doubt opened again - and the next command works.
    void expectUsable(const faults::Command &command, const PclException &failure);

private:
    void openChannel();

    bool m_secure;
    sim::Simulator m_device;
    AbecsPinpadPtr m_pinpad;
};

/// The names of the commands, for parameterised tests.
std::string commandName(const testing::TestParamInfo<std::size_t> &info);

} // namespace robustness
