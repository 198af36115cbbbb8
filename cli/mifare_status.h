#pragma once

#include <string>
#include <string_view>

namespace cli {

/// The meaning, in few words, of the two characters with which the PIN pad ends a MIFARE command;
/// "" when they are unknown.
std::string mifareStatusName(std::string_view status);

/// What happened and what to do next; "" when they are unknown.
std::string mifareStatusExplanation(std::string_view status);

inline constexpr std::string_view MIFARE_DONE = "00";

} // namespace cli
