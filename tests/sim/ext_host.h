#pragma once

#include "tests/sim/host.h"

#include <string>

// The frames of the extension commands as a host sends and reads them.
namespace sim_test {

constexpr std::uint8_t stx = 0x02;
constexpr std::uint8_t etx = 0x03;

// STX, the length of all, the body, ETX, and the XOR of all before it.
Bytes ext_frame(const std::string &body);

// The body of the frame that comes; what goes wrong is returned as a text in angle brackets.
std::string ext_answer(Host &host, milliseconds timeout = milliseconds(3000));

// Sends a command, expects ACK, returns the body of the answer.
std::string ext_ask(Host &host, const std::string &body);

// Sends a command that waits for the customer. Returns whether it was acknowledged.
bool ext_start(Host &host, const std::string &body);

} // namespace sim_test
