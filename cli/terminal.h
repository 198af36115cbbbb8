#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

/// What the tool needs to know of the terminal and the system.

namespace cli {

enum class Stream { Input, Output, Error };

bool isTerminal(Stream stream);

/// Gives standard streams that are closed a place where nothing can be written, so that no port or
/// file that is opened later takes it. Before anything else.
void occupyStandardStreams();

/// Columns of the terminal that standard error is.
std::size_t errorColumns();

/// Opens a file for writing that only its owner may read; the caller closes it. Symbolic links,
/// files that have another name as well, and what somebody else owns are left alone: a name in a
/// folder that many may write to could be a trap. Windows does not look. Throws std::runtime_error,
/// which says why it cannot be done.
std::FILE *openPrivateFile(const std::string &path);

/// Waits for what standard input has and reads it; nothing at its end. Throws
/// std::system_error when it cannot be read and, save on Windows, Interrupted when Ctrl-C comes
/// while it waits.
std::string readInput();

/// Why a port cannot be used although it is there, when the system tells: "" when it does not.
std::string portRefusal(const std::string &port);

/// The path behind the name of a port, for texts that name a file.
std::string portPath(const std::string &port);

} // namespace cli
