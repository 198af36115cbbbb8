#include "tests/support/peer.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <system_error>
#include <termios.h>
#include <unistd.h>
#include <utility>

namespace peer {

namespace {

constexpr std::chrono::seconds PATIENCE{60};

[[noreturn]] void fail(const char *what) {
    throw std::system_error(errno, std::generic_category(), what);
}

} // namespace

Bytes bytes(const std::string &text) {
    return {text.begin(), text.end()};
}

Bytes operator+(Bytes left, const Bytes &right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

std::string hex(const Bytes &bytes) {
    static constexpr char DIGITS[] = "0123456789ABCDEF";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        if (!text.empty()) {
            text += ' ';
        }
        text += DIGITS[byte >> 4];
        text += DIGITS[byte & 0x0F];
    }
    return text;
}

Peer::Peer() : m_master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    char name[128];
    if (m_master < 0 || grantpt(m_master) != 0 || unlockpt(m_master) != 0 ||
        ptsname_r(m_master, name, sizeof name) != 0) {
        fail("pseudo terminal");
    }
    m_port = name;
    // Held open so that the master does not see a hang-up between two users of the port.
    m_slave = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios line{};
    if (m_slave < 0 || tcgetattr(m_slave, &line) != 0) {
        fail("pseudo terminal");
    }
    cfmakeraw(&line);
    if (tcsetattr(m_slave, TCSANOW, &line) != 0) {
        fail("tcsetattr");
    }
}

Peer::~Peer() {
    if (m_thread.joinable()) {
        m_thread.join();
    }
    hangUp();
}

void Peer::play(std::function<void(Peer &)> script) {
    m_thread = std::thread([this, script = std::move(script)] {
        try {
            script(*this);
        } catch (...) {
            m_failure = std::current_exception();
        }
    });
}

void Peer::finish() {
    if (m_thread.joinable()) {
        m_thread.join();
    }
    if (m_failure) {
        std::rethrow_exception(std::exchange(m_failure, nullptr));
    }
}

std::size_t Peer::waiting() const {
    int count = 0;
    if (ioctl(m_master, FIONREAD, &count) != 0) {
        fail("FIONREAD");
    }
    return static_cast<std::size_t>(count);
}

bool Peer::readable(std::chrono::milliseconds time) {
    pollfd line{m_master, POLLIN, 0};
    return poll(&line, 1, static_cast<int>(time.count())) > 0 && (line.revents & POLLIN) != 0;
}

Bytes Peer::read(std::size_t count) {
    Bytes received;
    while (received.size() < count) {
        if (!readable(PATIENCE)) {
            throw std::runtime_error("expected " + std::to_string(count) +
                                     " bytes, received only " + hex(received));
        }
        std::uint8_t byte = 0;
        if (::read(m_master, &byte, 1) != 1) {
            fail("read");
        }
        received.push_back(byte);
    }
    return received;
}

void Peer::expect(const Bytes &expected) {
    const Bytes received = read(expected.size());
    if (received != expected) {
        throw std::runtime_error("expected " + hex(expected) + ", received " + hex(received));
    }
}

void Peer::expectSilence(std::chrono::milliseconds time) {
    if (readable(time)) {
        throw std::runtime_error("expected silence, received " + hex(read(1)));
    }
}

void Peer::write(const Bytes &bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t written = ::write(m_master, bytes.data() + done, bytes.size() - done);
        if (written < 0) {
            fail("write");
        }
        done += static_cast<std::size_t>(written);
    }
}

void Peer::pause(std::chrono::milliseconds time) {
    std::this_thread::sleep_for(time);
}

void Peer::hangUp() {
    for (int *fd : {&m_slave, &m_master}) {
        if (*fd >= 0) {
            close(*fd);
            *fd = -1;
        }
    }
}

} // namespace peer
