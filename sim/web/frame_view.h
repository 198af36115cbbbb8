#pragma once

#include "sim/wire_log.h"

#include <string>
#include <utility>
#include <vector>

namespace sim::web {

// A frame as the wire pane shows it; all texts are UTF-8.
struct FrameView {
    std::string from;    // "host" or "device"
    std::string framing; // "abecs" or "extension"
    std::string kind;    // "command", "response", "notification", "ack", "noise" ...
    std::string id;      // of the command, with bodies that can be read
    std::string meaning; // of the identifier, empty when it has none
    std::string status;  // of a response
    std::string text;    // the body, with what is not printable as \xNN
    std::string raw;     // the bytes of the line in hexadecimal digits
    // Identifier and value of each parameter.
    std::vector<std::pair<std::string, std::string>> params;
    bool encrypted = false;
};

FrameView view_of(const WireFrame &frame);

} // namespace sim::web
