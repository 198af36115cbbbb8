#include "cli/terminal.h"

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <io.h>

namespace cli {

bool isTerminal(Stream stream) {
    switch (stream) {
    case Stream::Input:
        return _isatty(_fileno(stdin)) != 0;
    case Stream::Output:
        return _isatty(_fileno(stdout)) != 0;
    case Stream::Error:
        break;
    }
    return _isatty(_fileno(stderr)) != 0;
}

void occupyStandardStreams() {}

std::size_t errorColumns() {
    return 80;
}

std::FILE *openPrivateFile(const std::string &path) {
    std::FILE *file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        throw std::runtime_error(std::generic_category().message(errno));
    }
    return file;
}

std::string readInput() {
    std::array<char, 4096> bytes;
    const int count = _read(_fileno(stdin), bytes.data(), static_cast<unsigned>(bytes.size()));
    if (count < 0) {
        throw std::system_error(errno, std::generic_category(), "Standard input cannot be read");
    }
    return {bytes.data(), static_cast<std::size_t>(count)};
}

std::string portPath(const std::string &port) {
    return port;
}

std::string portRefusal(const std::string &) {
    return "";
}

} // namespace cli
