#pragma once

#include <string>
#include <sys/types.h>

namespace robustness {

/// The virtual PIN pad as a process of its own, which can be killed and shares no memory with the
/// host. Its port is a link that the next one takes over.
class DeviceProgram {
public:
    /// Starts it and waits until its port is there. `scenario` is the text of a scenario.
    DeviceProgram(const std::string &folder, const std::string &scenario);
    ~DeviceProgram();
    DeviceProgram(const DeviceProgram &) = delete;
    DeviceProgram &operator=(const DeviceProgram &) = delete;

    const std::string &port() const { return m_port; }
    /// SIGKILL.
    void kill();

private:
    pid_t m_child = 0;
    std::string m_port;
};

/// A folder that is removed with the object.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    const std::string &path() const { return m_path; }

private:
    std::string m_path;
};

} // namespace robustness
