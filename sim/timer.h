#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

namespace sim {

// Calls a function later. Only the function set last is called, and none after cancel or the end
// of the timer: an expiry that is already on its way is dropped.
class Timer {
public:
    explicit Timer(boost::asio::io_context &io) : timer_(io) {}

    void after(std::chrono::nanoseconds delay, std::function<void()> call) {
        auto ticket = std::make_shared<bool>(true);
        ticket_ = ticket;
        timer_.expires_after(delay);
        timer_.async_wait([call = std::move(call),
                           weak = std::weak_ptr<bool>(ticket)](const boost::system::error_code &) {
            if (!weak.expired()) {
                call();
            }
        });
        // The wait that was set before has been cancelled by expires_after and lost its ticket.
    }

    void cancel() {
        ticket_.reset();
        timer_.cancel();
    }

private:
    boost::asio::steady_timer timer_;
    std::shared_ptr<bool> ticket_;
};

} // namespace sim
