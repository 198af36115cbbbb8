#include "sim/hold_watch.h"

#include <boost/asio/buffer.hpp>

#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <system_error>
#include <utility>

namespace sim {

namespace {

// How many open descriptors of one process stand for the path.
std::size_t open_in_process(const std::filesystem::path &process, const std::string &path) {
    std::size_t count = 0;
    std::error_code error;
    std::filesystem::directory_iterator entries(process / "fd", error);
    for (; !error && entries != std::filesystem::directory_iterator(); entries.increment(error)) {
        std::error_code vanished;
        if (std::filesystem::read_symlink(entries->path(), vanished) == path) {
            ++count;
        }
    }
    return count;
}

// Whether anybody but the one descriptor of the device has the path open. Processes of other users
// cannot be looked into; their hold is guarded by the lock that they have on the port besides.
bool held_by_a_host(const std::string &path) {
    std::size_t count = 0;
    std::error_code error;
    std::filesystem::directory_iterator entries("/proc", error);
    for (; !error && entries != std::filesystem::directory_iterator(); entries.increment(error)) {
        const std::string name = entries->path().filename().string();
        if (name.find_first_not_of("0123456789") == std::string::npos) {
            count += open_in_process(entries->path(), path);
        }
    }
    return count > 1;
}

} // namespace

struct HoldWatch::Events {
    Events(boost::asio::io_context &io, int fd) : stream(io, fd) {}
    boost::asio::posix::stream_descriptor stream;
    alignas(inotify_event) std::array<std::uint8_t, 4096> buffer{};
};

HoldWatch::HoldWatch(boost::asio::io_context &io, std::string path, int slave_fd)
    : path_(std::move(path)), slave_fd_(slave_fd) {
    const int fd = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    // Watches are a scarce thing of the system. The device does its work without this one.
    if (fd < 0) {
        return;
    }
    if (::inotify_add_watch(fd, path_.c_str(), IN_CLOSE) < 0) {
        ::close(fd);
        return;
    }
    events_ = std::make_shared<Events>(io, fd);
    await_close();
}

HoldWatch::~HoldWatch() {
    if (events_ == nullptr) {
        return;
    }
    boost::system::error_code ignored;
    events_->stream.close(ignored);
}

void HoldWatch::await_close() {
    events_->stream.async_read_some(
        boost::asio::buffer(events_->buffer),
        [this, weak = std::weak_ptr<Events>(events_),
         kept = events_](const boost::system::error_code &error, std::size_t) mutable {
            kept.reset();
            if (error || weak.expired()) {
                return;
            }
            int exclusive = 0;
            if (::ioctl(slave_fd_, TIOCGEXCL, &exclusive) == 0 && exclusive != 0 &&
                !held_by_a_host(path_)) {
                ::ioctl(slave_fd_, TIOCNXCL);
            }
            await_close();
        });
}

} // namespace sim
