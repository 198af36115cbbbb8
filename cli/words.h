#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace cli {

/// The words of a command line, as a shell reads it: separated by blanks, quoted with '...' (as it
/// is) or "..." (where \" and \\ stand for " and \), a backslash before a character outside quotes,
/// and # where a word would begin starts a comment. Throws UsageError for a quote that is not
/// closed and for a backslash at the end.
std::vector<std::string> splitWords(std::string_view line);

} // namespace cli
