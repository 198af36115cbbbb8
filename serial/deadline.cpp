#include "serial/deadline.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <ctime>

using std::chrono::nanoseconds;
using std::chrono::seconds;

namespace {

class SystemWaits : public PclWaits {
public:
    nanoseconds now() override {
        timespec time{};
        clock_gettime(CLOCK_MONOTONIC, &time);
        return seconds(time.tv_sec) + nanoseconds(time.tv_nsec);
    }

    int poll(std::span<pollfd> waitedFor, std::optional<nanoseconds> timeout) override {
        if (!timeout) {
            return ppoll(waitedFor.data(), waitedFor.size(), nullptr, nullptr);
        }
        const auto whole = std::chrono::duration_cast<seconds>(*timeout);
        timespec time{};
        time.tv_sec = whole.count();
        time.tv_nsec = (*timeout - whole).count();
        return ppoll(waitedFor.data(), waitedFor.size(), &time, nullptr);
    }
};

} // namespace

PclWaits &pcl_system_waits() {
    static SystemWaits waits;
    return waits;
}

PclDeadline::PclDeadline(PclWaits &waits, nanoseconds wait)
    : m_waits(waits), m_end(waits.now() + wait) {}

PclDeadline::PclDeadline(PclWaits &waits) : m_waits(waits) {}

std::optional<nanoseconds> PclDeadline::remaining() const {
    if (!m_end) {
        return std::nullopt;
    }
    return std::max(*m_end - m_waits.now(), nanoseconds::zero());
}

PclWaitResult PclDeadline::wait(int fd, short events, int interrupt) const {
    for (;;) {
        const std::optional<nanoseconds> left = remaining();
        std::array<pollfd, 2> waitedFor = {{{fd, events, 0}, {interrupt, POLLIN, 0}}};
        const int ready = m_waits.poll(waitedFor, left);
        if (ready > 0) {
            if (waitedFor[1].revents != 0) {
                return {PclWaitOutcome::FAILED, ECANCELED};
            }
            const bool gone = (waitedFor[0].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
            return {gone ? PclWaitOutcome::HUNG_UP : PclWaitOutcome::READY, 0};
        }
        if (ready < 0 && errno != EINTR) {
            return {PclWaitOutcome::FAILED, errno};
        }
        // A poll may return a little early, and an interrupted one does: the clock decides.
        if (left == nanoseconds::zero()) {
            return {PclWaitOutcome::TIMED_OUT, 0};
        }
    }
}
