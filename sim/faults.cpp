#include "sim/faults.h"

namespace sim {

bool Occasions::strike(const std::string &command) {
    if (!target_.command.empty() && target_.command != command) {
        return false;
    }
    ++seen_;
    if (seen_ < target_.nth) {
        return false;
    }
    return target_.times == Target::always || seen_ - target_.nth < target_.times;
}

const std::vector<FaultWord> &fault_words() {
    using Argument = FaultWord::Argument;
    static const std::vector<FaultWord> words{
        {FaultStage::ack, "nak", FaultKind::ack_nak, Argument::none},
        {FaultStage::ack, "byte", FaultKind::ack_byte, Argument::byte},
        {FaultStage::ack, "garble", FaultKind::ack_garble, Argument::byte},
        {FaultStage::ack, "silent", FaultKind::ack_silent, Argument::none},
        {FaultStage::ack, "lost", FaultKind::ack_lost, Argument::none},
        {FaultStage::ack, "delay", FaultKind::ack_delay, Argument::duration},
        {FaultStage::ack, "unplug", FaultKind::ack_unplug, Argument::none},
        {FaultStage::ack, "unplug-after", FaultKind::ack_unplug_after, Argument::none},
        {FaultStage::response, "bad-crc", FaultKind::response_bad_crc, Argument::none},
        {FaultStage::response, "cut", FaultKind::response_cut, Argument::number},
        {FaultStage::response, "drop", FaultKind::response_drop, Argument::number},
        {FaultStage::response, "duplicate", FaultKind::response_duplicate, Argument::number},
        {FaultStage::response, "corrupt", FaultKind::response_corrupt, Argument::number},
        {FaultStage::response, "stall", FaultKind::response_stall, Argument::number_duration},
        {FaultStage::response, "prefix", FaultKind::response_prefix, Argument::hex},
        {FaultStage::response, "suffix", FaultKind::response_suffix, Argument::hex},
        {FaultStage::response, "silent", FaultKind::response_silent, Argument::none},
        {FaultStage::response, "delay", FaultKind::response_delay, Argument::duration},
        {FaultStage::response, "twice", FaultKind::response_twice, Argument::none},
        {FaultStage::response, "unplug", FaultKind::response_unplug, Argument::number},
        {FaultStage::secure, "payload", FaultKind::secure_payload, Argument::number},
        {FaultStage::secure, "len", FaultKind::secure_len, Argument::number},
        {FaultStage::secure, "bad-datacrc", FaultKind::secure_bad_datacrc, Argument::none},
        {FaultStage::secure, "encrypt", FaultKind::secure_encrypt, Argument::none},
        {FaultStage::secure, "plain", FaultKind::secure_plain, Argument::none},
        {FaultStage::opn, "block-type", FaultKind::opn_block_type, Argument::byte},
        {FaultStage::opn, "block-head", FaultKind::opn_block_head, Argument::byte},
        {FaultStage::opn, "no-separator", FaultKind::opn_no_separator, Argument::none},
        {FaultStage::opn, "ksec-length", FaultKind::opn_ksec_length, Argument::number},
        {FaultStage::opn, "len1", FaultKind::opn_len1, Argument::number},
        {FaultStage::opn, "crkslen", FaultKind::opn_crkslen, Argument::number},
        {FaultStage::opn, "empty", FaultKind::opn_empty, Argument::none},
        {FaultStage::opn, "short", FaultKind::opn_short, Argument::number},
        {FaultStage::opn, "bad-hex", FaultKind::opn_bad_hex, Argument::none},
        {FaultStage::opn, "lead-30", FaultKind::opn_lead_30, Argument::number},
        {FaultStage::can, "byte", FaultKind::can_byte, Argument::byte},
        {FaultStage::can, "silent", FaultKind::can_silent, Argument::none},
        {FaultStage::can, "delay", FaultKind::can_delay, Argument::duration},
        {FaultStage::can, "unplug", FaultKind::can_unplug, Argument::none},
    };
    return words;
}

const char *stage_word(FaultStage stage) {
    switch (stage) {
    case FaultStage::ack:
        return "ack";
    case FaultStage::response:
        return "response";
    case FaultStage::secure:
        return "secure";
    case FaultStage::opn:
        return "opn";
    case FaultStage::can:
        return "can";
    }
    return "";
}

const char *action_word(FaultKind kind) {
    for (const FaultWord &word : fault_words()) {
        if (word.kind == kind) {
            return word.word;
        }
    }
    return "";
}

FaultInjector::FaultInjector(const std::vector<FaultRule> &rules) {
    for (const FaultRule &rule : rules) {
        arm(rule);
    }
}

void FaultInjector::arm(const FaultRule &rule) {
    armed_.push_back({rule.stage, rule.fault, Occasions(rule.target)});
}

std::optional<Fault> FaultInjector::strike(FaultStage stage, const std::string &command) {
    std::optional<Fault> struck;
    for (Armed &armed : armed_) {
        if (armed.stage != stage) {
            continue;
        }
        const bool strikes = armed.occasions.strike(command);
        if (strikes && !struck) {
            struck = armed.fault;
        }
    }
    return struck;
}

} // namespace sim
