#pragma once

#include "sim/types.h"

#include <chrono>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace sim {

// Which occasions a rule is for.
struct Target {
    static constexpr unsigned always = std::numeric_limits<unsigned>::max();

    std::string command; // empty for any
    unsigned nth = 1;
    unsigned times = 1;
};

// Counts the occasions of one rule.
class Occasions {
public:
    explicit Occasions(Target target) : target_(std::move(target)) {}

    // Counts an occasion for this command; returns whether the rule is for it.
    bool strike(const std::string &command);

private:
    Target target_;
    unsigned seen_ = 0;
};

enum class FaultStage { ack, response, secure, opn, can };

enum class FaultKind {
    ack_nak,
    ack_byte,
    ack_garble,
    ack_silent,
    ack_lost,
    ack_delay,
    ack_unplug,
    ack_unplug_after,
    response_bad_crc,
    response_cut,
    response_drop,
    response_duplicate,
    response_corrupt,
    response_stall,
    response_prefix,
    response_suffix,
    response_silent,
    response_delay,
    response_twice,
    response_unplug,
    secure_payload,
    secure_len,
    secure_bad_datacrc,
    secure_encrypt,
    secure_plain,
    opn_block_type,
    opn_block_head,
    opn_no_separator,
    opn_ksec_length,
    opn_len1,
    opn_crkslen,
    opn_empty,
    opn_short,
    opn_bad_hex,
    opn_lead_30,
    can_byte,
    can_silent,
    can_delay,
    can_unplug,
};

struct Fault {
    FaultKind kind = FaultKind::ack_nak;
    std::size_t number = 0; // a byte value, a position or a count
    std::chrono::milliseconds duration{0};
    Bytes bytes;
};

// The words of the scenario language for a fault, and what follows them.
struct FaultWord {
    enum class Argument { none, byte, number, duration, hex, number_duration };
    FaultStage stage;
    const char *word;
    FaultKind kind;
    Argument argument;
};
const std::vector<FaultWord> &fault_words();
const char *stage_word(FaultStage stage);
const char *action_word(FaultKind kind);

struct FaultRule {
    FaultStage stage = FaultStage::ack;
    Target target;
    Fault fault;
};

// Decides which fault strikes at an occasion.
class FaultInjector {
public:
    explicit FaultInjector(const std::vector<FaultRule> &rules);

    // Counts an occasion of the stage for every rule that it is for. Returns the fault of the
    // first rule that strikes.
    std::optional<Fault> strike(FaultStage stage, const std::string &command = "");

    // Adds a rule behind the others; it counts from now on.
    void arm(const FaultRule &rule);
    void clear() { armed_.clear(); }

private:
    struct Armed {
        FaultStage stage;
        Fault fault;
        Occasions occasions;
    };
    std::vector<Armed> armed_;
};

} // namespace sim
