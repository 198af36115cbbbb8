#pragma once

#include "cli/trace/form.h"

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace cli {

/// The width of a field that takes the rest of the body, and is not there when nothing is left.
inline constexpr std::size_t REST = 0;

/// A field of an extension command or its answer.
struct ExtensionField {
    const char *name;
    std::size_t width;
    Form form;
    bool secret = false;
    /// Where it stands, the place in the list of the decimal field that holds the width instead.
    std::optional<std::size_t> widthIn = std::nullopt;
};

/// One form of a command. Where a command has several, a letter in the body tells which it is.
struct ExtensionRequest {
    const char *title;
    std::vector<ExtensionField> fields;
    std::string_view letters = {};
    std::size_t letterAt = 0;
};

/// What the trace knows of one extension command.
struct ExtensionMeaning {
    std::string_view id;
    std::vector<ExtensionRequest> requests;
    bool hasStatus; ///< whether the answer begins with the status of the MIFARE commands
    std::vector<ExtensionField> answer;
};

/// The command of that identifier, null when it is not known.
const ExtensionMeaning *findExtension(std::string_view id);

/// The form that this body has, null when it has none of them.
const ExtensionRequest *findRequest(const ExtensionMeaning &command, std::string_view body);

} // namespace cli
