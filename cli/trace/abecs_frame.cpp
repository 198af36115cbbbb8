#include "cli/trace/abecs_frame.h"

#include "cli/trace/body_reader.h"
#include "cli/trace/command_decoder.h"
#include "cli/trace/opaque.h"
#include "cli/trace/response_decoder.h"
#include "cli/trace/row_lines.h"

#include <optional>
#include <string_view>

namespace cli {

namespace {

constexpr std::uint8_t DC3 = 0x13;
constexpr std::uint8_t STUFFING_OFFSET = 0x20;
constexpr std::size_t SYN_SIZE = 1;
constexpr std::size_t MARKER_SIZE = 1;
constexpr std::size_t TRAILER_SIZE = 3;

// A frame of the line in its parts.
struct FrameParts {
    WireBytes syn;
    WireBytes marker;
    WireBytes data; // as on the line, stuffed
    WireBytes etb;
    WireBytes crc;
};

std::optional<FrameParts> split(const AbecsLinkEvent &event) {
    const std::size_t markerSize = event.encrypted ? MARKER_SIZE : 0;
    if (event.wireLength < SYN_SIZE + markerSize + TRAILER_SIZE) {
        return std::nullopt;
    }
    const std::uint8_t *data = event.wire + SYN_SIZE + markerSize;
    const std::uint8_t *trailer = event.wire + event.wireLength - TRAILER_SIZE;
    return FrameParts{WireBytes(event.wire, event.wire + SYN_SIZE),
                      WireBytes(event.wire + SYN_SIZE, data), WireBytes(data, trailer),
                      WireBytes(trailer, trailer + 1),
                      WireBytes(trailer + 1, trailer + TRAILER_SIZE)};
}

// The bytes of the line that carry each byte of the body; nothing unless they carry this body.
std::optional<std::vector<WireBytes>> pairWithWire(const WireBytes &data, std::string_view body) {
    std::vector<WireBytes> carriers;
    for (std::size_t at = 0; at < data.size(); ++at) {
        WireBytes carrier = {data[at]};
        std::uint8_t carried = data[at];
        if (carried == DC3 && at + 1 < data.size()) {
            ++at;
            carrier.push_back(data[at]);
            carried = static_cast<std::uint8_t>(data[at] - STUFFING_OFFSET);
        }
        if (carriers.size() == body.size() ||
            carried != static_cast<std::uint8_t>(body[carriers.size()])) {
            return std::nullopt;
        }
        carriers.push_back(std::move(carrier));
    }
    return carriers.size() == body.size() ? std::optional(carriers) : std::nullopt;
}

void addTrailer(Told &told, const FrameParts &parts, bool maskCrc) {
    told.lines.push_back({"ETB", parts.etb, 0});
    told.lines.push_back(maskCrc ? ToldLine{"CRC masked", {}, parts.crc.size()}
                                 : ToldLine{"CRC", parts.crc, 0});
}

Told tellPlain(const FrameParts &parts, const DecodedBody &decoded,
               const std::vector<WireBytes> &carriers, bool reveal) {
    Told told;
    told.head.words = decoded.title;
    told.lines.push_back({"SYN", parts.syn, 0});
    for (const Row &row : decoded.rows) {
        told.lines.push_back(tellRow(row, carriers, reveal));
    }
    addTrailer(told, parts, hasSecrets(decoded) && !reveal);
    return told;
}

Told tellEncrypted(const FrameParts &parts, const DecodedBody &decoded, std::string_view body,
                   bool reveal) {
    Told told;
    told.head.words = decoded.title + ", encrypted";
    told.lines.push_back({"SYN", parts.syn, 0});
    told.lines.push_back({"DC2", parts.marker, 0});
    told.lines.push_back({"payload " + byteCount(parts.data.size()), parts.data, 0});
    addTrailer(told, parts, false);
    told.lines.push_back({"in clear:", {}, 0});
    const std::vector<WireBytes> carriers = eachByteAlone(body);
    for (const Row &row : decoded.rows) {
        told.lines.push_back(tellRow(row, carriers, reveal));
    }
    return told;
}

} // namespace

Told tellAbecsFrame(const AbecsLinkEvent &event, bool reveal) {
    const std::optional<FrameParts> parts = split(event);
    if (!parts || event.body == nullptr) {
        return tellOpaque("frame that could not be decrypted", event, reveal);
    }
    const std::string_view body(reinterpret_cast<const char *>(event.body), event.bodyLength);
    const DecodedBody decoded =
        event.direction == ABECS_LINK_TO_DEVICE ? decodeCommand(body) : decodeResponse(body);
    if (event.encrypted) {
        return tellEncrypted(*parts, decoded, body, reveal);
    }
    const auto carriers = pairWithWire(parts->data, body);
    if (!carriers) {
        return tellOpaque("frame that does not carry its body", event, reveal);
    }
    return tellPlain(*parts, decoded, *carriers, reveal);
}

} // namespace cli
