#include "sim/pty_line.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace sim {

namespace {

// 19200 baud with 8 data bits, start and stop bit.
constexpr std::chrono::nanoseconds byte_time{1000000000 / 1920};

class FileDescriptor {
public:
    explicit FileDescriptor(int fd) : fd_(fd) {}
    ~FileDescriptor() { reset(); }
    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;
    int get() const { return fd_; }
    void reset() {
        if (fd_ >= 0) {
            ::close(release());
        }
    }
    int release() { return std::exchange(fd_, -1); }

private:
    int fd_;
};

void check(bool ok, const char *what) {
    if (!ok) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

void make_raw(int fd) {
    termios settings{};
    check(::tcgetattr(fd, &settings) == 0, "cannot read the settings of the pseudo terminal");
    ::cfmakeraw(&settings);
    check(::tcsetattr(fd, TCSANOW, &settings) == 0, "cannot set the pseudo terminal to raw mode");
}

} // namespace

struct PtyLine::Connection {
    Connection(boost::asio::io_context &io, int master_fd, int slave_fd, std::string slave_path)
        : master(io, master_fd), slave(slave_fd), path(std::move(slave_path)) {}

    boost::asio::posix::stream_descriptor master;
    // Held open so that a host that closes its end does not hang up the line.
    FileDescriptor slave;
    std::string path;
    std::array<std::uint8_t, 4096> buffer{};
};

PtyLine::PtyLine(boost::asio::io_context &io, Logbook &log, bool paced)
    : io_(io), log_(log), paced_(paced), queue_timer_(io), receive_timer_(io) {}

PtyLine::~PtyLine() = default;

void PtyLine::set_handlers(OnBytes on_bytes, OnUnplugged on_unplugged) {
    on_bytes_ = std::move(on_bytes);
    on_unplugged_ = std::move(on_unplugged);
}

void PtyLine::plug() {
    if (plugged()) {
        return;
    }
    FileDescriptor master(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    check(master.get() >= 0, "cannot open a pseudo terminal");
    check(::grantpt(master.get()) == 0, "cannot grant the pseudo terminal");
    check(::unlockpt(master.get()) == 0, "cannot unlock the pseudo terminal");
    std::array<char, 128> name{};
    check(::ptsname_r(master.get(), name.data(), name.size()) == 0,
          "cannot name the pseudo terminal");
    FileDescriptor slave(::open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    check(slave.get() >= 0, "cannot open the slave of the pseudo terminal");
    make_raw(slave.get());
    connection_ = std::make_shared<Connection>(io_, master.release(), slave.release(), name.data());
    connection_->master.non_blocking(true);
    out_free_ = in_free_ = Clock::now();
    start_reading();
}

void PtyLine::unplug() {
    if (!plugged()) {
        return;
    }
    queue_.clear();
    queue_timer_.cancel();
    receive_timer_.cancel();
    received_.clear();
    waiting_ = false;
    ++epoch_;
    // The line hangs up last, so that a host that sees it finds the rest done.
    const auto connection = std::exchange(connection_, nullptr);
    on_unplugged_();
    boost::system::error_code ignored;
    connection->master.close(ignored);
    connection->slave.reset();
}

std::string PtyLine::path() const {
    return plugged() ? connection_->path : std::string();
}

void PtyLine::send(Bytes bytes) {
    if (!plugged() || bytes.empty()) {
        return;
    }
    queue_.emplace_back(std::move(bytes));
    run_queue();
}

void PtyLine::pause(std::chrono::milliseconds duration) {
    if (!plugged()) {
        return;
    }
    queue_.emplace_back(Pause{duration});
    run_queue();
}

void PtyLine::unplug_here() {
    if (!plugged()) {
        return;
    }
    queue_.emplace_back(Unplug{});
    run_queue();
}

void PtyLine::drop_unsent() {
    queue_.clear();
    queue_timer_.cancel();
    waiting_ = false;
    ++epoch_;
}

bool PtyLine::drained() const {
    if (!plugged()) {
        return true;
    }
    int unread = 0;
    return queue_.empty() && ::ioctl(connection_->slave.get(), FIONREAD, &unread) == 0 &&
           unread == 0;
}

void PtyLine::start_reading() {
    const auto connection = connection_;
    connection->master.async_read_some(
        boost::asio::buffer(connection->buffer),
        [this, connection](const boost::system::error_code &error, std::size_t count) {
            if (error == boost::asio::error::operation_aborted || connection != connection_) {
                return;
            }
            if (error) {
                lose_line(error.message());
                return;
            }
            take_received(Bytes(connection->buffer.begin(),
                                connection->buffer.begin() + static_cast<std::ptrdiff_t>(count)));
            if (connection == connection_) {
                start_reading();
            }
        });
}

void PtyLine::take_received(const Bytes &bytes) {
    if (!paced_) {
        log_.add_chunk(Direction::from_host, bytes);
        on_bytes_(bytes);
        return;
    }
    const bool idle = received_.empty();
    received_.insert(received_.end(), bytes.begin(), bytes.end());
    if (idle) {
        in_free_ = std::max(in_free_, Clock::now()) + byte_time;
        receive_timer_.after(in_free_ - Clock::now(), [this] { deliver_paced(); });
    }
}

void PtyLine::deliver_paced() {
    Bytes due;
    while (due.size() < received_.size() && in_free_ <= Clock::now()) {
        due.push_back(received_[due.size()]);
        in_free_ += byte_time;
    }
    received_.erase(received_.begin(), received_.begin() + static_cast<std::ptrdiff_t>(due.size()));
    if (received_.empty()) {
        in_free_ -= byte_time;
    } else {
        receive_timer_.after(in_free_ - Clock::now(), [this] { deliver_paced(); });
    }
    if (!due.empty()) {
        log_.add_chunk(Direction::from_host, due);
        on_bytes_(due);
    }
}

void PtyLine::run_queue() {
    while (!waiting_ && !queue_.empty()) {
        Item &item = queue_.front();
        bool done = false;
        if (auto *bytes = std::get_if<Bytes>(&item)) {
            done = write_item(*bytes);
        } else if (auto *wait = std::get_if<Pause>(&item)) {
            done = pause_item(*wait);
        } else {
            done = unplug_item();
        }
        if (done) {
            queue_.pop_front();
        }
    }
}

bool PtyLine::write_item(Bytes &bytes) {
    const auto now = Clock::now();
    if (paced_ && out_free_ > now) {
        resume_after(out_free_ - now);
        return false;
    }
    const std::size_t count = paced_ ? 1 : bytes.size();
    boost::system::error_code error;
    const std::size_t written =
        connection_->master.write_some(boost::asio::buffer(bytes.data(), count), error);
    if (error == boost::asio::error::would_block) {
        waiting_ = true;
        connection_->master.async_wait(boost::asio::posix::stream_descriptor::wait_write,
                                       [this, epoch = epoch_](const boost::system::error_code &) {
                                           if (epoch != epoch_) {
                                               return;
                                           }
                                           waiting_ = false;
                                           run_queue();
                                       });
        return false;
    }
    if (error) {
        lose_line(error.message());
        return false;
    }
    const auto end = bytes.begin() + static_cast<std::ptrdiff_t>(written);
    log_.add_chunk(Direction::to_host, Bytes(bytes.begin(), end));
    bytes.erase(bytes.begin(), end);
    out_free_ = std::max(out_free_, now) + byte_time;
    return bytes.empty();
}

bool PtyLine::pause_item(Pause &pause) {
    if (pause.over) {
        return true;
    }
    pause.over = true;
    resume_after(pause.duration);
    return false;
}

bool PtyLine::unplug_item() {
    // Bytes take a moment from one end of a pseudo terminal to the other, so a single look that
    // finds nothing unread proves little.
    constexpr unsigned enough = 10;
    constexpr unsigned limit = 500;
    constexpr std::chrono::milliseconds interval{2};
    int unread = 0;
    const bool quiet = ::ioctl(connection_->slave.get(), FIONREAD, &unread) == 0 && unread == 0;
    quiet_checks_ = quiet ? quiet_checks_ + 1 : 0;
    ++read_checks_;
    if (quiet_checks_ < enough && read_checks_ < limit) {
        resume_after(interval);
        return false;
    }
    quiet_checks_ = read_checks_ = 0;
    unplug();
    return false;
}

void PtyLine::resume_after(std::chrono::nanoseconds delay) {
    waiting_ = true;
    queue_timer_.after(delay, [this] {
        waiting_ = false;
        run_queue();
    });
}

void PtyLine::lose_line(const std::string &reason) {
    log_.note("line-error", {{"text", reason}});
    unplug();
}

} // namespace sim
