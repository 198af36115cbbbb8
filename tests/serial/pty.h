#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

/// A pseudo-terminal: a line whose far end the test holds.
class Pty {
public:
    Pty() : master_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0) {
            throw std::runtime_error("no pseudo-terminal");
        }
        name_ = ptsname(master_);
    }
    ~Pty() { hangUp(); }
    Pty(const Pty &) = delete;
    Pty &operator=(const Pty &) = delete;

    const char *name() const { return name_.c_str(); }
    int master() const { return master_; }

    void hangUp() {
        if (master_ >= 0) {
            close(master_);
            master_ = -1;
        }
    }

    void send(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t sent = write(master_, bytes.data(), bytes.size());
            if (sent > 0) {
                bytes.remove_prefix(static_cast<std::size_t>(sent));
            } else if (sent < 0 && errno != EINTR) {
                throw std::runtime_error("cannot send");
            }
        }
    }

    /// What arrives, up to so many bytes; fewer when none comes for five seconds.
    std::string receive(std::size_t count) {
        std::string received;
        while (received.size() < count) {
            pollfd waitedFor{master_, POLLIN, 0};
            if (poll(&waitedFor, 1, 5000) != 1) {
                break;
            }
            char chunk[4096];
            const std::size_t wanted = std::min(sizeof chunk, count - received.size());
            const ssize_t got = read(master_, chunk, wanted);
            if (got <= 0) {
                break;
            }
            received.append(chunk, static_cast<std::size_t>(got));
        }
        return received;
    }

    /// True when nothing is there to be received.
    bool silent() const {
        pollfd waitedFor{master_, POLLIN, 0};
        return poll(&waitedFor, 1, 50) == 0;
    }

    /// The line settings, as the far end sees them.
    termios settings() const {
        termios attributes{};
        if (tcgetattr(master_, &attributes) != 0) {
            throw std::runtime_error("no settings");
        }
        return attributes;
    }

private:
    int master_;
    std::string name_;
};

/// Milliseconds since it was made.
class Stopwatch {
public:
    double millis() const {
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start_)
            .count();
    }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

/// Waits up to five seconds for the condition to hold.
template <typename Condition>
bool eventually(Condition condition) {
    const Stopwatch watch;
    while (!condition()) {
        if (watch.millis() > 5000) {
            return false;
        }
        usleep(1000);
    }
    return true;
}
