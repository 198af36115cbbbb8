#pragma once

#include "sim/types.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

namespace sim::web {

// What a browser may ask of the device, one JSON object of at most max_message bytes. The member
// `do` names it; no other members than those given here are taken.
struct PressDigits { // press: digits
    std::string digits;
};
struct PressKey { // key: key
    Key key = Key::enter;
};
struct PressButton { // button: button
    char button = '1';
};
struct Swipe { // swipe: track1, track2, track3, of which the missing are empty
    Card card;
};
struct MoveCard { // insert, remove, tap, hold, take
    enum class How { insert, remove, tap, hold, take };
    How how = How::insert;
};
struct MoveCable { // unplug, replug
    bool in = false;
};
struct Arm { // arm: rule, a line of the scenario language for a fault or a reply
    std::string rule;
};
struct Disarm { // disarm: rule, as it was armed
    std::string rule;
};
struct DisarmAll {}; // disarm-all
struct Save {};      // save
struct Replay {      // replay: scenario
    std::string scenario;
};

using Message = std::variant<PressDigits, PressKey, PressButton, Swipe, MoveCard, MoveCable, Arm,
                             Disarm, DisarmAll, Save, Replay>;

// Why a message was not taken; the text never repeats what the browser sent.
struct BadMessage {
    std::string why;
};

constexpr std::size_t max_message = std::size_t{64} * 1024;

// Reads a message. Throws for no text.
std::variant<Message, BadMessage> parse_message(std::string_view text);

} // namespace sim::web
