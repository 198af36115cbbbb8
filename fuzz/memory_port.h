#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// A serial port in memory, linked in the place of the system's: what the device says is laid down
// beforehand, and a wait for a byte that does not come ends at once.
namespace memory_port {

/// Lays down what will be read. Each piece is followed by a silence that lets one read time out.
void say(std::vector<std::vector<std::uint8_t>> pieces);

/// Lays down the input of a fuzzer, in which FF FE stands for a silence.
void sayInput(const std::uint8_t *data, std::size_t size);

/// What was written since the last call of say.
const std::vector<std::uint8_t> &written();

} // namespace memory_port
