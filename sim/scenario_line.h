#pragma once

#include "sim/types.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace sim {

// The words of one line of a scenario, taken one after the other. Every operation that expects
// something throws ScenarioError with the line's number when something else stands there.
class ScenarioLine {
public:
    ScenarioLine(std::size_t number, const std::string &text);

    std::size_t number() const { return number_; }
    bool done() const { return next_ == words_.size(); }

    // Whether the next word is this bare word; takes it when it is.
    bool accept(const std::string &word);
    // The next word when it is bare, without taking it; empty when quoted or at the end.
    std::string peek() const;

    std::string word(const std::string &expected);
    std::string quoted(const std::string &expected);
    std::size_t number_up_to(std::size_t maximum, const std::string &expected);
    std::chrono::milliseconds duration();
    Bytes hex(const std::string &expected);
    std::uint8_t hex_byte();
    std::uint16_t hex_u16(const std::string &expected);
    // "TEXT", or the word hex and hexadecimal digits.
    Bytes text_or_hex(const std::string &expected);
    void end();

    [[noreturn]] void fail(const std::string &expected) const;
    [[noreturn]] void reject(const std::string &complaint) const;

private:
    struct Word {
        std::string text;
        bool quoted;
    };

    std::size_t read_word(const std::string &text, std::size_t at);
    std::size_t read_quoted(const std::string &text, std::size_t at);
    std::size_t read_escape(const std::string &text, std::size_t at, std::string &out);

    std::size_t number_;
    std::vector<Word> words_;
    std::size_t next_ = 0;
};

} // namespace sim
