#pragma once

#include "sim/types.h"

#include <string>

namespace sim {

// What an event check reports, as the answer carries it.
namespace event_code {
constexpr const char *swipe = "90";
constexpr const char *remove = "91";
constexpr const char *insert = "92";
constexpr const char *no_tap = "93";
constexpr const char *tap = "94";
} // namespace event_code

const char *event_of_key(Key key);

// The event that a word of the scenario language stands for, or null: remove, insert, no-tap, tap.
const char *event_of_word(const std::string &word);

// The step of the scenario language that reports an event which carries nothing else: `key f1`,
// `insert`. Empty when there is none.
std::string step_of_event(const std::string &code);

} // namespace sim
