#include "serial/deadline.h"

#include <algorithm>
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

    int poll(pollfd &waitedFor, std::optional<nanoseconds> timeout) override {
        if (!timeout) {
            return ppoll(&waitedFor, 1, nullptr, nullptr);
        }
        const auto whole = std::chrono::duration_cast<seconds>(*timeout);
        timespec time{};
        time.tv_sec = whole.count();
        time.tv_nsec = (*timeout - whole).count();
        return ppoll(&waitedFor, 1, &time, nullptr);
    }
};

} // namespace

PclWaits &pcl_system_waits() {
    static SystemWaits waits;
    return waits;
}

PclDeadline::PclDeadline(PclWaits &waits, nanoseconds wait)
    : waits_(waits), end_(waits.now() + wait) {}

PclDeadline::PclDeadline(PclWaits &waits) : waits_(waits) {}

std::optional<nanoseconds> PclDeadline::remaining() const {
    if (!end_) {
        return std::nullopt;
    }
    return std::max(*end_ - waits_.now(), nanoseconds::zero());
}

PclWaitResult PclDeadline::wait(int fd, short events) const {
    for (;;) {
        const std::optional<nanoseconds> left = remaining();
        pollfd waitedFor{fd, events, 0};
        const int ready = waits_.poll(waitedFor, left);
        if (ready > 0) {
            const bool gone = (waitedFor.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
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
