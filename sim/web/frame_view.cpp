#include "sim/web/frame_view.h"

#include "sim/packet.h"
#include "sim/text.h"

#include <algorithm>
#include <array>

namespace sim::web {

namespace {

struct Meaning {
    const char *id;
    const char *meaning;
};

constexpr std::array<Meaning, 22> meanings{{
    {"OPN", "open the session"},
    {"CLO", "close the session"},
    {"CLX", "close, with an image"},
    {"DEX", "show a text"},
    {"DSI", "show an image"},
    {"DMF", "show media"},
    {"LMF", "list the media"},
    {"MLI", "begin to load a file"},
    {"MLR", "a piece of the file"},
    {"MLE", "end of the file"},
    {"GCD", "let the customer type"},
    {"CEX", "wait for an event"},
    {"NTM", "notification"},
    {"QR01", "show a QR code"},
    {"EX08", "survey"},
    {"EX10", "survey with texts"},
    {"MF01", "find the card"},
    {"MF02", "prove a key"},
    {"MF03", "read or write blocks"},
    {"MF04", "change a value"},
    {"MF05", "set keys and access"},
    {"MF06", "change keys"},
}};

std::string meaning_of(const std::string &id) {
    const auto *found = std::find_if(meanings.begin(), meanings.end(),
                                     [&id](const Meaning &known) { return id == known.id; });
    return found == meanings.end() ? std::string() : found->meaning;
}

const char *kind_word(FrameKind kind) {
    switch (kind) {
    case FrameKind::command:
        return "command";
    case FrameKind::bad_command:
        return "bad command";
    case FrameKind::response:
        return "response";
    case FrameKind::ack:
        return "ACK";
    case FrameKind::nak:
        return "NAK";
    case FrameKind::can:
        return "CAN";
    case FrameKind::eot:
        return "EOT";
    case FrameKind::noise:
        return "noise";
    }
    return "";
}

std::string readable(const Bytes &bytes) {
    std::string text;
    for (std::uint8_t byte : bytes) {
        const bool printable = (byte >= 0x20 && byte <= 0x7E) || byte >= 0xA0;
        text +=
            printable ? to_utf8(std::string(1, static_cast<char>(byte))) : "\\x" + to_hex({byte});
    }
    return text;
}

void read_body(const WireFrame &frame, FrameView &view) {
    const std::string body = to_text(frame.body);
    const bool extension = frame.framing == Framing::extension;
    const std::size_t id_length = extension ? 4 : 3;
    if (body.size() < id_length) {
        return;
    }
    view.id = readable(to_bytes(body.substr(0, id_length)));
    view.meaning = meaning_of(view.id);
    std::size_t head = id_length;
    if (frame.kind == FrameKind::response && !extension) {
        constexpr std::size_t status_length = 3;
        view.status = readable(to_bytes(body.substr(head, status_length)));
        head = std::min(body.size(), head + status_length);
    }
    if (view.id == "NTM") {
        view.kind = "notification";
    }
    if (extension) {
        return;
    }
    try {
        for (const Param &param : read_params(to_bytes(body.substr(head)))) {
            const Bytes id{static_cast<std::uint8_t>(param.id >> 8),
                           static_cast<std::uint8_t>(param.id & 0xFF)};
            view.params.emplace_back(to_hex(id), readable(param.value));
        }
    } catch (const Refusal &) {
        // Not every command has parameters; the text tells what is there.
        view.params.clear();
    }
}

} // namespace

FrameView view_of(const WireFrame &frame) {
    FrameView view;
    view.from = frame.direction == Direction::from_host ? "host" : "device";
    view.framing = frame.framing == Framing::extension ? "extension" : "abecs";
    view.kind = kind_word(frame.kind);
    view.text = readable(frame.body);
    view.raw = to_hex(frame.raw);
    view.encrypted = frame.encrypted;
    if (!frame.body.empty()) {
        read_body(frame, view);
    }
    return view;
}

} // namespace sim::web
