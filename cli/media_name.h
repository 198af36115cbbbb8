#pragma once

#include <string>

namespace cli {

/// Images and loaded files are named in ASCII; files to show may have any character of the display.
enum class MediaNameCharacters { Ascii, Latin };

/// The PIN pad's bytes for the name of a stored file. Throws UsageError unless it has 1 to 8
/// characters of the right kind.
std::string mediaName(const std::string &name, MediaNameCharacters characters);

} // namespace cli
