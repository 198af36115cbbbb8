#include "cli/interrupt_posix.h"
#include "cli/problem.h"
#include "cli/terminal.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cli {

namespace {

constexpr std::size_t USUAL_COLUMNS = 80;

// Closes a descriptor that nobody has taken over.
class Descriptor {
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    int get() const { return m_fd; }
    void release() { m_fd = -1; }

private:
    int m_fd;
};

int descriptor(Stream stream) {
    switch (stream) {
    case Stream::Input:
        return STDIN_FILENO;
    case Stream::Output:
        return STDOUT_FILENO;
    case Stream::Error:
        break;
    }
    return STDERR_FILENO;
}

} // namespace

bool isTerminal(Stream stream) {
    return ::isatty(descriptor(stream)) == 1;
}

void occupyStandardStreams() {
    int fd = 0;
    do {
        fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    } while (fd >= 0 && fd <= STDERR_FILENO);
    if (fd >= 0) {
        ::close(fd);
    }
}

std::size_t errorColumns() {
    winsize size{};
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) {
        return USUAL_COLUMNS;
    }
    return size.ws_col;
}

std::FILE *openPrivateFile(const std::string &path) {
    // Somebody else's pipe must not be waited for.
    Descriptor file(::open(path.c_str(),
                           O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC,
                           S_IRUSR | S_IWUSR));
    if (file.get() < 0 && errno == ELOOP) {
        throw std::runtime_error("it is a symbolic link");
    }
    if (file.get() < 0 && errno == ENXIO) {
        throw std::runtime_error("nothing reads from this pipe");
    }
    struct stat status {};
    if (file.get() < 0 || ::fstat(file.get(), &status) != 0) {
        throw std::runtime_error(std::strerror(errno));
    }
    // A terminal, or /dev/null, is the system's, which says who may write to it.
    if (!S_ISCHR(status.st_mode) && status.st_uid != ::geteuid()) {
        throw std::runtime_error("it belongs to somebody else");
    }
    if (S_ISREG(status.st_mode) && status.st_nlink > 1) {
        throw std::runtime_error("the file has another name as well");
    }
    ::fcntl(file.get(), F_SETFL, 0);
    // A file that was there keeps its rights; a pipe or a terminal has none to take away.
    if (S_ISREG(status.st_mode)) {
        ::fchmod(file.get(), S_IRUSR | S_IWUSR);
    }
    if (S_ISREG(status.st_mode) && ::ftruncate(file.get(), 0) != 0) {
        throw std::runtime_error(std::strerror(errno));
    }
    std::FILE *stream = ::fdopen(file.get(), "w");
    if (stream == nullptr) {
        throw std::runtime_error(std::strerror(errno));
    }
    file.release();
    return stream;
}

std::string readInput() {
    std::array<char, 4096> bytes;
    ssize_t count = 0;
    do {
        if (waitForInput(STDIN_FILENO) == InputReady::Interrupted) {
            throw Interrupted{};
        }
        count = ::read(STDIN_FILENO, bytes.data(), bytes.size());
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        throw std::system_error(errno, std::generic_category(), "Standard input cannot be read");
    }
    return {bytes.data(), static_cast<std::size_t>(count)};
}

std::string portPath(const std::string &port) {
    return port.rfind('/', 0) == 0 ? port : "/dev/" + port;
}

std::string portRefusal(const std::string &port) {
    if (::access(portPath(port).c_str(), R_OK | W_OK) == 0) {
        return "";
    }
    return std::strerror(errno);
}

} // namespace cli
