#include "sim/events.h"

#include "sim/text.h"

#include <algorithm>
#include <array>

namespace sim {

namespace {

struct KeyEvent {
    Key key;
    const char *code;
};
constexpr std::array<KeyEvent, 10> key_events{{{Key::enter, "00"},
                                               {Key::up, "02"},
                                               {Key::down, "03"},
                                               {Key::f1, "04"},
                                               {Key::f2, "05"},
                                               {Key::f3, "06"},
                                               {Key::f4, "07"},
                                               {Key::clear, "08"},
                                               {Key::backspace, "08"},
                                               {Key::cancel, "13"}}};

struct CardEvent {
    const char *word;
    const char *code;
};
constexpr std::array<CardEvent, 4> card_events{{{"remove", event_code::remove},
                                                {"insert", event_code::insert},
                                                {"no-tap", event_code::no_tap},
                                                {"tap", event_code::tap}}};

} // namespace

const char *event_of_key(Key key) {
    return std::find_if(key_events.begin(), key_events.end(),
                        [key](const KeyEvent &event) { return event.key == key; })
        ->code;
}

const char *event_of_word(const std::string &word) {
    const auto *found =
        std::find_if(card_events.begin(), card_events.end(),
                     [&word](const CardEvent &event) { return word == event.word; });
    return found == card_events.end() ? nullptr : found->code;
}

std::string step_of_event(const std::string &code) {
    for (const KeyEvent &event : key_events) {
        if (code == event.code) {
            return "key " + key_name(event.key);
        }
    }
    for (const CardEvent &event : card_events) {
        if (code == event.code) {
            return event.word;
        }
    }
    return {};
}

} // namespace sim
