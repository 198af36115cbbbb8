#pragma once

#include "sim/journal.h"
#include "sim/scenario.h"
#include "sim/types.h"
#include "sim/wire_log.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace sim::web {

// Records a session as a scenario. For the same commands, a device with that scenario repeats what
// the customer did, at the same pace, and the faults that struck.
//
// Not kept: what happens to the contactless card once it is in the field, and a cable pulled by
// hand while no command waits for the customer (a comment tells of it). A recording ends after
// most_lines scripts, rules and comments.
class Recorder {
public:
    static constexpr std::size_t most_lines = 4000;

    // Takes the scenario that the device runs, of which the lines about the device itself are kept,
    // and its time scale, by which recorded times are multiplied.
    explicit Recorder(const std::string &base, double time_scale = 1.0);

    void entry(const JournalEntry &entry);
    void frame(const WireFrame &frame);

    // A rule was armed or disarmed by hand.
    void armed(const std::string &rule);
    void disarmed(const std::string &rule);

    std::string scenario() const;

private:
    // What the customer did for one command.
    struct Script {
        const ScriptDirective *directive;
        bool shown;
        std::string steps;
        Clock::time_point last_time;
    };
    // A rule, the number of occasions before it was armed, and the number until it was disarmed.
    struct Rule {
        std::string text;
        std::size_t before;
        std::optional<std::size_t> lasted;
    };

    bool full() const { return scripts_.size() + rules_.size() + notes_.size() >= most_lines; }
    void begin(const std::string &id, Clock::time_point time);
    void end();
    void drop() { script_.reset(); }
    void step(Clock::time_point time, const std::string &words);
    void key(Clock::time_point time, const std::string &name);
    void response(const JournalEntry &entry);
    void answered(const JournalEntry &entry);
    void unplugged(const JournalEntry &entry);
    void plugged(Clock::time_point time);
    void event(const WireFrame &frame);
    std::string card_name(const Card &card);
    std::string waited(Clock::time_point time) const;
    std::size_t occasions(const std::string &rule) const;
    std::string rule_line(const Rule &rule) const;
    std::string card_lines() const;

    double time_scale_;
    std::string base_;
    bool base_replugs_ = false;
    bool base_has_card_ = false;
    std::vector<std::string> notes_;
    std::vector<Card> cards_;
    std::vector<std::string> scripts_;
    std::vector<Rule> rules_;
    std::optional<Script> script_;

    // By command; the empty name counts all of them.
    std::map<std::string, std::size_t> acks_;
    std::map<std::string, std::size_t> responses_;
    std::map<std::string, std::size_t> replies_;
    std::string command_;
    bool struck_ack_ = false;
    bool struck_unplug_ = false;
    std::optional<Clock::time_point> unplugged_at_;
    std::optional<std::string> replug_;
    std::size_t missed_activations_ = 0;
    bool card_came_ = false;
};

} // namespace sim::web
