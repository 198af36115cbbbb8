#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cli {

/// Asks for lines at the terminal, with editing, a history and completion of the words given.
class Prompt {
public:
    virtual ~Prompt() = default;

    /// The line typed, without its end; nothing when the input has ended. Ctrl-C drops what was
    /// typed and gives an empty line.
    virtual std::optional<std::string> ask() = 0;
};

std::unique_ptr<Prompt> makePrompt(const std::string &text, std::vector<std::string> words);

/// The words that begin with this one.
std::vector<std::string> completionsOf(const std::string &begin,
                                       const std::vector<std::string> &words);

} // namespace cli
