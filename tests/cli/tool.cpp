#include "tests/cli/tool.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tool {

namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

// Longer than any run takes, even under a sanitizer.
constexpr seconds PATIENCE{300};

struct Ends {
    int ours = -1;
    int theirs = -1;
};

Ends openTerminal() {
    Ends ends;
    winsize size{};
    size.ws_col = 80;
    size.ws_row = 24;
    if (openpty(&ends.ours, &ends.theirs, nullptr, nullptr, &size) != 0) {
        throw std::runtime_error("no pseudo terminal");
    }
    return ends;
}

Ends openPipe(bool weRead) {
    int fds[2];
    if (pipe(fds) != 0) {
        throw std::runtime_error("no pipe");
    }
    return weRead ? Ends{fds[0], fds[1]} : Ends{fds[1], fds[0]};
}

void closeEnd(int &fd) {
    if (fd >= 0) {
        ::close(fd);
        fd = -1;
    }
}

[[noreturn]] void becomeTool(const Arguments &arguments, int in, int out, int err) {
    // A terminal that is standard input is the one whose Ctrl-C reaches the tool.
    ::setsid();
    ::ioctl(in, TIOCSCTTY, 0);
    ::dup2(in, STDIN_FILENO);
    ::dup2(out, STDOUT_FILENO);
    ::dup2(err, STDERR_FILENO);
    ::setenv("LC_ALL", "C.UTF-8", 1);
    ::setenv("TERM", "xterm", 1);
    for (int fd = STDERR_FILENO + 1; fd < 256; ++fd) {
        ::close(fd);
    }
    std::vector<char *> argv = {const_cast<char *>("pinpad")};
    for (const std::string &argument : arguments) {
        argv.push_back(const_cast<char *>(argument.c_str()));
    }
    argv.push_back(nullptr);
    ::execv(PINPAD_TOOL, argv.data());
    ::_exit(127);
}

} // namespace

Tool::Tool(const Arguments &arguments, Terminal terminal) {
    Ends in;
    Ends out;
    Ends err;
    if (terminal == Terminal::All) {
        in = out = err = openTerminal();
    } else {
        in = openPipe(false);
        out = openPipe(true);
        err = terminal == Terminal::Error ? openTerminal() : openPipe(true);
    }
    m_pid = ::fork();
    if (m_pid == 0) {
        becomeTool(arguments, in.theirs, out.theirs, err.theirs);
    }
    ::close(in.theirs);
    if (terminal != Terminal::All) {
        ::close(out.theirs);
        ::close(err.theirs);
        m_error = err.ours;
    }
    m_input = in.ours;
    m_output = out.ours;
}

Tool::~Tool() {
    if (m_pid > 0) {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    if (m_input != m_output) {
        closeEnd(m_input);
    }
    closeEnd(m_output);
    closeEnd(m_error);
}

void Tool::type(const std::string &text) {
    if (::write(m_input, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        throw std::runtime_error("the tool takes no input");
    }
}

void Tool::closeOutput() {
    closeEnd(m_output);
}

void Tool::signal(int number) {
    ::kill(m_pid, number);
}

void Tool::readSome(milliseconds wait) {
    std::array<pollfd, 2> watched{{{m_output, POLLIN, 0}, {m_error, POLLIN, 0}}};
    ::poll(watched.data(), watched.size(), static_cast<int>(wait.count()));
    const auto take = [](const pollfd &from, int &fd, std::string &to) {
        if (from.revents == 0) {
            return;
        }
        std::array<char, 4096> bytes;
        const ssize_t count = ::read(fd, bytes.data(), bytes.size());
        if (count > 0) {
            to.append(bytes.data(), static_cast<std::size_t>(count));
        } else {
            closeEnd(fd);
        }
    };
    const bool isOneTerminal = m_input == m_output;
    take(watched[0], m_output, m_outcome.out);
    take(watched[1], m_error, m_outcome.err);
    if (isOneTerminal && m_output < 0) {
        m_input = -1;
    }
}

void Tool::waitForOutput(const std::string &text) {
    const auto end = steady_clock::now() + PATIENCE;
    for (;;) {
        const std::size_t at = m_outcome.out.find(text, m_seen);
        if (at != std::string::npos) {
            m_seen = at + text.size();
            return;
        }
        if (steady_clock::now() > end || m_output < 0) {
            throw std::runtime_error("'" + text + "' did not come, but: " + m_outcome.out +
                                     m_outcome.err);
        }
        readSome(milliseconds(100));
    }
}

Outcome Tool::finish() {
    const auto end = steady_clock::now() + PATIENCE;
    if (m_input != m_output) {
        closeEnd(m_input);
    }
    while (m_output >= 0 || m_error >= 0) {
        if (steady_clock::now() > end) {
            throw std::runtime_error("the tool does not end: " + m_outcome.out + m_outcome.err);
        }
        readSome(milliseconds(100));
    }
    int status = 0;
    ::waitpid(m_pid, &status, 0);
    m_pid = -1;
    m_outcome.exit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    m_outcome.time = duration_cast<milliseconds>(steady_clock::now() - m_start);
    return m_outcome;
}

Outcome run(const Arguments &arguments, const std::string &input) {
    Tool tool(arguments);
    tool.type(input);
    return tool.finish();
}

TemporaryFile::TemporaryFile(const std::string &content, const std::string &suffix)
    : m_path("/tmp/pinpad-cli-test-XXXXXX" + suffix) {
    const int fd = ::mkstemps(m_path.data(), static_cast<int>(suffix.size()));
    if (fd < 0) {
        throw std::runtime_error("no temporary file");
    }
    ::close(fd);
    std::ofstream(m_path, std::ios::binary) << content;
}

TemporaryFile::~TemporaryFile() {
    ::unlink(m_path.c_str());
}

std::string TemporaryFile::content() const {
    return readFile(m_path);
}

Folder::Folder() {
    if (::mkdtemp(m_path.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
}

Folder::~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

void Folder::write(const std::string &name, const std::string &content) const {
    std::ofstream(m_path + "/" + name, std::ios::binary) << content;
}

Outcome Folder::shell(const std::string &line) const {
    const TemporaryFile errors;
    const std::string tools = std::filesystem::path(PINPAD_TOOL).parent_path().string();
    const std::string whole =
        "cd " + m_path + " && PATH=" + tools + ":$PATH && {\n" + line + "\n} 2>" + errors.path();
    Outcome outcome;
    std::FILE *pipe = ::popen(whole.c_str(), "r");
    std::array<char, 4096> bytes;
    while (const std::size_t count = std::fread(bytes.data(), 1, bytes.size(), pipe)) {
        outcome.out.append(bytes.data(), count);
    }
    const int status = ::pclose(pipe);
    outcome.exit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    outcome.err = errors.content();
    return outcome;
}

std::string readFile(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw std::runtime_error("cannot read " + path);
    }
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::vector<std::string> linesOf(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string settledTrace(const std::string &trace) {
    static const std::regex hexByte(" [0-9A-F]{2}(?= |$)");
    std::string result;
    bool inModulus = false;
    bool crcIsOverIt = false;
    for (const std::string &line : linesOf(trace)) {
        const auto begins = [&line](const std::string &with) { return line.rfind(with, 0) == 0; };
        inModulus = begins("   modulus 512 bytes") || (inModulus && begins(std::string(44, ' ')));
        crcIsOverIt = inModulus || (crcIsOverIt && begins("   "));
        const bool isCrc = crcIsOverIt && begins("   CRC");
        result += inModulus || isCrc ? std::regex_replace(line, hexByte, " ..") : line;
        result += '\n';
    }
    return result;
}

} // namespace tool
