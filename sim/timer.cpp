#include "sim/timer.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <utility>

namespace sim {

struct Timer::Alarm {
    explicit Alarm(boost::asio::io_context &io) : timer(io) {}

    boost::asio::steady_timer timer;
};

Timer::Timer(boost::asio::io_context &io) : alarm_(std::make_unique<Alarm>(io)) {}

Timer::~Timer() = default;

void Timer::after(std::chrono::nanoseconds delay, std::function<void()> call) {
    auto ticket = std::make_shared<bool>(true);
    ticket_ = ticket;
    alarm_->timer.expires_after(delay);
    alarm_->timer.async_wait([call = std::move(call), weak = std::weak_ptr<bool>(ticket)](
                                 const boost::system::error_code &) {
        if (!weak.expired()) {
            call();
        }
    });
    // The wait that was set before has been cancelled by expires_after and lost its ticket.
}

void Timer::cancel() {
    ticket_.reset();
    alarm_->timer.cancel();
}

} // namespace sim
