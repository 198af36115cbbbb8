#include "cli/problem.h"
#include "cli/terminal.h"

#include <iostream>

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
    return std::fopen(path.c_str(), "wb");
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
