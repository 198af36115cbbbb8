#include "cli/lines.h"

#include "cli/problem.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <memory>
#include <system_error>
#include <utility>

namespace cli {

std::optional<std::string> Lines::next() {
    std::size_t end = m_pending.find('\n');
    while (end == std::string::npos && m_pending.size() <= LONGEST) {
        const std::string piece = m_read();
        if (piece.empty()) {
            break;
        }
        const std::size_t searched = m_pending.size();
        m_pending += piece;
        end = m_pending.find('\n', searched);
    }
    if (std::min(end, m_pending.size()) > LONGEST) {
        throw UsageError("The line has more than " + std::to_string(LONGEST) + " bytes.");
    }
    if (end == std::string::npos) {
        return m_pending.empty() ? std::nullopt : std::optional(std::exchange(m_pending, {}));
    }
    std::string line = m_pending.substr(0, end);
    m_pending.erase(0, end + 1);
    return line;
}

Lines::Read readerOf(const std::string &path) {
    const auto file = std::make_shared<std::ifstream>(path, std::ios::binary);
    return [file] {
        errno = 0;
        // Takes what one call of the system brings: a pipe may have a line and nothing more yet.
        file->peek();
        if (file->bad() || !file->is_open()) {
            throw std::system_error(errno, std::generic_category(), "The file cannot be read");
        }
        std::array<char, 4096> bytes;
        const std::streamsize count = file->readsome(bytes.data(), bytes.size());
        return std::string(bytes.data(), static_cast<std::size_t>(count));
    };
}

} // namespace cli
