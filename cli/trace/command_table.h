#pragma once

#include "cli/trace/form.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace cli {

/// A parameter of one command.
struct ParamMeaning {
    std::uint16_t id;
    const char *name;
    Form form;
};

/// A field at a fixed place; width 0 stands for the rest of the body.
struct FieldMeaning {
    const char *name;
    std::size_t width;
    Form form;
};

/// What the trace knows of one command. Its body is either a row of fields or blocks of parameters.
struct CommandMeaning {
    std::string_view id;
    const char *title;
    std::vector<FieldMeaning> fields;
    std::vector<ParamMeaning> params;
};

/// The command of that identifier, null when it is not known.
const CommandMeaning *findCommand(std::string_view id);

} // namespace cli
