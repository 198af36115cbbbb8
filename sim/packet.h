#pragma once

#include "sim/types.h"

#include <initializer_list>
#include <stdexcept>
#include <string>
#include <vector>

namespace sim {

namespace status {
constexpr unsigned ok = 0;
constexpr unsigned bad_secure_packet = 9;
constexpr unsigned invalid_call = 10;
constexpr unsigned invalid_parameter = 11;
constexpr unsigned timeout = 12;
constexpr unsigned cancel = 13;
constexpr unsigned missing_parameter = 19;
constexpr unsigned internal_error = 40;
constexpr unsigned response_overflow = 45;
constexpr unsigned media_not_found = 100;
constexpr unsigned media_bad_format = 101;
constexpr unsigned media_corrupted = 102;
} // namespace status

namespace data_id {
constexpr std::uint16_t event = 0x8040;
constexpr std::uint16_t track1 = 0x8041;
constexpr std::uint16_t track2 = 0x8042;
constexpr std::uint16_t track3 = 0x8043;
constexpr std::uint16_t value = 0x804D;
constexpr std::uint16_t media_name = 0x805E;
} // namespace data_id

// Ends a command with a status other than 0.
class Refusal : public std::runtime_error {
public:
    explicit Refusal(unsigned code)
        : std::runtime_error("refused with status " + std::to_string(code)), code_(code) {}
    unsigned code() const { return code_; }

private:
    unsigned code_;
};

struct Param {
    std::uint16_t id = 0;
    Bytes value;
};

// A command as it came: its identifier and the bytes after it.
struct Request {
    std::string id;
    Bytes rest;
};

// Splits a body after its identifier. Throws Refusal(011) when there is none.
Request read_request(const Bytes &body);

// The blocks of a command: each three digits of length and that many bytes, to the very end.
// Throws Refusal(011) when they are anything else, an empty block included.
std::vector<Bytes> read_blocks(const Bytes &rest);

// The parameter records of all blocks. Throws Refusal(011) when a record runs over its block.
std::vector<Param> read_params(const Bytes &rest);

// Throws Refusal(011) when a parameter is not one of these.
void allow_only(const std::vector<Param> &params, std::initializer_list<std::uint16_t> ids);

// The value of a parameter that stands at most once; null when it is not there. Throws
// Refusal(011) when it stands more than once.
const Bytes *find_param(const std::vector<Param> &params, std::uint16_t id);

// As find_param, with Refusal(019) when it is not there and 011 when its size is another.
const Bytes &need_param(const std::vector<Param> &params, std::uint16_t id, std::size_t size);

// Throws Refusal(011) unless every byte is printable: 20 to 7E, to FF when extended, and CR when
// line breaks are allowed.
void check_text(const Bytes &text, bool extended, bool line_breaks);

// A final answer or a notification.
struct Response {
    std::string id;
    std::string status = "000";
    std::vector<Param> params;
    // A block that does not consist of parameters; used instead of them when not empty.
    Bytes tail;
    // All that follows the status, as it is; used instead of blocks when not empty.
    Bytes rest;
};

Response make_response(const std::string &id, unsigned code);

// The body of a response: parameters in one block, the second block taking what the first has no
// room for. A response with more than both hold becomes status 045.
Bytes write_response(const Response &response);

} // namespace sim
