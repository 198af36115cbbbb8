#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace cli {

/// How the bytes of a value are told in words.
enum class Form {
    Binary,     ///< an unsigned number, big-endian
    Characters, ///< characters as they are: digits of a number
    Text,       ///< a quoted text
    Bytes,      ///< how many there are
    MediaInfo   ///< size, CRC and type of a media file
};

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
