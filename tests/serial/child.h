#pragma once

#include "core/guard.h"

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <grp.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

/// Runs bodies in other processes, which hand back a text through a pipe.
namespace child {

struct Pipe {
    Pipe() {
        if (pipe2(ends, O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
    }
    ~Pipe() {
        closeEnd(0);
        closeEnd(1);
    }
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;

    void closeEnd(int end) {
        if (ends[end] >= 0) {
            close(ends[end]);
            ends[end] = -1;
        }
    }

    void put(const std::string &text) const {
        if (write(ends[1], text.data(), text.size()) < 0) {
            _exit(1);
        }
    }

    /// Everything until the last writer is gone.
    std::string readAll() {
        closeEnd(1);
        std::string text;
        std::array<char, 512> chunk;
        for (ssize_t got = 0; (got = read(ends[0], chunk.data(), chunk.size())) > 0;) {
            text.append(chunk.data(), static_cast<std::size_t>(got));
        }
        return text;
    }

    int ends[2] = {-1, -1};
};

/// The message of what the body raises, "nothing" when it raises nothing.
template <typename Body>
std::string messageOf(Body body) {
    const PclException failure = pcl_attempt(body);
    return failure ? failure.message : "nothing";
}

template <typename Body>
pid_t start(Body body) {
    const pid_t pid = fork();
    if (pid < 0) {
        throw std::runtime_error("no process");
    }
    if (pid == 0) {
        alarm(30);
        body();
        _exit(0);
    }
    return pid;
}

/// Runs the body in a process without privileges and returns the text it yields.
template <typename Body>
std::string unprivileged(Body body) {
    constexpr uid_t NOBODY = 65534;
    Pipe result;
    const pid_t pid = start([&] {
        if (geteuid() == 0 &&
            (setgroups(0, nullptr) != 0 || setgid(NOBODY) != 0 || setuid(NOBODY) != 0)) {
            result.put("privileges kept");
            return;
        }
        result.put(body());
    });
    const std::string text = result.readAll();
    waitpid(pid, nullptr, 0);
    return text;
}

/// Runs the body in an orphaned background job on the open terminal: such a process may read the
/// terminal's settings but not change them (EIO).
template <typename Body>
std::string orphanedOn(int terminal, Body body) {
    Pipe result;
    Pipe finished; // its writing ends are gone when the background process is
    const pid_t leader = start([&] {
        setsid();
        if (ioctl(terminal, TIOCSCTTY, 0) != 0) {
            result.put("no controlling terminal");
            return;
        }
        const pid_t parent = start([&] {
            const pid_t deserter = getpid();
            start([&] {
                setpgid(0, 0);
                while (getppid() == deserter) {
                    usleep(1000);
                }
                result.put(body());
            });
        });
        waitpid(parent, nullptr, 0);
        result.closeEnd(1);
        finished.readAll();
    });
    finished.closeEnd(1);
    const std::string text = result.readAll();
    waitpid(leader, nullptr, 0);
    return text;
}

/// A process that holds something as long as this object lives.
class Holder {
public:
    template <typename Body>
    explicit Holder(Body take) {
        m_pid = start([&] {
            m_ready.closeEnd(0);
            m_release.closeEnd(1);
            const std::string text = take();
            m_ready.put(text);
            m_ready.closeEnd(1);
            m_release.readAll();
        });
        m_said = m_ready.readAll();
    }
    ~Holder() {
        m_release.closeEnd(0);
        m_release.closeEnd(1);
        waitpid(m_pid, nullptr, 0);
    }
    Holder(const Holder &) = delete;
    Holder &operator=(const Holder &) = delete;

    /// What the body that took it returned.
    const std::string &said() const { return m_said; }

private:
    Pipe m_ready;
    Pipe m_release;
    pid_t m_pid = -1;
    std::string m_said;
};

} // namespace child
