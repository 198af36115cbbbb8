#include "sim/web/recorder.h"

#include "sim/events.h"
#include "sim/packet.h"
#include "sim/text.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <sstream>
#include <utility>

namespace sim::web {

namespace {

const ScriptDirective *directive_of(const std::string &command) {
    const auto *found = std::find_if(
        script_directives.begin(), script_directives.end(),
        [&command](const ScriptDirective &directive) { return command == directive.command; });
    return found == script_directives.end() ? nullptr : found;
}

bool is_script(const std::string &word) {
    return std::any_of(
        script_directives.begin(), script_directives.end(),
        [&word](const ScriptDirective &directive) { return word == directive.word; });
}

std::vector<std::string> words_of(const std::string &line) {
    std::istringstream in(line);
    std::vector<std::string> words;
    for (std::string word; in >> word;) {
        words.push_back(word);
    }
    return words;
}

std::string first_word(const std::string &line) {
    std::string word;
    std::istringstream(line) >> word;
    return word;
}

// A text as scenarios write it.
std::string quoted(const std::string &text) {
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') {
            out += std::string("\\") + c;
        } else if (c >= 0x20 && c <= 0x7E) {
            out.push_back(c);
        } else {
            out += "\\x" + to_hex({static_cast<std::uint8_t>(c)});
        }
    }
    return out + '"';
}

std::string event_step(const std::string &code) {
    const std::string step = step_of_event(code);
    return step.empty() ? "code " + quoted(code) : step;
}

// The command that a rule is for; empty for any.
std::string target_of(const Scenario &rule) {
    return rule.faults.empty() ? rule.replies.front().target.command
                               : rule.faults.front().target.command;
}

// The words of a rule without those that say at which occasions it strikes.
std::string without_occasions(const std::string &rule) {
    const std::vector<std::string> words = words_of(rule);
    std::string kept;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (words[i] == "nth" || words[i] == "times") {
            ++i;
        } else if (words[i] != "always") {
            kept += (kept.empty() ? "" : " ") + words[i];
        }
    }
    return kept;
}

void count(std::map<std::string, std::size_t> &counts, const std::string &command) {
    ++counts[command];
    ++counts[""];
}

std::size_t counted(const std::map<std::string, std::size_t> &counts, const std::string &command) {
    const auto found = counts.find(command);
    return found == counts.end() ? 0 : found->second;
}

} // namespace

Recorder::Recorder(const std::string &base, double time_scale) : time_scale_(time_scale) {
    std::istringstream in(base);
    for (std::string line; std::getline(in, line);) {
        const std::string word = first_word(line);
        if (word == "fault") {
            rules_.push_back({line, 0, {}});
        } else if (word != "typing" && !is_script(word)) {
            base_ += line + '\n';
        }
        base_replugs_ = base_replugs_ || word == "replug";
        base_has_card_ = base_has_card_ || word == "mifare";
    }
}

void Recorder::entry(const JournalEntry &entry) {
    if (full()) {
        return;
    }
    if (entry.kind == "command") {
        if (script_) {
            end();
        }
        begin(entry.field("id"), entry.time);
    } else if (entry.kind == "key") {
        key(entry.time, entry.field("key"));
    } else if (entry.kind == "notify") {
        step(entry.time, "notify " + quoted(entry.field("text")));
    } else if (entry.kind == "display" && script_) {
        script_->shown = true;
    } else if (entry.kind == "answered") {
        answered(entry);
    } else if (entry.kind == "response") {
        response(entry);
    } else if (entry.kind == "abort" && script_) {
        end();
    } else if (entry.kind == "unplugged") {
        unplugged(entry);
    } else if (entry.kind == "port") {
        plugged(entry.time);
    } else if (entry.kind == "fault") {
        struck_ack_ = struck_ack_ || entry.field("stage") == "ack";
        struck_unplug_ = entry.field("action").rfind("unplug", 0) == 0;
    } else if (entry.kind == "card") {
        card_came_ = card_came_ || entry.field("action") == "hold";
    } else if (entry.kind == "mifare" && !card_came_) {
        missed_activations_ += entry.field("id") == "MF01" ? 1 : 0;
    }
}

void Recorder::frame(const WireFrame &frame) {
    if (full()) {
        return;
    }
    const bool from_host = frame.direction == Direction::from_host;
    const bool frame_of_host =
        from_host && (frame.kind == FrameKind::command || frame.kind == FrameKind::bad_command);
    if (frame_of_host) {
        const std::size_t id_length = frame.framing == Framing::abecs ? 3 : 4;
        const bool acknowledgeable = frame.kind == FrameKind::command || struck_ack_;
        command_ = to_text(frame.body).substr(0, id_length);
        if (acknowledgeable) {
            count(acks_, command_);
        }
        struck_ack_ = false;
    } else if (frame.kind == FrameKind::response) {
        count(responses_, command_);
        event(frame);
    }
}

void Recorder::begin(const std::string &id, Clock::time_point time) {
    const ScriptDirective *directive = directive_of(id);
    if (directive != nullptr) {
        script_ = Script{directive, false, {}, time};
    }
}

void Recorder::end() {
    const bool event = script_->directive->kind == ScriptKind::event;
    if (script_->shown || event) {
        scripts_.push_back(std::string(script_->directive->word) +
                           (script_->steps.empty() ? " live" : script_->steps));
    }
    drop();
}

std::string Recorder::waited(Clock::time_point time) const {
    const double passed =
        std::chrono::duration<double, std::milli>(time - script_->last_time).count();
    return std::to_string(std::lround(std::max(passed, 0.0) * time_scale_));
}

void Recorder::step(Clock::time_point time, const std::string &words) {
    if (!script_) {
        return;
    }
    script_->steps += " wait " + waited(time) + ' ' + words;
    script_->last_time = time;
}

void Recorder::key(Clock::time_point time, const std::string &name) {
    // An event check is recorded by the event that it reports.
    if (!script_ || script_->directive->kind == ScriptKind::event) {
        return;
    }
    const bool capture = script_->directive->kind == ScriptKind::capture;
    const bool usable =
        name == "enter" || name == "cancel" || name == "clear" || name == "backspace";
    if (usable) {
        step(time, name);
    } else if (name.size() == 1 && !capture) {
        step(time, "press " + name);
    } else if (name.size() == 1 && name >= "0" && name <= "9") {
        script_->steps += " keys " + name + " every " + waited(time);
        script_->last_time = time;
    }
}

void Recorder::response(const JournalEntry &entry) {
    count(replies_, command_);
    if (!script_) {
        return;
    }
    const std::string status = entry.field("status");
    const ScriptKind kind = script_->directive->kind;
    if (kind == ScriptKind::event) {
        // An event is recorded with the frame that carries it.
        if (status == "012") {
            step(entry.time, "timeout");
            end();
        } else if (status != "000") {
            drop();
        }
        return;
    }
    if (kind == ScriptKind::capture && status == "012" && script_->shown) {
        step(entry.time, "timeout");
    }
    end();
}

void Recorder::answered(const JournalEntry &entry) {
    if (!script_) {
        return;
    }
    const std::string value = entry.field("value");
    const char first = value.empty() ? '\0' : value.front();
    const bool survey = entry.field("id") != "QR01";
    if (survey ? first == 'T' : first == '2') {
        step(entry.time, "timeout");
    } else if ((survey && first == 'I') || (script_->steps.empty() && first != 'S')) {
        step(entry.time, "answer " + quoted(value));
    }
}

void Recorder::event(const WireFrame &frame) {
    if (!script_ || script_->directive->kind != ScriptKind::event) {
        return;
    }
    constexpr std::size_t head = 6; // identifier and status
    const std::string text = to_text(frame.body);
    if (text.substr(0, 3) != "CEX" || text.size() < head) {
        return;
    }
    std::string code;
    Card card;
    try {
        for (const Param &param : read_params(to_bytes(text.substr(head)))) {
            const std::string value = to_text(param.value);
            if (param.id == data_id::event) {
                code = value;
            } else if (param.id == data_id::track1) {
                card.track1 = value;
            } else if (param.id == data_id::track2) {
                card.track2 = value;
            } else if (param.id == data_id::track3) {
                card.track3 = value;
            }
        }
    } catch (const Refusal &) {
        code.clear();
    }
    if (code.empty()) {
        drop();
        return;
    }
    step(frame.time, code == event_code::swipe ? "swipe " + card_name(card) : event_step(code));
    end();
}

std::string Recorder::card_name(const Card &card) {
    const auto found = std::find_if(cards_.begin(), cards_.end(), [&card](const Card &known) {
        return known.track1 == card.track1 && known.track2 == card.track2 &&
               known.track3 == card.track3;
    });
    const auto number = static_cast<std::size_t>(found - cards_.begin()) + 1;
    if (found == cards_.end()) {
        cards_.push_back(card);
    }
    return "recorded" + std::to_string(number);
}

void Recorder::unplugged(const JournalEntry &entry) {
    unplugged_at_ = entry.time;
    if (!std::exchange(struck_unplug_, false)) {
        if (script_) {
            rules_.push_back({"fault ack " + command_ + " unplug-after",
                              counted(acks_, command_) - 1, std::size_t{1}});
        } else {
            notes_.emplace_back("# The cable was pulled while no command was waiting.");
        }
    }
    if (script_) {
        end();
    }
}

void Recorder::plugged(Clock::time_point time) {
    if (!unplugged_at_) {
        return;
    }
    const auto away = std::chrono::duration_cast<std::chrono::milliseconds>(time - *unplugged_at_);
    if (!replug_) {
        replug_ = "replug " + std::to_string(away.count());
    }
    unplugged_at_.reset();
}

std::size_t Recorder::occasions(const std::string &rule) const {
    const Scenario read = parse_scenario(rule);
    const std::string target = target_of(read);
    if (read.faults.empty()) {
        return counted(replies_, target);
    }
    switch (read.faults.front().stage) {
    case FaultStage::ack:
        return counted(acks_, target);
    case FaultStage::response:
    case FaultStage::secure:
        return counted(responses_, target);
    default:
        return counted(acks_, "OPN");
    }
}

void Recorder::armed(const std::string &rule) {
    if (full()) {
        return;
    }
    rules_.push_back({rule, occasions(rule), {}});
}

void Recorder::disarmed(const std::string &rule) {
    const auto found = std::find_if(rules_.rbegin(), rules_.rend(), [&rule](const Rule &known) {
        return known.text == rule && !known.lasted;
    });
    if (found != rules_.rend()) {
        found->lasted = occasions(rule) - found->before;
    }
}

std::string Recorder::rule_line(const Rule &rule) const {
    if (rule.before == 0 && !rule.lasted) {
        return rule.text + '\n';
    }
    const Scenario read = parse_scenario(rule.text);
    const Target target =
        read.faults.empty() ? read.replies.front().target : read.faults.front().target;
    std::size_t times = target.times;
    if (rule.lasted) {
        if (*rule.lasted < target.nth) {
            return {};
        }
        times = std::min<std::size_t>(times, *rule.lasted - target.nth + 1);
    }
    return without_occasions(rule.text) + " nth " + std::to_string(target.nth + rule.before) +
           (times == Target::always ? " always" : " times " + std::to_string(times)) + '\n';
}

std::string Recorder::card_lines() const {
    if (!card_came_ || base_has_card_) {
        return {};
    }
    const auto &uid = Scenario::default_uid;
    std::string line = "mifare uid " + to_hex(Bytes(uid.begin(), uid.end()));
    if (missed_activations_ != 0) {
        line += " missed " + std::to_string(missed_activations_);
    }
    return line + '\n';
}

std::string Recorder::scenario() const {
    std::string text = base_ + card_lines();
    if (replug_ && !base_replugs_) {
        text += *replug_ + '\n';
    }
    for (std::size_t i = 0; i < cards_.size(); ++i) {
        text += "card recorded" + std::to_string(i + 1);
        const Card &card = cards_[i];
        if (!card.track1.empty()) {
            text += " track1 " + quoted(card.track1);
        }
        if (!card.track2.empty()) {
            text += " track2 " + quoted(card.track2);
        }
        if (!card.track3.empty()) {
            text += " track3 " + quoted(card.track3);
        }
        text += '\n';
    }
    for (const Rule &rule : rules_) {
        text += rule_line(rule);
    }
    for (const std::string &note : notes_) {
        text += note + '\n';
    }
    for (const std::string &script : scripts_) {
        text += script + '\n';
    }
    if (full()) {
        text += "# The recording is full; what came after this is not in it.\n";
    }
    return text;
}

} // namespace sim::web
