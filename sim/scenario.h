#pragma once

#include "sim/faults.h"
#include "sim/mifare_card.h"
#include "sim/packet.h"
#include "sim/types.h"

#include <array>
#include <chrono>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace sim {

// A scenario that cannot be read. The message has the form "line 3: expected a key, found 'foo'".
class ScenarioError : public std::runtime_error {
public:
    ScenarioError(std::size_t line, const std::string &message)
        : std::runtime_error("line " + std::to_string(line) + ": " + message), line_(line) {}
    std::size_t line() const { return line_; }

private:
    std::size_t line_;
};

// One thing that the customer does, after a delay.
struct Step {
    enum class Kind { pause, notify, raw, digit, key, timeout, live, event, swipe, button, answer };
    Kind kind = Kind::pause;
    std::optional<std::chrono::milliseconds> delay; // the default of typing when not given
    std::string text;                               // notification, digit, button or event code
    Bytes bytes;                                    // raw body or answer
    Key key = Key::enter;
    Card card;
};
using Script = std::vector<Step>;

// The commands that wait for the customer.
enum class ScriptKind { capture, event, qr_code, survey, cx_survey };

struct ScriptDirective {
    ScriptKind kind;
    const char *word;
    const char *command;
};
constexpr std::array<ScriptDirective, 5> script_directives{
    {{ScriptKind::capture, "capture", "GCD"},
     {ScriptKind::event, "event", "CEX"},
     {ScriptKind::qr_code, "qrcode", "QR01"},
     {ScriptKind::survey, "survey", "EX08"},
     {ScriptKind::cx_survey, "cxsurvey", "EX10"}}};

// The scripts for all commands of one kind.
struct ScriptBook {
    std::map<unsigned, Script> numbered;
    std::optional<Script> any;

    // The script for the Nth occasion, counted from 1; empty when there is none.
    Script script_for(unsigned occasion) const;
};

// Changes to a final answer.
struct ReplyChange {
    std::optional<std::string> status;
    std::optional<std::string> id;
    std::vector<std::uint16_t> omit;
    std::vector<Param> add;
    Bytes append;
    std::optional<Bytes> body;
    bool skip = false;
};

struct ReplyRule {
    Target target;
    ReplyChange change;
};

struct Scenario {
    static constexpr MifareCard::Uid default_uid{0x04, 0xA1, 0xB2, 0xC3};

    std::size_t columns = 20;
    std::size_t rows = 8;
    std::map<std::uint16_t, std::string> prompts;
    std::vector<MediaFile> media;
    std::map<std::string, Card> cards;
    std::optional<Bytes> session_key;
    bool refuse_plain = false;
    bool require_open = false;
    std::chrono::milliseconds typing{0};
    std::optional<std::chrono::milliseconds> replug_after;
    std::array<ScriptBook, script_directives.size()> script_books;
    // The contactless card of the customer, and whether it is in the field from the start.
    MifareCard contactless_card{default_uid};
    bool card_held = false;
    unsigned missed_activations = 0;
    // Some devices answer MIFARE commands with the values of the status digits.
    bool binary_status = false;
    std::vector<ReplyRule> replies;
    std::vector<FaultRule> faults;

    const ScriptBook &scripts(ScriptKind kind) const {
        return script_books.at(static_cast<std::size_t>(kind));
    }
};

// Reads a scenario. Throws ScenarioError at the first line that cannot be read.
Scenario parse_scenario(const std::string &text);

} // namespace sim
