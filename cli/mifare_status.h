#pragma once

#include <string>
#include <string_view>

namespace cli {

/// What the two characters with which the PIN pad ends a MIFARE command mean, in few words; ""
/// when nobody knows.
std::string mifareStatusName(std::string_view status);

/// What happened and what to do next; "" when nobody knows.
std::string mifareStatusExplanation(std::string_view status);

inline constexpr std::string_view MIFARE_DONE = "00";

} // namespace cli
