#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// A secret to look for in this process's memory, free memory included. What is kept of it here is
/// masked, so that the search never finds itself.
class Secret {
public:
    Secret(const void *bytes, std::size_t size);

    /// How often the secret stands in the writable memory of the process.
    std::size_t occurrences() const;

    /// Whether the secret stands at this address.
    bool standsAt(std::uintptr_t address) const;

private:
    std::size_t countIn(std::uintptr_t from, std::uintptr_t to) const;

    std::vector<std::uint8_t> m_masked;
};
