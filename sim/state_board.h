#pragma once

#include "sim/snapshot.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

namespace sim {

// The visible state of the device. The device changes it; any thread may read it.
class StateBoard {
public:
    void change(const std::function<void(Snapshot &)> &how);
    Snapshot snapshot() const;
    bool wait_for(const std::function<bool(const Snapshot &)> &predicate,
                  std::chrono::milliseconds timeout) const;

private:
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    Snapshot state_;
};

} // namespace sim
