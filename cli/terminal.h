#pragma once

#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>

/// What the tool needs to know of the terminal and the system.

namespace cli {

enum class Stream { Input, Output, Error };

bool isTerminal(Stream stream);

/// Columns of the terminal that standard error is.
std::size_t errorColumns();

/// Opens a file for writing that only its owner may read; the caller closes it. Symbolic links, and
/// files that somebody else owns, are left alone: a name in a folder that many may write to could
/// be theirs. Throws std::runtime_error, which says why it cannot be done.
std::FILE *openPrivateFile(const std::string &path);

/// Reads standard input line by line.
class InputLines {
public:
    /// The next line without its end; nothing at the end of the input. Throws Interrupted when
    /// Ctrl-C comes while it waits.
    std::optional<std::string> next();

private:
    bool readMore();

    std::string m_pending;
    bool m_ended = false;
};

/// Why a port cannot be used although it is there, when the system tells: "" when it does not.
std::string portRefusal(const std::string &port);

/// The path behind the name of a port, for texts that name a file.
std::string portPath(const std::string &port);

} // namespace cli
