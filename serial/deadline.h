#pragma once

#include <chrono>
#include <optional>
#include <span>

#include <poll.h>

/// The clock and the wait that every transfer is built on. Tests put their own in its place.
class PclWaits {
public:
    virtual ~PclWaits() = default;

    /// The time since some fixed moment, on a clock that nobody sets.
    virtual std::chrono::nanoseconds now() = 0;

    /// Waits like ppoll; no timeout waits for ever. Returns the number of ready descriptors, or -1
    /// and leaves the reason in errno.
    virtual int poll(std::span<pollfd> waitedFor,
                     std::optional<std::chrono::nanoseconds> timeout) = 0;
};

/// CLOCK_MONOTONIC and ppoll.
PclWaits &pcl_system_waits();

enum class PclWaitOutcome { READY, HUNG_UP, TIMED_OUT, FAILED };

struct PclWaitResult {
    PclWaitOutcome outcome;
    int error; ///< errno of a wait that failed, else 0
};

/// The moment at which a transfer gives up. One object serves the whole transfer: what remains is
/// worked out anew from the clock after every interruption and every partial transfer.
class PclDeadline {
public:
    static constexpr int NO_INTERRUPT = -1;

    PclDeadline(PclWaits &waits, std::chrono::nanoseconds wait);

    /// A deadline that never comes.
    explicit PclDeadline(PclWaits &waits);

    /// Waits until the descriptor is ready for the events, its line is gone, or the deadline has
    /// passed. One that has passed already still tells what is ready. Fails with ECANCELED once
    /// the other descriptor, if there is one, is readable.
    PclWaitResult wait(int fd, short events, int interrupt = NO_INTERRUPT) const;

private:
    std::optional<std::chrono::nanoseconds> remaining() const;

    PclWaits &m_waits;
    std::optional<std::chrono::nanoseconds> m_end;
};
