#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace cli {

/// The library's names for statuses and identifiers, gathered ahead: the observer of the line, who
/// needs them, must not call the library.
class Names {
public:
    Names();

    /// The name of a status as it travels; empty when it has none.
    std::string status(std::int32_t number) const;

    /// The data name of an identifier in a response, such as PP_VALUE; "unknown" when it has none.
    std::string identifier(std::uint16_t id) const;

private:
    std::map<std::int32_t, std::string> m_statuses;
    std::map<std::uint16_t, std::string> m_identifiers;
};

} // namespace cli
