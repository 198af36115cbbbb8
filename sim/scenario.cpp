#include "sim/scenario.h"

#include "sim/crc16.h"
#include "sim/events.h"
#include "sim/scenario_line.h"
#include "sim/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <sstream>
#include <utility>

namespace sim {

namespace {

constexpr std::size_t max_count = 1000000;
constexpr std::size_t max_u16 = 0xFFFF;

bool is_ext_id(const std::string &word) {
    constexpr std::size_t id_length = 4;
    return word.size() == id_length;
}

// Three characters for the standard commands, four for the extension commands.
bool is_command_id(const std::string &word) {
    return (word.size() == 3 || is_ext_id(word)) &&
           std::all_of(word.begin(), word.end(),
                       [](char c) { return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); });
}

class ScenarioParser {
public:
    Scenario parse(const std::string &text);

private:
    using Directive = void (ScenarioParser::*)(ScenarioLine &);
    static const std::map<std::string, Directive> &directives();

    void display(ScenarioLine &line);
    void prompt(ScenarioLine &line);
    void media(ScenarioLine &line);
    void card(ScenarioLine &line);
    void session_key(ScenarioLine &line);
    void refuse_plain(ScenarioLine &line);
    void require_open(ScenarioLine &line);
    void typing(ScenarioLine &line);
    void replug(ScenarioLine &line);
    void status(ScenarioLine &line);
    void reply(ScenarioLine &line);
    void fault(ScenarioLine &line);
    void mifare(ScenarioLine &line);
    void binary_status(ScenarioLine &line);

    bool device_directive(ScenarioLine &line);
    bool script_directive(ScenarioLine &line);
    void book_script(ScenarioLine &line, ScriptKind kind);
    void script_step(ScenarioLine &line, ScriptKind kind, Script &script);
    bool common_step(ScenarioLine &line, Script &script);
    bool notify_step(ScenarioLine &line, Script &script);
    void capture_step(ScenarioLine &line, Script &script);
    void event_step(ScenarioLine &line, Script &script);
    void screen_step(ScenarioLine &line, Script &script);
    void key_step(ScenarioLine &line, Script &script, const std::string &expected);
    void typed_keys(ScenarioLine &line, Script &script);
    void swipe_step(ScenarioLine &line, Script &script);

    Target reply_target(ScenarioLine &line);
    void reply_change(ScenarioLine &line, const std::string &command, ReplyChange &change);
    FaultStage stage(ScenarioLine &line);
    Fault fault_action(ScenarioLine &line, FaultStage stage);
    void apply_typing(ScriptBook &book) const;

    Scenario scenario_;
    std::array<unsigned, script_directives.size()> last_occasions_{};
};

Step simple_step(Step::Kind kind, std::string text = {}) {
    Step step;
    step.kind = kind;
    step.text = std::move(text);
    step.delay = std::chrono::milliseconds(0);
    return step;
}

std::string status_digits(ScenarioLine &line) {
    constexpr std::size_t highest = 999;
    return zero_filled(line.number_up_to(highest, "a status"), 3);
}

// Which of the words that name occasions a rule has.
struct OccasionWords {
    bool nth = false;
    bool times = false;
};

unsigned positive_count(ScenarioLine &line, const std::string &expected) {
    const std::size_t count = line.number_up_to(max_count, expected);
    if (count == 0) {
        line.reject("expected " + expected + " from 1 on, found 0");
    }
    return static_cast<unsigned>(count);
}

// Takes nth N, times N and always as long as one of them stands next.
void accept_occasions(ScenarioLine &line, Target &target, OccasionWords &given) {
    while (true) {
        if (line.accept("nth")) {
            target.nth = positive_count(line, "an occasion");
            given.nth = true;
        } else if (line.accept("times")) {
            target.times = positive_count(line, "a count");
            given.times = true;
        } else if (line.accept("always")) {
            target.times = Target::always;
            given.times = true;
        } else {
            return;
        }
    }
}

// A reply rule that names no occasions strikes every time.
void default_to_always(Target &target, const OccasionWords &given) {
    if (!given.nth && !given.times) {
        target.times = Target::always;
    }
}

Bytes filler(std::size_t size) {
    Bytes content(size);
    for (std::size_t i = 0; i < size; ++i) {
        content[i] = static_cast<std::uint8_t>(i & 0xFF);
    }
    return content;
}

template <std::size_t size>
std::array<std::uint8_t, size> fixed_bytes(ScenarioLine &line, const std::string &what) {
    const Bytes bytes = line.hex(what);
    if (bytes.size() != size) {
        line.reject("expected " + what + " of " + std::to_string(size) + " bytes, found " +
                    std::to_string(bytes.size()));
    }
    std::array<std::uint8_t, size> fixed{};
    std::copy(bytes.begin(), bytes.end(), fixed.begin());
    return fixed;
}

std::size_t card_block_number(ScenarioLine &line) {
    return line.number_up_to(MifareCard::block_count - 1, "a block");
}

// key A|B SECTOR|* HEX
void card_key(ScenarioLine &line, MifareCard &card) {
    const bool a = line.accept("A");
    if (!a && !line.accept("B")) {
        line.fail("A or B");
    }
    const MifareCard::KeyKind kind = a ? MifareCard::KeyKind::a : MifareCard::KeyKind::b;
    std::size_t first = 0;
    std::size_t last = MifareCard::sector_count - 1;
    if (!line.accept("*")) {
        first = last = line.number_up_to(MifareCard::sector_count - 1, "a sector or *");
    }
    const auto key = fixed_bytes<MifareCard::key_size>(line, "a key");
    for (std::size_t sector = first; sector <= last; ++sector) {
        card.set_key(sector, kind, key);
    }
}

void card_block(ScenarioLine &line, MifareCard &card) {
    const std::size_t block = card_block_number(line);
    card.set_content(block, fixed_bytes<MifareCard::block_size>(line, "a block"));
}

void card_value(ScenarioLine &line, MifareCard &card) {
    const std::size_t block = card_block_number(line);
    const std::string text = line.word("a value");
    std::int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) {
        line.reject("expected a value, found '" + text + "'");
    }
    card.set_value(block, value);
}

void card_access(ScenarioLine &line, MifareCard &card) {
    const std::size_t block = card_block_number(line);
    const std::string flags = line.word("three access bits");
    if (flags.size() != 3 || flags.find_first_not_of("01") != std::string::npos) {
        line.reject("expected three access bits, found '" + flags + "'");
    }
    card.set_access(block, {flags[0] == '1', flags[1] == '1', flags[2] == '1'});
}

// Whether a changed answer can be one of the command's, which for an extension command has no
// parameters, and for some of them no status.
void check_reply(ScenarioLine &line, const ReplyRule &rule) {
    const std::string &id = rule.target.command;
    if (!is_ext_id(id)) {
        return;
    }
    if (!rule.change.omit.empty() || !rule.change.add.empty()) {
        line.reject("the answer to " + id + " has no parameters");
    }
    if (rule.change.status && id.rfind("MF", 0) != 0) {
        line.reject("the answer to " + id + " has no status");
    }
}

const std::map<std::string, ScenarioParser::Directive> &ScenarioParser::directives() {
    static const std::map<std::string, Directive> table{
        {"display", &ScenarioParser::display},
        {"prompt", &ScenarioParser::prompt},
        {"media", &ScenarioParser::media},
        {"card", &ScenarioParser::card},
        {"session-key", &ScenarioParser::session_key},
        {"refuse-plain", &ScenarioParser::refuse_plain},
        {"require-open", &ScenarioParser::require_open},
        {"typing", &ScenarioParser::typing},
        {"replug", &ScenarioParser::replug},
        {"status", &ScenarioParser::status},
        {"reply", &ScenarioParser::reply},
        {"fault", &ScenarioParser::fault},
        {"mifare", &ScenarioParser::mifare},
        {"binary-status", &ScenarioParser::binary_status},
    };
    return table;
}

Scenario ScenarioParser::parse(const std::string &text) {
    std::istringstream in(text);
    std::string content;
    for (std::size_t number = 1; std::getline(in, content); ++number) {
        ScenarioLine line(number, content);
        if (line.done()) {
            continue;
        }
        if (!device_directive(line) && !script_directive(line)) {
            line.fail("a directive");
        }
        line.end();
    }
    for (ScriptBook &book : scenario_.script_books) {
        apply_typing(book);
    }
    return scenario_;
}

bool ScenarioParser::device_directive(ScenarioLine &line) {
    const auto found = directives().find(line.peek());
    if (found == directives().end()) {
        return false;
    }
    line.word("a directive");
    (this->*found->second)(line);
    return true;
}

bool ScenarioParser::script_directive(ScenarioLine &line) {
    for (const ScriptDirective &directive : script_directives) {
        if (line.accept(directive.word)) {
            book_script(line, directive.kind);
            return true;
        }
    }
    return false;
}

void ScenarioParser::display(ScenarioLine &line) {
    constexpr std::size_t limit = 200;
    scenario_.columns = line.number_up_to(limit, "columns");
    scenario_.rows = line.number_up_to(limit, "rows");
    if (scenario_.columns == 0 || scenario_.rows == 0) {
        line.reject("a display has at least one column and one row");
    }
}

void ScenarioParser::prompt(ScenarioLine &line) {
    const auto number = static_cast<std::uint16_t>(line.number_up_to(max_u16, "a prompt number"));
    scenario_.prompts[number] = line.quoted("the prompt");
}

void ScenarioParser::media(ScenarioLine &line) {
    constexpr std::size_t max_size = 16777216;
    MediaFile file;
    file.name = line.word("a media name");
    if (file.name.size() > media_name_size) {
        line.reject("a media name has at most 8 characters: '" + file.name + "'");
    }
    if (line.accept("size")) {
        file.content = filler(line.number_up_to(max_size, "a size"));
    } else if (line.accept("hex")) {
        file.content = line.hex("the content");
    } else if (line.accept("text")) {
        file.content = to_bytes(line.quoted("the content"));
    } else {
        line.fail("text, hex or size");
    }
    if (line.accept("type")) {
        file.type = static_cast<std::uint8_t>(line.number_up_to(255, "a media type"));
    }
    file.crc = crc16(file.content);
    scenario_.media.push_back(file);
}

void ScenarioParser::card(ScenarioLine &line) {
    const std::string name = line.word("a card name");
    Card card;
    while (!line.done()) {
        if (line.accept("track1")) {
            card.track1 = line.quoted("track 1");
        } else if (line.accept("track2")) {
            card.track2 = line.quoted("track 2");
        } else if (line.accept("track3")) {
            card.track3 = line.quoted("track 3");
        } else {
            line.fail("track1, track2 or track3");
        }
    }
    scenario_.cards[name] = card;
}

void ScenarioParser::session_key(ScenarioLine &line) {
    constexpr std::size_t key_size = 16;
    Bytes key = line.hex("a key of 16 bytes");
    if (key.size() != key_size) {
        line.reject("expected a key of 16 bytes, found " + std::to_string(key.size()));
    }
    scenario_.session_key = std::move(key);
}

void ScenarioParser::refuse_plain(ScenarioLine &) {
    scenario_.refuse_plain = true;
}

void ScenarioParser::require_open(ScenarioLine &) {
    scenario_.require_open = true;
}

void ScenarioParser::typing(ScenarioLine &line) {
    scenario_.typing = line.duration();
}

void ScenarioParser::replug(ScenarioLine &line) {
    scenario_.replug_after = line.duration();
}

void ScenarioParser::book_script(ScenarioLine &line, ScriptKind kind) {
    ScriptBook &book = scenario_.script_books.at(static_cast<std::size_t>(kind));
    unsigned &last = last_occasions_.at(static_cast<std::size_t>(kind));
    const bool any = line.accept("*");
    unsigned occasion = last + 1;
    if (!any && read_decimal(line.peek())) {
        occasion = positive_count(line, "an occasion");
    }
    if (line.done()) {
        line.fail("a step");
    }
    Script script;
    while (!line.done()) {
        const bool ended =
            !script.empty() &&
            (script.back().kind == Step::Kind::live || script.back().kind == Step::Kind::timeout ||
             script.back().kind == Step::Kind::event || script.back().kind == Step::Kind::swipe ||
             script.back().kind == Step::Kind::answer);
        if (ended) {
            line.fail("the end of the line, because nothing can follow the last step");
        }
        script_step(line, kind, script);
    }
    if (any) {
        if (book.any) {
            line.reject("there is a line for * already");
        }
        book.any = std::move(script);
        return;
    }
    if (!book.numbered.emplace(occasion, std::move(script)).second) {
        line.reject("there is a line for occasion " + std::to_string(occasion) + " already");
    }
    last = occasion;
}

void ScenarioParser::script_step(ScenarioLine &line, ScriptKind kind, Script &script) {
    switch (kind) {
    case ScriptKind::capture:
        capture_step(line, script);
        break;
    case ScriptKind::event:
        event_step(line, script);
        break;
    case ScriptKind::qr_code:
    case ScriptKind::survey:
    case ScriptKind::cx_survey:
        screen_step(line, script);
        break;
    }
}

bool ScenarioParser::common_step(ScenarioLine &line, Script &script) {
    if (line.accept("wait")) {
        script.push_back(simple_step(Step::Kind::pause));
        script.back().delay = line.duration();
    } else if (line.accept("raw")) {
        script.push_back(simple_step(Step::Kind::raw));
        script.back().bytes = line.text_or_hex("a body");
    } else if (line.accept("timeout")) {
        script.push_back(simple_step(Step::Kind::timeout));
    } else if (line.accept("live")) {
        script.push_back(simple_step(Step::Kind::live));
    } else {
        return false;
    }
    return true;
}

bool ScenarioParser::notify_step(ScenarioLine &line, Script &script) {
    const bool notifies = line.accept("notify");
    if (notifies) {
        script.push_back(simple_step(Step::Kind::notify, line.quoted("the notification")));
    }
    return notifies;
}

void ScenarioParser::capture_step(ScenarioLine &line, Script &script) {
    if (common_step(line, script) || notify_step(line, script)) {
        return;
    }
    if (line.accept("keys")) {
        typed_keys(line, script);
        return;
    }
    key_step(line, script, "a step of a capture");
}

void ScenarioParser::key_step(ScenarioLine &line, Script &script, const std::string &expected) {
    const auto key = key_of_name(line.peek());
    const bool usable = key && (*key == Key::enter || *key == Key::cancel || *key == Key::clear ||
                                *key == Key::backspace);
    if (!usable) {
        line.fail(expected);
    }
    line.word("a key");
    script.push_back(simple_step(Step::Kind::key));
    script.back().key = *key;
    script.back().delay.reset();
}

void ScenarioParser::typed_keys(ScenarioLine &line, Script &script) {
    const std::string digits = line.peek();
    const bool all_digits =
        !digits.empty() &&
        std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (!all_digits) {
        line.fail("digits");
    }
    line.word("digits");
    std::optional<std::chrono::milliseconds> delay;
    if (line.accept("every")) {
        delay = line.duration();
    }
    for (char digit : digits) {
        script.push_back(simple_step(Step::Kind::digit, std::string(1, digit)));
        script.back().delay = delay;
    }
}

void ScenarioParser::event_step(ScenarioLine &line, Script &script) {
    if (common_step(line, script) || notify_step(line, script)) {
        return;
    }
    if (line.accept("swipe")) {
        swipe_step(line, script);
    } else if (line.accept("code")) {
        script.push_back(simple_step(Step::Kind::event, line.quoted("the event code")));
    } else if (line.accept("key")) {
        const auto key = key_of_name(line.peek());
        if (!key) {
            line.fail("a key that has an event");
        }
        line.word("a key");
        script.push_back(simple_step(Step::Kind::event, event_of_key(*key)));
    } else {
        const char *code = event_of_word(line.peek());
        if (code == nullptr) {
            line.fail("a step of an event check");
        }
        line.word("an event");
        script.push_back(simple_step(Step::Kind::event, code));
    }
}

void ScenarioParser::swipe_step(ScenarioLine &line, Script &script) {
    const auto found = scenario_.cards.find(line.peek());
    if (found == scenario_.cards.end()) {
        line.fail("the name of a card of an earlier line");
    }
    line.word("a card");
    script.push_back(simple_step(Step::Kind::swipe));
    script.back().card = found->second;
}

void ScenarioParser::screen_step(ScenarioLine &line, Script &script) {
    if (common_step(line, script)) {
        return;
    }
    if (line.accept("answer")) {
        script.push_back(simple_step(Step::Kind::answer));
        script.back().bytes = line.text_or_hex("an answer");
    } else if (line.accept("press")) {
        const std::string buttons = line.peek();
        if (buttons.empty() || buttons.find_first_not_of("0123456789ABC") != std::string::npos) {
            line.fail("buttons (0 to 9, A to C)");
        }
        for (char button : line.word("the buttons")) {
            script.push_back(simple_step(Step::Kind::button, std::string(1, button)));
            script.back().delay.reset();
        }
    } else {
        key_step(line, script, "a step of a screen");
    }
}

void ScenarioParser::mifare(ScenarioLine &line) {
    MifareCard &card = scenario_.contactless_card;
    scenario_.card_held = !line.accept("away");
    if (!scenario_.card_held) {
        return;
    }
    if (line.done()) {
        line.fail("what the contactless card is like");
    }
    while (!line.done()) {
        if (line.accept("uid")) {
            card = MifareCard(fixed_bytes<MifareCard::uid_size>(line, "a card number"));
        } else if (line.accept("key")) {
            card_key(line, card);
        } else if (line.accept("block")) {
            card_block(line, card);
        } else if (line.accept("value")) {
            card_value(line, card);
        } else if (line.accept("access")) {
            card_access(line, card);
        } else if (line.accept("missed")) {
            scenario_.missed_activations = positive_count(line, "a count");
        } else {
            line.fail("uid, key, block, value, access, missed or away");
        }
    }
}

void ScenarioParser::binary_status(ScenarioLine &) {
    scenario_.binary_status = true;
}

Target ScenarioParser::reply_target(ScenarioLine &line) {
    Target target;
    if (!line.accept("any")) {
        if (!is_command_id(line.peek())) {
            line.fail("a command identifier or any");
        }
        target.command = line.word("a command");
    }
    return target;
}

void ScenarioParser::status(ScenarioLine &line) {
    ReplyRule rule;
    rule.target = reply_target(line);
    rule.change.status = status_digits(line);
    OccasionWords given;
    accept_occasions(line, rule.target, given);
    default_to_always(rule.target, given);
    check_reply(line, rule);
    scenario_.replies.push_back(rule);
}

void ScenarioParser::reply(ScenarioLine &line) {
    ReplyRule rule;
    rule.target = reply_target(line);
    OccasionWords given;
    accept_occasions(line, rule.target, given);
    if (line.done()) {
        line.fail("a change of the reply");
    }
    while (!line.done()) {
        reply_change(line, rule.target.command, rule.change);
        accept_occasions(line, rule.target, given);
    }
    default_to_always(rule.target, given);
    check_reply(line, rule);
    scenario_.replies.push_back(rule);
}

void ScenarioParser::reply_change(ScenarioLine &line, const std::string &command,
                                  ReplyChange &change) {
    if (line.accept("status")) {
        change.status = status_digits(line);
    } else if (line.accept("id")) {
        const std::string id = line.word("an identifier");
        if (is_ext_id(command) && !is_ext_id(id)) {
            line.reject("an identifier has four characters: '" + id + "'");
        }
        if (!is_ext_id(command) && id.size() != 3) {
            line.reject("an identifier has three characters: '" + id + "'");
        }
        change.id = id;
    } else if (line.accept("err")) {
        change.id = "ERR";
    } else if (line.accept("omit")) {
        change.omit.push_back(line.hex_u16("a parameter identifier"));
    } else if (line.accept("param")) {
        const std::uint16_t id = line.hex_u16("a parameter identifier");
        change.add.push_back({id, line.text_or_hex("a value")});
    } else if (line.accept("append")) {
        change.append = line.text_or_hex("bytes");
    } else if (line.accept("body")) {
        change.body = line.text_or_hex("a body");
    } else if (line.accept("skip")) {
        change.skip = true;
    } else {
        line.fail("a change of the reply");
    }
}

FaultStage ScenarioParser::stage(ScenarioLine &line) {
    constexpr FaultStage stages[] = {FaultStage::ack, FaultStage::response, FaultStage::secure,
                                     FaultStage::opn, FaultStage::can};
    for (FaultStage candidate : stages) {
        if (line.accept(stage_word(candidate))) {
            return candidate;
        }
    }
    line.fail("ack, response, secure, opn or can");
}

Fault ScenarioParser::fault_action(ScenarioLine &line, FaultStage stage) {
    using Argument = FaultWord::Argument;
    const auto &words = fault_words();
    const auto word = std::find_if(words.begin(), words.end(), [&](const FaultWord &entry) {
        return entry.stage == stage && line.peek() == entry.word;
    });
    if (word == words.end()) {
        line.fail(std::string("an action of ") + stage_word(stage));
    }
    line.word("an action");
    Fault fault;
    fault.kind = word->kind;
    const bool numbered =
        word->argument == Argument::number || word->argument == Argument::number_duration;
    if (numbered) {
        fault.number = line.number_up_to(max_u16, "a number");
    }
    if (word->argument == Argument::byte) {
        fault.number = line.hex_byte();
    }
    if (word->argument == Argument::hex) {
        fault.bytes = line.hex("bytes");
    }
    if (word->argument == Argument::duration || word->argument == Argument::number_duration) {
        fault.duration = line.duration();
    }
    return fault;
}

void ScenarioParser::fault(ScenarioLine &line) {
    FaultRule rule;
    rule.stage = stage(line);
    const bool by_command = rule.stage != FaultStage::opn && rule.stage != FaultStage::can;
    if (by_command && is_command_id(line.peek())) {
        rule.target.command = line.word("a command");
    }
    OccasionWords given;
    accept_occasions(line, rule.target, given);
    rule.fault = fault_action(line, rule.stage);
    accept_occasions(line, rule.target, given);
    const std::size_t number = rule.fault.number;
    if (rule.fault.kind == FaultKind::opn_lead_30 && number != 1 && number != 2) {
        line.reject("expected 1 or 2 leading bytes, found " + std::to_string(number));
    }
    const bool three_digits =
        rule.fault.kind == FaultKind::opn_len1 || rule.fault.kind == FaultKind::opn_crkslen;
    if (three_digits && number > 999) {
        line.reject("expected a number of three digits, found " + std::to_string(number));
    }
    if (rule.fault.kind == FaultKind::opn_ksec_length && number > 200) {
        line.reject("expected at most 200 bytes of key, found " + std::to_string(number));
    }
    scenario_.faults.push_back(rule);
}

void ScenarioParser::apply_typing(ScriptBook &book) const {
    const auto fill = [this](Script &script) {
        for (Step &step : script) {
            if (!step.delay) {
                step.delay = scenario_.typing;
            }
        }
    };
    for (auto &[occasion, script] : book.numbered) {
        fill(script);
    }
    if (book.any) {
        fill(*book.any);
    }
}

} // namespace

Script ScriptBook::script_for(unsigned occasion) const {
    const auto found = numbered.find(occasion);
    if (found != numbered.end()) {
        return found->second;
    }
    return any.value_or(Script{});
}

Scenario parse_scenario(const std::string &text) {
    return ScenarioParser().parse(text);
}

} // namespace sim
