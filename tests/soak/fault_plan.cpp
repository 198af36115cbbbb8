#include "tests/soak/fault_plan.h"

#include "tests/soak/commands.h"
#include "tests/soak/documented.h"

#include <cstdio>

namespace soak {

namespace {

constexpr Milliseconds BYTE_WAIT{2000};
constexpr Milliseconds FIRST_BYTE_WAIT{10000};
constexpr Milliseconds EXTENSION_WAIT{1500};
constexpr Milliseconds DRAIN{500};

class Planner {
public:
    Planner(Dice &dice, const faults::Command &command, std::uint32_t divisor)
        : m_dice(dice), m_command(command), m_divisor(divisor) {}

    void atAck() {
        m_plan.causes |= AT_ACK;
        switch (m_dice.below(20)) {
        case 0:
        case 1:
            return rule("ack", "delay " + number(shortDelay()));
        case 2:
        case 3:
            m_plan.waits += DRAIN;
            return rule("ack", "byte " + strangeByte());
        case 4:
        case 5:
        case 6:
            m_plan.waits += DRAIN;
            return rule("ack", "garble " + strangeByte());
        case 7:
        case 8:
            m_plan.waits += BYTE_WAIT;
            m_plan.silence = BYTE_WAIT;
            return rule("ack", "silent");
        case 9:
        case 10:
            // What follows may stand where the acknowledgement should have been.
            m_plan.waits += BYTE_WAIT + DRAIN;
            return rule("ack", "lost");
        case 11:
            m_plan.waits += BYTE_WAIT;
            m_plan.silence = BYTE_WAIT;
            return rule("ack", "delay " + number(lateDelay(BYTE_WAIT * 1.5)));
        case 12:
            m_plan.causes |= AT_CABLE;
            return rule("ack", m_dice.percent(50) ? "unplug" : "unplug-after");
        default:
            return rule("ack", "nak times " + number(1 + m_dice.below(3)));
        }
    }

    void atResponse() {
        m_plan.causes |= AT_RESPONSE;
        const std::string place = number(m_dice.below(10));
        const unsigned times = 1 + m_dice.below(3);
        const std::string repeated = " times " + number(times);
        switch (m_dice.below(24)) {
        case 0:
        case 1:
        case 2:
            m_plan.waits += DRAIN * (times + 1);
            return rule("response", "bad-crc" + repeated);
        case 3:
        case 4:
            return breaking("cut " + number(1 + m_dice.below(9)) + repeated, times);
        case 5:
        case 6:
            return breaking("drop " + place + repeated, times);
        case 7:
        case 8:
            return breaking("duplicate " + place + repeated, times);
        case 9:
        case 10:
        case 11:
            return breaking("corrupt " + place + repeated, times);
        case 12:
        case 13:
            return rule("response", "stall " + place + ' ' + number(shortDelay()));
        case 14:
            return breaking("prefix " + strangeByte(), 1);
        case 15:
        case 16:
            m_plan.surplus = true;
            return rule("response", "suffix " + strangeByte() + strangeByte());
        case 17:
            m_plan.waits += firstWait();
            m_plan.silence = firstWait();
            return rule("response", "silent");
        case 18:
            m_plan.waits += firstWait();
            m_plan.silence = firstWait();
            return rule("response", "delay " + number(lateDelay(firstWait() * 1.25)));
        case 19:
        case 20:
            return rule("response", "delay " + number(shortDelay()));
        case 21:
            m_plan.causes |= AT_CABLE;
            return rule("response", "unplug " + place);
        default:
            m_plan.surplus = true;
            return rule("response", "twice");
        }
    }

    void atEncryption() {
        m_plan.causes |= AT_ENCRYPTION;
        static constexpr const char *FIXED[] = {"bad-datacrc", "encrypt", "plain"};
        const unsigned choice = m_dice.below(5);
        if (choice < 3) {
            return rule("secure", FIXED[choice]);
        }
        rule("secure", choice == 3 ? "payload " + number(m_dice.below(300))
                                   : "len " + number(m_dice.below(65536)));
    }

    void atKeyExchange() {
        m_plan.causes |= AT_KEY_EXCHANGE;
        static constexpr const char *ACTIONS[] = {"block-type 01",  "block-head 01", "no-separator",
                                                  "ksec-length 15", "len1 514",      "crkslen 255",
                                                  "empty",          "short 510",     "bad-hex"};
        m_plan.rules.push_back(std::string("fault opn ") + ACTIONS[m_dice.below(9)]);
    }

    void atAbort() {
        m_plan.causes |= AT_ABORT;
        const unsigned times = 1 + m_dice.below(3);
        switch (m_dice.below(6)) {
        case 0:
            m_plan.causes |= AT_CABLE;
            m_plan.rules.emplace_back("fault can unplug");
            return;
        case 1:
            m_plan.waits += BYTE_WAIT;
            m_plan.rules.emplace_back("fault can silent");
            return;
        case 2:
            m_plan.rules.push_back("fault can delay " + number(shortDelay()));
            return;
        default:
            m_plan.waits += DRAIN * times;
            m_plan.rules.push_back("fault can byte " + strangeByte() + " times " + number(times));
            return;
        }
    }

    /// A drain that the customer's quick answer may cause whatever the faults are.
    void strayAnswer() { m_plan.waits += DRAIN * 3; }

    FaultPlan take() {
        m_plan.exchangesKey = m_command.changesChannel;
        // Two faults may hide each other, and then it is not known which wait came first.
        if (m_plan.rules.size() > 1) {
            m_plan.silence = Milliseconds{0};
        }
        return m_plan;
    }

private:
    static std::string number(unsigned value) { return std::to_string(value); }
    static unsigned whole(Milliseconds time) { return static_cast<unsigned>(time.count()) + 1; }
    Milliseconds scaled(Milliseconds time) const { return time / m_divisor; }

    Milliseconds firstWait() const {
        if (faults::isExtension(m_command)) {
            return EXTENSION_WAIT;
        }
        return m_command.polls ? BYTE_WAIT : FIRST_BYTE_WAIT;
    }

    /// Neither ACK nor NAK, and nothing that begins a frame or answers an abort.
    std::string strangeByte() {
        char text[3];
        std::snprintf(text, sizeof text, "%02X", 0x20 + m_dice.below(0xE0));
        return text;
    }

    /// Well within every wait, on the device's clock.
    unsigned shortDelay() {
        const unsigned delay = 1 + m_dice.below(whole(scaled(EXTENSION_WAIT / 3)));
        m_plan.delays += Milliseconds(delay) * 3;
        return delay;
    }

    /// Past the wait that is given, once that is divided.
    unsigned lateDelay(Milliseconds undivided) {
        const unsigned delay = whole(scaled(undivided));
        m_plan.late += Milliseconds(delay);
        return delay;
    }

    void breaking(const std::string &action, unsigned times) {
        m_plan.waits += (BYTE_WAIT + DRAIN) * times + DRAIN;
        rule("response", action);
    }

    void rule(const std::string &stage, const std::string &action) {
        m_plan.rules.push_back("fault " + stage + ' ' + m_command.frame + ' ' + action);
    }

    Dice &m_dice;
    const faults::Command &m_command;
    std::uint32_t m_divisor;
    FaultPlan m_plan;
};

} // namespace

FaultPlan planFaults(Dice &dice, const faults::Command &command, bool secure, unsigned rate,
                     std::uint32_t divisor) {
    Planner planner(dice, command, divisor);
    if (command.frame == ABORT) {
        planner.strayAnswer();
        if (dice.percent(rate)) {
            planner.atAbort();
        }
        return planner.take();
    }
    if (command.sends && dice.percent(rate)) {
        planner.atAck();
    }
    if (!command.receives || !dice.percent(rate)) {
        return planner.take();
    }
    const bool isStandard = !faults::isExtension(command);
    if (secure && command.frame == "OPN" && dice.percent(50)) {
        planner.atKeyExchange();
    } else if (isStandard && secure && dice.percent(25)) {
        planner.atEncryption();
    } else {
        planner.atResponse();
    }
    return planner.take();
}

} // namespace soak
