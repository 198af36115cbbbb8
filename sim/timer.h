#pragma once

#include "sim/io_context.h"

#include <chrono>
#include <functional>
#include <memory>

namespace sim {

// Calls a function later. Only the function set last is called, and none after cancel or the end
// of the timer: an expiry that is already on its way is dropped.
class Timer {
public:
    explicit Timer(boost::asio::io_context &io);
    ~Timer();
    Timer(const Timer &) = delete;
    Timer &operator=(const Timer &) = delete;

    void after(std::chrono::nanoseconds delay, std::function<void()> call);
    void cancel();

private:
    struct Alarm;

    std::unique_ptr<Alarm> alarm_;
    std::shared_ptr<bool> ticket_;
};

} // namespace sim
