#include "sim/web/message.h"

#include "sim/text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <optional>

namespace sim::web {

namespace {

using nlohmann::json;

constexpr std::size_t max_digits = 64;
constexpr std::size_t max_track = 255;
constexpr std::size_t max_rule = 200;

// Thrown when a message cannot be used.
struct Unusable {
    const char *why;
};

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

bool is_printable(char c) {
    return c >= ' ' && c <= '~';
}

bool is_line_text(char c) {
    return is_printable(c) || static_cast<unsigned char>(c) >= 0x80;
}

void allow_only(const json &object, std::initializer_list<const char *> names) {
    for (const auto &member : object.items()) {
        const bool known = member.key() == "do" ||
                           std::find(names.begin(), names.end(), member.key()) != names.end();
        if (!known) {
            throw Unusable{"a member that the message does not have"};
        }
    }
}

std::string take_text(const json &object, const char *name, std::size_t limit) {
    const auto found = object.find(name);
    if (found == object.end() || !found->is_string()) {
        throw Unusable{"a text is missing"};
    }
    auto text = found->get<std::string>();
    if (text.size() > limit) {
        throw Unusable{"a text is too long"};
    }
    return text;
}

template <typename Test>
std::string take_text_of(const json &object, const char *name, std::size_t limit, Test allowed) {
    std::string text = take_text(object, name, limit);
    if (!std::all_of(text.begin(), text.end(), allowed)) {
        throw Unusable{"a text has characters that it must not have"};
    }
    return text;
}

Message read_press(const json &object) {
    allow_only(object, {"digits"});
    return PressDigits{take_text_of(object, "digits", max_digits, is_digit)};
}

Message read_key(const json &object) {
    allow_only(object, {"key"});
    const auto key = key_of_name(take_text(object, "key", max_rule));
    if (!key) {
        throw Unusable{"no such key"};
    }
    return PressKey{*key};
}

Message read_button(const json &object) {
    allow_only(object, {"button"});
    const std::string button = take_text_of(
        object, "button", 1, [](char c) { return is_digit(c) || (c >= 'A' && c <= 'C'); });
    if (button.empty()) {
        throw Unusable{"no such button"};
    }
    return PressButton{button.front()};
}

std::string take_track(const json &object, const char *name) {
    return object.contains(name) ? take_text_of(object, name, max_track, is_printable)
                                 : std::string();
}

Message read_swipe(const json &object) {
    allow_only(object, {"track1", "track2", "track3"});
    Swipe swipe{
        {take_track(object, "track1"), take_track(object, "track2"), take_track(object, "track3")}};
    if (swipe.card.track1.empty() && swipe.card.track2.empty() && swipe.card.track3.empty()) {
        throw Unusable{"a card without tracks"};
    }
    return swipe;
}

// A line of the scenario language that arms something.
std::string take_rule(const json &object) {
    allow_only(object, {"rule"});
    std::string rule = take_text_of(object, "rule", max_rule, is_line_text);
    if (rule.rfind("fault ", 0) != 0 && rule.rfind("reply ", 0) != 0) {
        throw Unusable{"a rule begins with fault or reply"};
    }
    return rule;
}

Message read_replay(const json &object) {
    allow_only(object, {"scenario"});
    return Replay{take_text(object, "scenario", max_message)};
}

template <MoveCard::How how>
Message read_card(const json &object) {
    allow_only(object, {});
    return MoveCard{how};
}

template <bool in>
Message read_cable(const json &object) {
    allow_only(object, {});
    return MoveCable{in};
}

Message read_arm(const json &object) {
    return Arm{take_rule(object)};
}

Message read_disarm(const json &object) {
    return Disarm{take_rule(object)};
}

template <typename Bare>
Message read_bare(const json &object) {
    allow_only(object, {});
    return Bare{};
}

struct Kind {
    const char *word;
    Message (*read)(const json &object);
};

constexpr std::array<Kind, 16> kinds{{
    {"press", read_press},
    {"key", read_key},
    {"button", read_button},
    {"swipe", read_swipe},
    {"insert", read_card<MoveCard::How::insert>},
    {"remove", read_card<MoveCard::How::remove>},
    {"tap", read_card<MoveCard::How::tap>},
    {"hold", read_card<MoveCard::How::hold>},
    {"take", read_card<MoveCard::How::take>},
    {"unplug", read_cable<false>},
    {"replug", read_cable<true>},
    {"arm", read_arm},
    {"disarm", read_disarm},
    {"disarm-all", read_bare<DisarmAll>},
    {"save", read_bare<Save>},
    {"replay", read_replay},
}};

Message read_message(const json &object) {
    const std::string word = take_text(object, "do", max_rule);
    const auto *kind = std::find_if(kinds.begin(), kinds.end(),
                                    [&word](const Kind &known) { return word == known.word; });
    if (kind == kinds.end()) {
        throw Unusable{"no such message"};
    }
    return kind->read(object);
}

} // namespace

std::variant<Message, BadMessage> parse_message(std::string_view text) {
    if (text.size() > max_message) {
        return BadMessage{"the message is too long"};
    }
    const json object = json::parse(text, nullptr, false);
    if (!object.is_object()) {
        return BadMessage{"the message is not a JSON object"};
    }
    try {
        return read_message(object);
    } catch (const Unusable &problem) {
        return BadMessage{problem.why};
    }
}

} // namespace sim::web
