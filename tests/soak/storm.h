#pragma once

#include "abecs/observer.h"
#include "abecs/pinpad.h"
#include "sim/simulator.h"
#include "tests/soak/fault_plan.h"
#include "tests/soak/usage.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <ostream>
#include <string>

namespace soak {

enum class Channel { PLAIN, SECURE, BOTH };

struct StormOptions {
    std::size_t exchanges = 1000;
    std::uint64_t seed = 1;
    unsigned rate = 30; ///< of the frames, in percent
    std::uint32_t divisor = 100;
    Channel channel = Channel::BOTH;
    /// What the machine may add to a wait.
    Milliseconds slack{500};
};

struct StormReport {
    std::size_t exchanges = 0;
    std::size_t frames = 0;
    std::size_t struck = 0;
    std::size_t failures = 0;
    std::size_t silentPolls = 0;
    std::size_t reopened = 0;
    Milliseconds largestDelay{0}; ///< by which a call exceeded its documented waits
    Usage early{};
    Usage last{};
    std::size_t earlyAt = 0;
    std::map<std::string, std::size_t> outcomes;
};

/// Random commands against the virtual PIN pad under random faults of the line.
class Storm {
public:
    Storm(const StormOptions &options, std::ostream &out);
    ~Storm();
    Storm(const Storm &) = delete;
    Storm &operator=(const Storm &) = delete;

    /// Throws std::runtime_error at the first violation, naming exchange and faults.
    StormReport run();

private:
    struct Outcome;

    void exchange();
    void hurry(bool faultsAhead);
    Outcome call(const faults::Command &command, bool faultsAhead);
    void judge(const faults::Command &command, const FaultPlan &plan, const Outcome &outcome);
    void judgeTime(const faults::Command &command, const FaultPlan &plan, const Outcome &outcome);
    void recover(const faults::Command &command, const FaultPlan &plan, const Outcome &outcome);
    void expectNextCommandWorks();
    void openLine();
    void openChannel();
    bool nextChannelIsSecure();
    void progress();
    void judgeUsage() const;
    [[noreturn]] void refuse(const std::string &what) const;
    template <typename Body>
    void must(const char *what, Body body) const;
    static void countFrame(void *storm, const AbecsLinkEvent *event);

    StormOptions m_options;
    std::ostream &m_out;
    Dice m_dice;
    sim::Simulator m_device;
    AbecsPinpadPtr m_pinpad;
    std::string m_current;
    std::uint32_t m_divisor = 1;
    bool m_counting = false;
    StormReport m_report;
};

} // namespace soak
