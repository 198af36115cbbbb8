#pragma once

#include "sim/wire_log.h"

#include <cstddef>
#include <functional>
#include <mutex>
#include <vector>

namespace sim::web {

// Carries the frames of the line from the device's thread to the server's. Safe from any thread.
class Feed {
public:
    static constexpr std::size_t capacity = 4096;

    // Wakes the server, because what the page shows has changed.
    void touch();
    // Adds a frame and wakes the server. When nobody takes the frames, the oldest are dropped.
    void add(const WireFrame &frame);

    // The frames since the last call.
    std::vector<WireFrame> take();

    // What touch and add call, with the feed locked; it must return at once.
    void set_waker(std::function<void()> waker);

private:
    std::mutex mutex_;
    std::vector<WireFrame> frames_;
    std::function<void()> waker_;
};

} // namespace sim::web
