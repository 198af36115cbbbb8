#pragma once

#include "sim/wire_log.h"

#include <cstddef>
#include <functional>
#include <mutex>
#include <vector>

namespace sim::web {

// Hands what the device tells from its thread to the server's. Safe from any thread.
class Feed {
public:
    static constexpr std::size_t capacity = 4096;

    // Something can be seen of the device that could not be seen before.
    void touch();
    // The same, and a frame crossed the line. When nobody takes the frames the oldest go.
    void add(const WireFrame &frame);

    // The frames since the last call.
    std::vector<WireFrame> take();

    // The call that touch and add make, with the feed locked; it must only leave word.
    void set_waker(std::function<void()> waker);

private:
    std::mutex mutex_;
    std::vector<WireFrame> frames_;
    std::function<void()> waker_;
};

} // namespace sim::web
