#include "sim/scenario_line.h"

#include "sim/scenario.h"
#include "sim/text.h"

namespace sim {

namespace {

bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

} // namespace

ScenarioLine::ScenarioLine(std::size_t number, const std::string &text) : number_(number) {
    std::size_t at = 0;
    while (at < text.size()) {
        if (is_blank(text[at])) {
            ++at;
        } else if (text[at] == '#') {
            break;
        } else if (text[at] == '"') {
            at = read_quoted(text, at + 1);
        } else {
            at = read_word(text, at);
        }
    }
}

std::size_t ScenarioLine::read_word(const std::string &text, std::size_t at) {
    std::string word;
    while (at < text.size() && !is_blank(text[at]) && text[at] != '#' && text[at] != '"') {
        word.push_back(text[at++]);
    }
    words_.push_back({word, false});
    return at;
}

std::size_t ScenarioLine::read_quoted(const std::string &text, std::size_t at) {
    std::string content;
    while (at < text.size() && text[at] != '"') {
        if (text[at] == '\\') {
            at = read_escape(text, at + 1, content);
        } else {
            content.push_back(text[at++]);
        }
    }
    if (at == text.size()) {
        reject("expected a closing quote");
    }
    words_.push_back({content, true});
    return at + 1;
}

std::size_t ScenarioLine::read_escape(const std::string &text, std::size_t at, std::string &out) {
    const char c = at < text.size() ? text[at] : '\0';
    if (c == '"' || c == '\\') {
        out.push_back(c);
        return at + 1;
    }
    if (c == 'r') {
        out.push_back('\r');
        return at + 1;
    }
    const auto byte = c == 'x' && text.size() - at > 2 ? from_hex(text.substr(at + 1, 2))
                                                       : std::optional<Bytes>();
    if (!byte) {
        reject("expected one of \\\" \\\\ \\r \\xNN in the text");
    }
    out.push_back(static_cast<char>(byte->front()));
    return at + 3;
}

bool ScenarioLine::accept(const std::string &word) {
    if (peek() != word) {
        return false;
    }
    ++next_;
    return true;
}

std::string ScenarioLine::peek() const {
    if (done() || words_[next_].quoted) {
        return {};
    }
    return words_[next_].text;
}

std::string ScenarioLine::word(const std::string &expected) {
    if (peek().empty()) {
        fail(expected);
    }
    return words_[next_++].text;
}

std::string ScenarioLine::quoted(const std::string &expected) {
    if (done() || !words_[next_].quoted) {
        fail(expected + " in quotes");
    }
    return words_[next_++].text;
}

std::size_t ScenarioLine::number_up_to(std::size_t maximum, const std::string &expected) {
    const auto number = read_decimal(peek());
    if (!number || *number > maximum) {
        fail(expected + " (0 to " + std::to_string(maximum) + ")");
    }
    ++next_;
    return *number;
}

std::chrono::milliseconds ScenarioLine::duration() {
    constexpr std::size_t one_day = 86400000;
    return std::chrono::milliseconds(number_up_to(one_day, "milliseconds"));
}

Bytes ScenarioLine::hex(const std::string &expected) {
    const auto bytes = from_hex(peek());
    if (!bytes || bytes->empty()) {
        fail(expected + " as hexadecimal digits");
    }
    ++next_;
    return *bytes;
}

std::uint8_t ScenarioLine::hex_byte() {
    const auto bytes = from_hex(peek());
    if (!bytes || bytes->size() != 1) {
        fail("one byte as two hexadecimal digits");
    }
    ++next_;
    return bytes->front();
}

std::uint16_t ScenarioLine::hex_u16(const std::string &expected) {
    const auto bytes = from_hex(peek());
    if (!bytes || bytes->size() != 2) {
        fail(expected + " as four hexadecimal digits");
    }
    ++next_;
    return static_cast<std::uint16_t>(bytes->front() << 8 | bytes->back());
}

Bytes ScenarioLine::text_or_hex(const std::string &expected) {
    if (accept("hex")) {
        return hex(expected);
    }
    if (done() || !words_[next_].quoted) {
        fail(expected + " in quotes, or hex and digits");
    }
    return to_bytes(words_[next_++].text);
}

void ScenarioLine::end() {
    if (!done()) {
        fail("the end of the line");
    }
}

void ScenarioLine::fail(const std::string &expected) const {
    if (done()) {
        reject("expected " + expected + ", found the end of the line");
    }
    const Word &found = words_[next_];
    const std::string mark = found.quoted ? "\"" : "'";
    reject("expected " + expected + ", found " + mark + found.text + mark);
}

void ScenarioLine::reject(const std::string &complaint) const {
    throw ScenarioError(number_, complaint);
}

} // namespace sim
