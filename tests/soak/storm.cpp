#include "tests/soak/storm.h"

#include "abecs/commands/display.h"
#include "abecs/link.h"
#include "abecs/open.h"
#include "core/time.h"
#include "serial/time_divisor.h"
#include "tests/soak/commands.h"
#include "tests/soak/documented.h"

#include <algorithm>
#include <stdexcept>

namespace soak {

namespace {

constexpr std::int32_t NOT_RUN = -99;
constexpr std::size_t EARLY = 1000;

// Opening or closing changes the session, and a key pair costs more than all the rest: one exchange
// in this many.
constexpr unsigned CHANNEL_CHANGES = 25;

// Where no fault is, nothing is waited for, and the time that the machine may take over its part
// can be this many times longer.
constexpr std::uint32_t CALM = 4;

// An RSA key pair is found by chance; the time is the processor's, not the line's.
constexpr Milliseconds KEY_PAIR{10000};

// What the pools of the C library and of the library itself may still gain once all is warm.
constexpr std::size_t HEAP_GAIN = std::size_t{64} << 10;
// The allocator's reserves, and what the address sanitizer keeps of freed memory.
constexpr std::size_t RESIDENT_GAIN = std::size_t{48} << 20;

sim::SimulatorOptions forgetful() {
    sim::SimulatorOptions options;
    options.keep_logs = false;
    return options;
}

void sleepFor(Milliseconds time) {
    pcl_sleep_millis(static_cast<std::uint64_t>(time.count()) + 1);
}

bool isSilence(const PclException &failure) {
    return failure.code == PCL_RESULT_TIMEOUT_ERROR &&
           std::string(failure.message).find("Timeout waiting for data") != std::string::npos;
}

} // namespace

struct Storm::Outcome {
    PclException preparing;
    PclException failure;
    std::int32_t result = NOT_RUN;
    Milliseconds elapsed{0};
    bool struck = false;
};

Storm::Storm(const StormOptions &options, std::ostream &out)
    : m_options(options), m_out(out), m_dice(options.seed), m_device(scenario(), forgetful()) {
    hurry(false);
    abecs_link_set_observer(&countFrame, this);
}

Storm::~Storm() {
    m_pinpad.reset();
    abecs_link_set_observer(nullptr, nullptr);
    pcl_serial_set_time_divisor(1);
}

void Storm::countFrame(void *storm, const AbecsLinkEvent *event) {
    auto *self = static_cast<Storm *>(storm);
    if (self->m_counting && event->kind <= ABECS_LINK_DAMAGED) {
        ++self->m_report.frames;
    }
}

StormReport Storm::run() {
    openLine();
    openChannel();
    // Of a shorter run the first half warms up.
    const std::size_t early = std::min(EARLY, m_options.exchanges / 2);
    while (m_report.exchanges < m_options.exchanges) {
        exchange();
        ++m_report.exchanges;
        if (m_report.exchanges == early) {
            m_report.early = measureUsage();
            m_report.earlyAt = early;
        }
        progress();
    }
    m_report.last = measureUsage();
    judgeUsage();
    return m_report;
}

void Storm::exchange() {
    const std::vector<faults::Command> &all = commands();
    std::size_t chosen = m_dice.below(static_cast<unsigned>(all.size()));
    while (all[chosen].changesChannel && m_dice.below(CHANNEL_CHANGES) != 0) {
        chosen = m_dice.below(static_cast<unsigned>(all.size()));
    }
    const faults::Command &command = all[chosen];
    const bool secure = m_pinpad->secure != 0;
    const FaultPlan plan = planFaults(m_dice, command, secure, m_options.rate, m_options.divisor);
    m_current = "exchange " + std::to_string(m_report.exchanges) + ", " + command.name +
                (secure ? " on the secure channel" : " in clear");
    for (const std::string &rule : plan.rules) {
        m_current += "; " + rule;
        // The device may send its answer while the command is still being prepared.
        m_device.arm_fault(rule);
    }
    const Outcome outcome = call(command, !plan.rules.empty());
    m_device.clear_faults();
    judge(command, plan, outcome);
    hurry(false);
    recover(command, plan, outcome);
}

void Storm::hurry(bool faultsAhead) {
    m_divisor = faultsAhead ? m_options.divisor : std::max(m_options.divisor / CALM, 1U);
    pcl_serial_set_time_divisor(m_divisor);
}

Storm::Outcome Storm::call(const faults::Command &command, bool faultsAhead) {
    Outcome outcome;
    const std::size_t before = m_device.snapshot().faults_struck;
    m_counting = true;
    if (command.prepare != nullptr) {
        outcome.preparing = pcl_attempt([&] { command.prepare(m_pinpad.get()); });
    }
    if (!outcome.preparing) {
        hurry(faultsAhead);
        const auto start = std::chrono::steady_clock::now();
        outcome.failure = pcl_attempt([&] { outcome.result = command.run(m_pinpad.get()); });
        outcome.elapsed = std::chrono::steady_clock::now() - start;
    }
    m_counting = false;
    const std::size_t struck = m_device.snapshot().faults_struck - before;
    outcome.struck = struck != 0;
    m_report.struck += struck;
    return outcome;
}

void Storm::judge(const faults::Command &command, const FaultPlan &plan, const Outcome &outcome) {
    if (outcome.preparing) {
        // Only a cable can be pulled before the call itself.
        if (!outcome.struck || documentedAs(outcome.preparing, plan.causes & AT_CABLE) == nullptr) {
            refuse(std::string("preparing failed: ") + outcome.preparing.message);
        }
        return;
    }
    judgeTime(command, plan, outcome);
    if (outcome.failure) {
        ++m_report.failures;
        if (!outcome.struck) {
            refuse(std::string("failed without a fault: ") + outcome.failure.message);
        }
        const char *known = documentedAs(outcome.failure, plan.causes);
        if (known == nullptr) {
            refuse(std::string("undocumented failure: ") + outcome.failure.message);
        }
        ++m_report.outcomes[known];
        return;
    }
    if (outcome.result == command.good) {
        ++m_report.outcomes["success"];
        return;
    }
    if (command.polls && outcome.result == -1 && outcome.struck) {
        ++m_report.silentPolls;
        ++m_report.outcomes["-1"];
        return;
    }
    const bool keyMissing = (plan.causes & AT_KEY_EXCHANGE) != 0 && outcome.struck &&
                            outcome.result == ABECS_RSP_STAT_ST_INVCALL;
    if (!keyMissing) {
        refuse("result " + std::to_string(outcome.result));
    }
    ++m_report.outcomes["no key"];
}

void Storm::judgeTime(const faults::Command &command, const FaultPlan &plan,
                      const Outcome &outcome) {
    const Milliseconds key = command.frame == "OPN" ? KEY_PAIR : Milliseconds{0};
    const Milliseconds documented = plan.waits / m_divisor + plan.delays + key;
    const Milliseconds beyond = outcome.elapsed - documented;
    m_report.largestDelay = std::max(m_report.largestDelay, beyond);
    if (beyond > m_options.slack) {
        refuse("took " + std::to_string(outcome.elapsed.count()) + " ms instead of " +
               std::to_string(documented.count()));
    }
    const bool silent = isSilence(outcome.failure) || (outcome.result == -1 && !outcome.failure);
    const Milliseconds least = plan.silence / m_divisor;
    if (silent && outcome.elapsed < least) {
        refuse("gave up after " + std::to_string(outcome.elapsed.count()) + " ms instead of " +
               std::to_string(least.count()));
    }
}

void Storm::recover(const faults::Command &command, const FaultPlan &plan, const Outcome &outcome) {
    // What is delayed may outlive a call that failed for another reason, and a late byte in the
    // middle of the next command is a fault of its own.
    if (outcome.struck) {
        sleepFor(plan.late + plan.delays);
    }
    if ((plan.causes & AT_CABLE) != 0 && outcome.struck) {
        // A call that had failed before may be back before the cable is out.
        m_device.unplug();
        m_device.replug();
        openLine();
        openChannel();
        expectNextCommandWorks();
        return;
    }
    // On a healthy session the surplus would be taken for the acknowledgement of the next command.
    if (abecs_pinpad_get_pending(m_pinpad.get()).text[0] != '\0' ||
        (plan.surplus && outcome.struck && !outcome.failure)) {
        must("abort", [&] { abecs_link_abort(m_pinpad.get()); });
    }
    if (command.changesChannel) {
        // The session may be closed now, and after a failure the two sides may disagree about that.
        openChannel();
    }
    if (outcome.struck || m_report.exchanges % 16 == 0) {
        expectNextCommandWorks();
    }
}

void Storm::expectNextCommandWorks() {
    must("the next command", [&] {
        if (abecs_dex(m_pinpad.get(), "STILL HERE") != ABECS_RSP_STAT_ST_OK) {
            refuse("the next command was refused");
        }
    });
    if (m_device.snapshot().display != std::vector<std::string>{"STILL HERE"}) {
        refuse("the next command came to something else");
    }
}

void Storm::openLine() {
    m_pinpad.reset();
    ++m_report.reopened;
    must("opening the port", [&] { m_pinpad.reset(abecs_pinpad_create(m_device.port().c_str())); });
}

void Storm::openChannel() {
    const bool secure = nextChannelIsSecure();
    must("opening the session", [&] {
        if (abecs_open(m_pinpad.get(), secure ? 1 : 0) != ABECS_RSP_STAT_ST_OK) {
            refuse("opening the session was refused");
        }
        if (!secure) {
            abecs_pinpad_set_session_key(m_pinpad.get(), nullptr);
        }
    });
}

bool Storm::nextChannelIsSecure() {
    const bool heads = m_dice.percent(50);
    return m_options.channel == Channel::SECURE || (m_options.channel == Channel::BOTH && heads);
}

void Storm::progress() {
    const std::size_t step = std::max<std::size_t>(m_options.exchanges / 20, 1000);
    if (m_report.exchanges % step != 0) {
        return;
    }
    const Usage now = measureUsage();
    m_out << m_report.exchanges << " exchanges, " << m_report.struck << " faults, heap "
          << now.heap / 1024 << " KiB, resident " << now.resident / 1024 << " KiB, files "
          << now.files << std::endl;
}

void Storm::judgeUsage() const {
    if (m_report.last.files != m_report.early.files) {
        refuse("open files went from " + std::to_string(m_report.early.files) + " to " +
               std::to_string(m_report.last.files));
    }
    if (m_report.last.heap > m_report.early.heap + HEAP_GAIN) {
        refuse("the heap grew from " + std::to_string(m_report.early.heap) + " to " +
               std::to_string(m_report.last.heap) + " bytes");
    }
    if (m_report.last.resident > m_report.early.resident + RESIDENT_GAIN) {
        refuse("resident memory grew from " + std::to_string(m_report.early.resident) + " to " +
               std::to_string(m_report.last.resident) + " bytes");
    }
}

void Storm::refuse(const std::string &what) const {
    throw std::runtime_error("seed " + std::to_string(m_options.seed) + ", " + m_current + ": " +
                             what);
}

template <typename Body>
void Storm::must(const char *what, Body body) const {
    const PclException failure = pcl_attempt(body);
    if (failure) {
        refuse(std::string(what) + " failed: " + failure.message);
    }
}

} // namespace soak
