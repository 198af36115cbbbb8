#pragma once

#include "tests/support/stopwatch.h"

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
    Pty() : m_master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        if (m_master < 0 || grantpt(m_master) != 0 || unlockpt(m_master) != 0) {
            throw std::runtime_error("no pseudo-terminal");
        }
        m_name = ptsname(m_master);
    }
    ~Pty() { hangUp(); }
    Pty(const Pty &) = delete;
    Pty &operator=(const Pty &) = delete;

    const char *name() const { return m_name.c_str(); }
    int master() const { return m_master; }

    void hangUp() {
        if (m_master >= 0) {
            close(m_master);
            m_master = -1;
        }
    }

    void send(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t sent = write(m_master, bytes.data(), bytes.size());
            if (sent > 0) {
                bytes.remove_prefix(static_cast<std::size_t>(sent));
            } else if (sent < 0 && errno != EINTR) {
                throw std::runtime_error("cannot send");
            }
        }
    }

    /// What arrives, up to so many bytes; fewer when none comes for a minute.
    std::string receive(std::size_t count) {
        std::string received;
        while (received.size() < count) {
            pollfd waitedFor{m_master, POLLIN, 0};
            const int ready = poll(&waitedFor, 1, 60'000);
            char chunk[4096];
            const std::size_t wanted = std::min(sizeof chunk, count - received.size());
            const ssize_t got = ready > 0 ? read(m_master, chunk, wanted) : ready;
            if (got < 0 && errno == EINTR) {
                continue;
            }
            if (got <= 0) {
                break;
            }
            received.append(chunk, static_cast<std::size_t>(got));
        }
        return received;
    }

    /// True when nothing is there to be received.
    bool silent() const {
        pollfd waitedFor{m_master, POLLIN, 0};
        return poll(&waitedFor, 1, 50) == 0;
    }

    /// The line settings, as the far end sees them.
    termios settings() const {
        termios attributes{};
        if (tcgetattr(m_master, &attributes) != 0) {
            throw std::runtime_error("no settings");
        }
        return attributes;
    }

private:
    int m_master;
    std::string m_name;
};

/// Waits up to a minute for the condition to hold.
template <typename Condition>
bool eventually(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        usleep(1000);
    }
    return true;
}
