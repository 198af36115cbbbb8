#pragma once

#include <cstdint>

namespace cli {

/// Whether the value of this identifier in a response is the customer's or the card's own business:
/// what was typed, tracks, account numbers, names, keys and what is encrypted under them. Values of
/// identifiers that the catalogue does not know count as such.
bool isSecretId(std::uint16_t id);

} // namespace cli
