#include "cli/prompt.h"

#include <algorithm>
#include <iterator>

namespace cli {

std::vector<std::string> completionsOf(const std::string &begin,
                                       const std::vector<std::string> &words) {
    std::vector<std::string> found;
    std::copy_if(words.begin(), words.end(), std::back_inserter(found),
                 [&](const std::string &word) { return word.rfind(begin, 0) == 0; });
    return found;
}

} // namespace cli
