#include "sim/console.h"

#include "sim/text.h"

#include <nlohmann/json.hpp>

#include <string>

namespace sim {

namespace {

const char *direction_word(Direction direction) {
    return direction == Direction::from_host ? "host" : "device";
}

const char *framing_word(Framing framing) {
    return framing == Framing::abecs ? "abecs" : "extension";
}

const char *frame_word(FrameKind kind) {
    switch (kind) {
    case FrameKind::command:
        return "command";
    case FrameKind::bad_command:
        return "bad-command";
    case FrameKind::response:
        return "response";
    case FrameKind::ack:
        return "ack";
    case FrameKind::nak:
        return "nak";
    case FrameKind::can:
        return "can";
    case FrameKind::eot:
        return "eot";
    case FrameKind::noise:
        return "noise";
    }
    return "";
}

// The body with everything that is not printable as \xNN.
std::string readable(const Bytes &body) {
    std::string text;
    for (std::uint8_t byte : body) {
        if (byte >= 0x20 && byte <= 0x7E) {
            text.push_back(static_cast<char>(byte));
        } else {
            text += "\\x" + to_hex({byte});
        }
    }
    return text;
}

// The name of the port is the system's own and may be of any bytes; all else is Latin-1.
std::string utf8_field(const JournalEntry &entry, const std::string &value) {
    return entry.kind == "port" ? visible(value) : to_utf8(value);
}

std::string quoted_field(const JournalEntry &entry, const std::string &name) {
    return "\"" + to_utf8(entry.field(name)) + "\"";
}

std::string display_line(const JournalEntry &entry) {
    std::string text = "display:";
    for (const auto &[name, value] : entry.fields) {
        if (name == "media") {
            text += " <" + to_utf8(value) + ">";
        } else if (name == "buttons") {
            text += " buttons " + value;
        } else if (name != "kind") {
            text += " [" + to_utf8(value) + "]";
        }
    }
    if (entry.field("kind") == screen_word(ScreenKind::qr_code)) {
        text += " <QR code>";
    }
    return entry.field("kind") == screen_word(ScreenKind::blank) ? "display: (blank)" : text;
}

std::string other_line(const JournalEntry &entry) {
    std::string text = entry.kind;
    for (const auto &[name, value] : entry.fields) {
        if (!value.empty()) {
            text += " " + name + "=" + utf8_field(entry, value);
        }
    }
    return text;
}

std::string text_line(const JournalEntry &entry) {
    if (entry.kind == "display") {
        return display_line(entry);
    }
    if (entry.kind == "key") {
        return "key: " + entry.field("key");
    }
    if (entry.kind == "beep") {
        return "beep: " + entry.field("why");
    }
    if (entry.kind == "card") {
        return "card: " + entry.field("action");
    }
    if (entry.kind == "notify") {
        return "notify: " + quoted_field(entry, "text");
    }
    if (entry.kind == "qrcode") {
        return "qr code: " + quoted_field(entry, "text");
    }
    if (entry.kind == "answered") {
        return "answered: " + entry.field("id") + " " + quoted_field(entry, "value");
    }
    if (entry.kind == "captured") {
        return "captured: " + quoted_field(entry, "value");
    }
    return other_line(entry);
}

nlohmann::json json_entry(const JournalEntry &entry) {
    nlohmann::json object{{"kind", entry.kind}};
    for (const auto &[name, value] : entry.fields) {
        const std::string text = utf8_field(entry, value);
        if (entry.kind == "display" && name.rfind("line", 0) == 0) {
            object["lines"].push_back(text);
        } else if (entry.kind == "display" && name == "media") {
            object["media"].push_back(text);
        } else if (entry.kind == "display" && name == "kind") {
            object["screen"] = text;
        } else {
            object[name] = text;
        }
    }
    return object;
}

// ASCII alone: JSON leaves DEL and the control characters above it as they are otherwise.
std::string json_line(const nlohmann::json &object) {
    constexpr bool ensure_ascii = true;
    return object.dump(-1, ' ', ensure_ascii);
}

} // namespace

void Console::open(const std::string &port) {
    const std::lock_guard lock(mutex_);
    opened_ = true;
    out_ << visible(port) << '\n' << backlog_ << std::flush;
    backlog_.clear();
}

void Console::entry(const JournalEntry &entry) {
    line(style_ == Style::json ? json_line(json_entry(entry)) : visible(text_line(entry)));
}

void Console::frame(const WireFrame &frame) {
    if (style_ == Style::json) {
        const nlohmann::json object{{"kind", "frame"},
                                    {"from", direction_word(frame.direction)},
                                    {"framing", framing_word(frame.framing)},
                                    {"frame", frame_word(frame.kind)},
                                    {"encrypted", frame.encrypted},
                                    {"body", to_hex(frame.body)},
                                    {"raw", to_hex(frame.raw)}};
        line(json_line(object));
        return;
    }
    std::string text = frame.direction == Direction::from_host ? "host   > " : "device > ";
    if (frame.framing == Framing::extension) {
        text += "extension ";
    }
    text += frame_word(frame.kind);
    if (frame.encrypted) {
        text += " (encrypted)";
    }
    text += " " + (frame.body.empty() ? to_hex(frame.raw) : readable(frame.body));
    line(text);
}

void Console::line(const std::string &text) {
    const std::lock_guard lock(mutex_);
    if (opened_) {
        out_ << text << std::endl;
    } else {
        backlog_ += text + '\n';
    }
}

} // namespace sim
