#include "cli/problem.h"
#include "cli/terminal.h"

#include <cerrno>
#include <iostream>
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

std::optional<std::string> InputLines::next() {
    while (readMore()) {
        return std::exchange(m_pending, {});
    }
    return std::nullopt;
}

bool InputLines::readMore() {
    m_ended = m_ended || !std::getline(std::cin, m_pending);
    return !m_ended;
}

std::string portPath(const std::string &port) {
    return port;
}

std::string portRefusal(const std::string &) {
    return "";
}

} // namespace cli
