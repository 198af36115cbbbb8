#include "cli/trace/extension_frame.h"

#include "cli/trace/body_reader.h"
#include "cli/trace/extension_decoder.h"
#include "cli/trace/opaque.h"
#include "cli/trace/row_lines.h"

#include <algorithm>
#include <string_view>

namespace cli {

namespace {

constexpr std::size_t STX_SIZE = 1;
constexpr std::size_t LENGTH_SIZE = 2;
constexpr std::size_t HEADER_SIZE = STX_SIZE + LENGTH_SIZE;
constexpr std::size_t ETX_SIZE = 1;
constexpr std::size_t CHECK_SIZE = 1;
constexpr std::size_t AROUND_BODY = HEADER_SIZE + ETX_SIZE + CHECK_SIZE;

bool carriesItsBody(const AbecsLinkEvent &event) {
    return event.body != nullptr && event.wireLength == event.bodyLength + AROUND_BODY &&
           std::equal(event.body, event.body + event.bodyLength, event.wire + HEADER_SIZE);
}

// The receiver ignores the length, so a wrong one is worth telling.
std::string lengthInWords(const AbecsLinkEvent &event) {
    const std::size_t length = static_cast<std::size_t>(event.wire[1]) << 8U | event.wire[2];
    const std::string text = "length " + std::to_string(length);
    return length == event.wireLength
               ? text
               : text + ", the frame has " + std::to_string(event.wireLength);
}

} // namespace

Told tellExtensionFrame(const AbecsLinkEvent &event, bool reveal) {
    if (!carriesItsBody(event)) {
        return tellOpaque("frame that does not carry its body", event, reveal);
    }
    const std::string_view body(reinterpret_cast<const char *>(event.body), event.bodyLength);
    const DecodedBody decoded = event.direction == ABECS_LINK_TO_DEVICE
                                    ? decodeExtensionRequest(body)
                                    : decodeExtensionAnswer(body);
    const std::uint8_t *trailer = event.wire + HEADER_SIZE + event.bodyLength;
    Told told;
    told.head.words = decoded.title;
    told.lines.push_back({"STX", {event.wire[0]}, 0});
    told.lines.push_back({lengthInWords(event), {event.wire[1], event.wire[2]}, 0});
    const std::vector<WireBytes> carriers = eachByteAlone(body);
    for (const Row &row : decoded.rows) {
        told.lines.push_back(tellRow(row, carriers, reveal));
    }
    told.lines.push_back({"ETX", {trailer[0]}, 0});
    told.lines.push_back(hasSecrets(decoded) && !reveal ? ToldLine{"check masked", {}, CHECK_SIZE}
                                                        : ToldLine{"check", {trailer[1]}, 0});
    return told;
}

} // namespace cli
