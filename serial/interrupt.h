#pragma once

#include <atomic>
#include <cstdint>

/// Ends the waits of a port from outside: while it is raised, every read of a port that listens to
/// it (pcl_serial_set_interrupt) fails at once, with the system's number for a cancelled operation.
/// Without a descriptor or handle to spare it still ends a read, at its next byte or its timeout.
class PclInterrupt {
public:
    PclInterrupt();
    ~PclInterrupt();
    PclInterrupt(const PclInterrupt &) = delete;
    PclInterrupt &operator=(const PclInterrupt &) = delete;

    /// May be called from any thread and from a signal handler.
    void raise();

    bool isRaised() const { return m_raised.load(); }

    /// What a wait watches beside its line: a descriptor that is readable, or a HANDLE that is
    /// signalled, while the interrupt is raised.
    std::intptr_t signal() const { return m_signal; }

private:
    std::atomic<bool> m_raised{false};
    std::intptr_t m_signal;
};
