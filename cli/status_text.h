#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace cli {

/// The name of a status, the number where it has none.
std::string statusName(std::int32_t status);

/// The data name of an identifier in a response, such as PP_VALUE; "unknown" when it has none.
std::string dataName(std::uint16_t id);

/// What a status means in plain words and what to do next.
std::string statusExplanation(std::int32_t status);

/// The status that a failure of the library names as the reason, such as
/// "MLI returned ABECS_RSP_STAT_ST_MFERR".
std::optional<std::int32_t> statusNamedIn(std::string_view failureMessage);

/// What the code of an event means.
std::string eventName(std::int32_t code);

} // namespace cli
