#pragma once

#include <functional>
#include <optional>
#include <string>

namespace cli {

/// The lines of a text that is read piece by piece.
class Lines {
public:
    /// Reads a piece, nothing at the end of the text.
    using Read = std::function<std::string()>;

    /// How many bytes a line may have.
    static constexpr std::size_t LONGEST = 65536;

    explicit Lines(Read read) : m_read(std::move(read)) {}

    /// The next line without its end; nothing after the last one. Throws UsageError when it is
    /// longer than LONGEST, and what reading throws.
    std::optional<std::string> next();

private:
    Read m_read;
    std::string m_pending;
};

/// Reads a file. Throws std::system_error when that fails.
Lines::Read readerOf(const std::string &path);

} // namespace cli
