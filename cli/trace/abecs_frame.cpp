#include "cli/trace/abecs_frame.h"

#include "cli/trace/body_reader.h"
#include "cli/trace/command_decoder.h"
#include "cli/trace/opaque.h"
#include "cli/trace/response_decoder.h"

#include <algorithm>
#include <optional>
#include <string_view>

namespace cli {

namespace {

constexpr std::uint8_t DC3 = 0x13;
constexpr std::uint8_t STUFFING_OFFSET = 0x20;
constexpr std::size_t SYN_SIZE = 1;
constexpr std::size_t MARKER_SIZE = 1;
constexpr std::size_t TRAILER_SIZE = 3;

using Bytes = std::vector<std::uint8_t>;

// A frame of the line in its parts.
struct FrameParts {
    Bytes syn;
    Bytes marker;
    Bytes data; // as on the line, stuffed
    Bytes etb;
    Bytes crc;
};

std::optional<FrameParts> split(const AbecsLinkEvent &event) {
    const std::size_t markerSize = event.encrypted ? MARKER_SIZE : 0;
    if (event.wireLength < SYN_SIZE + markerSize + TRAILER_SIZE) {
        return std::nullopt;
    }
    const std::uint8_t *data = event.wire + SYN_SIZE + markerSize;
    const std::uint8_t *trailer = event.wire + event.wireLength - TRAILER_SIZE;
    return FrameParts{Bytes(event.wire, event.wire + SYN_SIZE), Bytes(event.wire + SYN_SIZE, data),
                      Bytes(data, trailer), Bytes(trailer, trailer + 1),
                      Bytes(trailer + 1, trailer + TRAILER_SIZE)};
}

// The bytes of the line that carry each byte of the body; nothing unless they carry this body.
std::optional<std::vector<Bytes>> pairWithWire(const Bytes &data, std::string_view body) {
    std::vector<Bytes> carriers;
    for (std::size_t at = 0; at < data.size(); ++at) {
        Bytes carrier = {data[at]};
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

std::vector<Bytes> eachByteAlone(std::string_view body) {
    std::vector<Bytes> carriers;
    for (const char byte : body) {
        carriers.push_back({static_cast<std::uint8_t>(byte)});
    }
    return carriers;
}

ToldLine tellRow(const Row &row, const std::vector<Bytes> &carriers, bool reveal) {
    const bool masked = row.secret && !reveal;
    const std::size_t shownEnd = masked ? row.valueBegin : row.end;
    ToldLine line;
    const std::string value = masked ? "masked" : row.value;
    line.words = row.name + (value.empty() ? "" : " " + value);
    for (std::size_t at = row.begin; at < shownEnd; ++at) {
        line.bytes.insert(line.bytes.end(), carriers[at].begin(), carriers[at].end());
    }
    line.masked = row.end - shownEnd;
    return line;
}

bool hasSecrets(const DecodedBody &decoded) {
    return std::any_of(decoded.rows.begin(), decoded.rows.end(),
                       [](const Row &row) { return row.secret; });
}

void addTrailer(Told &told, const FrameParts &parts, bool maskCrc) {
    told.lines.push_back({"ETB", parts.etb, 0});
    told.lines.push_back(maskCrc ? ToldLine{"CRC masked", {}, parts.crc.size()}
                                 : ToldLine{"CRC", parts.crc, 0});
}

Told tellPlain(const FrameParts &parts, const DecodedBody &decoded,
               const std::vector<Bytes> &carriers, bool reveal) {
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
    const std::vector<Bytes> carriers = eachByteAlone(body);
    for (const Row &row : decoded.rows) {
        told.lines.push_back(tellRow(row, carriers, reveal));
    }
    return told;
}

} // namespace

Told tellAbecsFrame(const AbecsLinkEvent &event, const Names &names, bool reveal) {
    const std::optional<FrameParts> parts = split(event);
    if (!parts || event.body == nullptr) {
        return tellOpaque("frame that could not be decrypted", event, reveal);
    }
    const std::string_view body(reinterpret_cast<const char *>(event.body), event.bodyLength);
    const DecodedBody decoded =
        event.direction == ABECS_LINK_TO_DEVICE ? decodeCommand(body) : decodeResponse(body, names);
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
