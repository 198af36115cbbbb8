#include "tests/robustness/device_program.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace robustness {

namespace {

constexpr int START_MILLIS = 10000;

void writeFile(const std::string &path, const std::string &text) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    const bool written =
        ::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    ::close(file);
    if (!written) {
        throw std::runtime_error("cannot write " + path);
    }
}

// The program writes the name of its port first, once everything is ready.
void waitForFirstLine(int output) {
    char c = 0;
    pollfd watched{output, POLLIN, 0};
    while (c != '\n') {
        if (::poll(&watched, 1, START_MILLIS) != 1 || ::read(output, &c, 1) != 1) {
            throw std::runtime_error("the virtual PIN pad does not start");
        }
    }
}

} // namespace

DeviceProgram::DeviceProgram(const std::string &folder, const std::string &scenario)
    : m_port(folder + "/port") {
    const std::string file = folder + "/scenario";
    writeFile(file, scenario);
    // Left behind by one that was killed.
    std::filesystem::remove(m_port);
    int output[2];
    if (::pipe2(output, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    m_child = ::fork();
    if (m_child == 0) {
        ::dup2(output[1], STDOUT_FILENO);
        ::execl(PINPAD_SIM_PROGRAM, PINPAD_SIM_PROGRAM, "--quiet", "--link", m_port.c_str(),
                "--scenario", file.c_str(), nullptr);
        ::_exit(127);
    }
    ::close(output[1]);
    waitForFirstLine(output[0]);
    ::close(output[0]);
}

DeviceProgram::~DeviceProgram() {
    kill();
}

void DeviceProgram::kill() {
    if (m_child > 0) {
        ::kill(m_child, SIGKILL);
        ::waitpid(m_child, nullptr, 0);
        m_child = 0;
    }
}

TemporaryFolder::TemporaryFolder() {
    m_path = (std::filesystem::temp_directory_path() / "robustness-XXXXXX").string();
    if (::mkdtemp(m_path.data()) == nullptr) {
        throw std::runtime_error("no folder");
    }
}

TemporaryFolder::~TemporaryFolder() {
    std::filesystem::remove_all(m_path);
}

} // namespace robustness
