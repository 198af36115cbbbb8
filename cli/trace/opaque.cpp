#include "cli/trace/opaque.h"

#include "cli/trace/body_reader.h"

namespace cli {

Told tellOpaque(const std::string &what, const AbecsLinkEvent &event, bool reveal) {
    Told told;
    told.head.words = what;
    ToldLine line;
    line.words = byteCount(event.wireLength);
    if (reveal) {
        line.bytes.assign(event.wire, event.wire + event.wireLength);
    } else {
        line.masked = event.wireLength;
    }
    told.lines.push_back(std::move(line));
    return told;
}

} // namespace cli
