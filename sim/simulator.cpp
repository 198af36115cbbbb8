#include "sim/simulator.h"

#include "sim/abecs_link.h"
#include "sim/device.h"
#include "sim/ext_link.h"
#include "sim/faults.h"
#include "sim/host_line.h"
#include "sim/logbook.h"
#include "sim/port_link.h"
#include "sim/pty_line.h"
#include "sim/scenario.h"
#include "sim/secure_channel.h"
#include "sim/state_board.h"
#include "sim/timer.h"
#include "sim/transmitter.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>

#include <algorithm>
#include <future>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

namespace sim {

class Simulator::Impl {
public:
    Impl(const std::string &scenario_text, const SimulatorOptions &options)
        : scenario_(parse_scenario(scenario_text)), work_(boost::asio::make_work_guard(io_)),
          log_(options.keep_logs), port_link_(options.link), faults_(scenario_.faults),
          line_(io_, log_, options.paced), transmitter_(line_, faults_, log_, board_),
          link_(channel_, transmitter_, log_, board_), ext_link_(transmitter_, log_, board_),
          host_line_(io_, line_, link_, ext_link_, transmitter_, log_, board_, options.frame_gap),
          device_(io_, scenario_, checked_scale(options.time_scale), link_, ext_link_, transmitter_,
                  channel_, log_, board_),
          replug_timer_(io_) {
        link_.set_taker(device_);
        ext_link_.set_taker(device_);
        host_line_.set_taker(device_);
        line_.set_handlers([this](const Bytes &bytes) { host_line_.receive(bytes); },
                           [this] { lose_cable(); });
        plug();
        thread_ = std::thread([this] { io_.run(); });
    }

    Impl(const Impl &) = delete;
    Impl &operator=(const Impl &) = delete;
    ~Impl() {
        io_.stop();
        thread_.join();
    }

    // Runs a call on the device's thread and waits for its end; what it throws comes out here.
    void run(const std::function<void()> &call) {
        if (std::this_thread::get_id() == thread_.get_id()) {
            call();
            return;
        }
        std::packaged_task<void()> task(call);
        auto done = task.get_future();
        boost::asio::post(io_, [&task] { task(); });
        done.get();
    }

    // Waits until the device is done with what it is doing right now.
    void settle() {
        run([] {});
    }

    void plug() {
        if (line_.plugged()) {
            return;
        }
        replug_timer_.cancel();
        line_.plug();
        try {
            port_link_.point_to(line_.path());
        } catch (...) {
            line_.unplug();
            throw;
        }
        const std::string path = port_link_.name().empty() ? line_.path() : port_link_.name();
        {
            const std::lock_guard lock(port_mutex_);
            port_ = path;
        }
        board_.change([](Snapshot &state) { state.plugged = true; });
        log_.note("port", {{"path", path}});
    }

    std::string port() const {
        const std::lock_guard lock(port_mutex_);
        return port_;
    }

    Scenario scenario_;
    boost::asio::io_context io_;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_;
    Logbook log_;
    StateBoard board_;
    PortLink port_link_;
    FaultInjector faults_;
    SecureChannel channel_;
    PtyLine line_;
    Transmitter transmitter_;
    AbecsLink link_;
    ExtLink ext_link_;
    HostLine host_line_;
    Device device_;

private:
    static double checked_scale(double scale) {
        if (!(scale > 0)) {
            throw std::invalid_argument("the time scale must be greater than 0");
        }
        return scale;
    }

    // The line tells that it is gone.
    void lose_cable() {
        port_link_.remove();
        {
            const std::lock_guard lock(port_mutex_);
            port_.clear();
        }
        host_line_.reset();
        device_.lose_power();
        board_.change([](Snapshot &state) { state.plugged = false; });
        log_.note("unplugged");
        if (scenario_.replug_after) {
            replug_timer_.after(*scenario_.replug_after, [this] { plug(); });
        }
    }

    Timer replug_timer_;
    mutable std::mutex port_mutex_;
    std::string port_;
    std::thread thread_;
};

Simulator::Simulator(const std::string &scenario, const SimulatorOptions &options)
    : impl_(std::make_unique<Impl>(scenario, options)) {}

Simulator::~Simulator() = default;

std::string Simulator::port() const {
    impl_->settle();
    return impl_->port();
}

void Simulator::unplug() {
    impl_->run([this] { impl_->line_.unplug(); });
}

void Simulator::replug() {
    impl_->run([this] { impl_->plug(); });
}

void Simulator::press(const std::string &digits) {
    const bool usable =
        std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (!usable) {
        throw std::invalid_argument("only digits can be pressed as text: " + digits);
    }
    impl_->run([this, &digits] {
        for (char digit : digits) {
            impl_->device_.press_digit(digit);
        }
    });
}

void Simulator::press_key(Key key) {
    impl_->run([this, key] { impl_->device_.press_key(key); });
}

void Simulator::swipe(const Card &card) {
    impl_->run([this, &card] { impl_->device_.swipe(card); });
}

void Simulator::insert_card() {
    impl_->run([this] { impl_->device_.insert_card(); });
}

void Simulator::remove_card() {
    impl_->run([this] { impl_->device_.remove_card(); });
}

void Simulator::tap_card() {
    impl_->run([this] { impl_->device_.tap_card(); });
}

void Simulator::press_button(char button) {
    impl_->run([this, button] { impl_->device_.press_button(button); });
}

void Simulator::hold_card() {
    impl_->run([this] { impl_->device_.hold_card(); });
}

void Simulator::take_card() {
    impl_->run([this] { impl_->device_.take_card(); });
}

MifareCard Simulator::card() const {
    MifareCard card = impl_->scenario_.contactless_card;
    impl_->run([&] { card = impl_->device_.contactless().card(); });
    return card;
}

void Simulator::arm_fault(const std::string &rule) {
    const Scenario scenario = parse_scenario(rule);
    impl_->run([&] {
        for (const FaultRule &fault : scenario.faults) {
            impl_->faults_.arm(fault);
        }
        for (const ReplyRule &reply : scenario.replies) {
            impl_->device_.arm(reply);
        }
    });
}

void Simulator::clear_faults() {
    impl_->run([this] {
        impl_->faults_.clear();
        impl_->device_.clear_armed();
    });
}

void Simulator::send_raw(const Bytes &bytes) {
    impl_->run([this, &bytes] {
        impl_->log_.add_frame({Direction::to_host, {}, FrameKind::noise, false, {}, bytes});
        impl_->line_.send(bytes);
    });
}

Snapshot Simulator::snapshot() const {
    impl_->settle();
    return impl_->board_.snapshot();
}

WireLog Simulator::wire() const {
    impl_->settle();
    return impl_->log_.wire();
}

Bytes Simulator::host_bytes() const {
    impl_->settle();
    return impl_->log_.host_bytes();
}

std::vector<Bytes> Simulator::commands() const {
    impl_->settle();
    return impl_->log_.commands();
}

std::vector<JournalEntry> Simulator::journal() const {
    impl_->settle();
    return impl_->log_.journal();
}

void Simulator::clear_logs() {
    impl_->log_.clear();
}

void Simulator::set_listener(JournalListener listener) {
    impl_->log_.set_listener(std::move(listener));
}

void Simulator::set_wire_listener(WireListener listener) {
    impl_->log_.set_wire_listener(std::move(listener));
}

bool Simulator::wait_drained(std::chrono::milliseconds timeout) const {
    // Bytes take a moment from one end of a pseudo terminal to the other.
    constexpr unsigned enough = 20;
    constexpr std::chrono::milliseconds interval{1};
    const auto deadline = Clock::now() + timeout;
    unsigned quiet = 0;
    while (quiet < enough && Clock::now() < deadline) {
        bool drained = false;
        impl_->run([&] { drained = impl_->line_.drained(); });
        quiet = drained ? quiet + 1 : 0;
        std::this_thread::sleep_for(interval);
    }
    return quiet == enough;
}

bool Simulator::wait_for(const std::function<bool(const Snapshot &)> &predicate,
                         std::chrono::milliseconds timeout) const {
    return impl_->board_.wait_for(predicate, timeout);
}

bool Simulator::wait_pending(const std::string &command_id,
                             std::chrono::milliseconds timeout) const {
    return wait_for(
        [&](const Snapshot &state) { return state.waiting && state.pending_command == command_id; },
        timeout);
}

bool Simulator::wait_commands(std::size_t count, std::chrono::milliseconds timeout) const {
    return wait_for([count](const Snapshot &state) { return state.commands >= count; }, timeout);
}

} // namespace sim
