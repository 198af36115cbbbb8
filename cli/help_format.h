#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace cli {

/// A validator that does not appear in the help.
inline CLI::Validator quietly(CLI::Validator validator) {
    return validator.description("");
}

/// Numbers of 0 to the limit.
inline CLI::Validator upTo(unsigned limit) {
    return quietly(CLI::Range(0U, limit));
}

/// The layout of the help texts.
class HelpFormatter : public CLI::Formatter {
public:
    std::string make_option_name(const CLI::Option *option, bool isPositional) const override {
        std::string name = CLI::Formatter::make_option_name(option, isPositional);
        // A flag that may carry a value.
        const std::size_t braces = name.find("{}");
        return braces == std::string::npos ? name : name.replace(braces, 2, "[=FILE]");
    }
};

} // namespace cli
