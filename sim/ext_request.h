#pragma once

#include "sim/types.h"

#include <stdexcept>
#include <string>

namespace sim {

// An extension command as it came: its identifier of four characters and the bytes after it.
struct ExtRequest {
    std::string id;
    Bytes rest;
};

// The answer to an extension command. The status stands apart so that a scenario can replace it; it
// is empty for commands without one.
struct ExtResponse {
    std::string id;
    std::string status;
    Bytes rest;
};

// A body that does not have the fields of its command.
class BadField : public std::runtime_error {
public:
    explicit BadField(const std::string &what) : std::runtime_error(what) {}
};

// Takes the fields of a body one after the other. Throws BadField when one is not there or is
// malformed.
class FieldReader {
public:
    explicit FieldReader(const Bytes &bytes) : bytes_(bytes) {}

    std::size_t left() const { return bytes_.size() - next_; }
    std::string text(std::size_t size);
    std::size_t number(std::size_t digits);
    // One of these characters.
    char choice(const std::string &allowed);
    // Hexadecimal digits that stand for so many bytes.
    Bytes hex(std::size_t size);
    std::string rest();
    // Throws BadField unless everything has been taken.
    void end() const;

private:
    Bytes bytes_;
    std::size_t next_ = 0;
};

} // namespace sim
