#include "sim/web/station.h"

#include <algorithm>
#include <utility>

namespace sim::web {

Station::Station(const std::string &scenario, const SimulatorOptions &options,
                 JournalListener journal, WireListener wire)
    : options_(options), journal_(std::move(journal)), wire_(std::move(wire)),
      scenario_(parse_scenario(scenario)), recorder_(scenario, options.time_scale),
      device_(start(scenario)) {}

Station::~Station() {
    device_->set_listener({});
    device_->set_wire_listener({});
}

std::shared_ptr<Simulator> Station::start(const std::string &scenario) {
    auto device = std::make_shared<Simulator>(scenario, options_);
    device->set_listener([this](const JournalEntry &entry) { note(entry); });
    device->set_wire_listener([this](const WireFrame &frame) {
        {
            const std::lock_guard lock(mutex_);
            recorder_.frame(frame);
        }
        wire_(frame);
    });
    return device;
}

void Station::note(const JournalEntry &entry) {
    {
        const std::lock_guard lock(mutex_);
        recorder_.entry(entry);
        if (entry.kind == "fault") {
            count_strike(entry);
        }
    }
    journal_(entry);
}

void Station::count_strike(const JournalEntry &entry) {
    const auto struck = std::find_if(armed_.begin(), armed_.end(), [&entry](const Armed &armed) {
        return armed.stage == entry.field("stage") && armed.action == entry.field("action");
    });
    if (struck == armed_.end() || struck->left == Target::always) {
        return;
    }
    if (--struck->left == 0) {
        armed_.erase(struck);
    }
}

std::shared_ptr<Simulator> Station::device() const {
    const std::lock_guard lock(mutex_);
    return device_;
}

Scenario Station::scenario() const {
    const std::lock_guard lock(mutex_);
    return scenario_;
}

void Station::arm(const std::string &rule) {
    const Scenario read = parse_scenario(rule);
    device()->arm_fault(rule);
    const std::lock_guard lock(mutex_);
    recorder_.armed(rule);
    if (read.faults.empty()) {
        armed_.push_back({rule, "reply", "answer", read.replies.front().target.times});
    } else {
        const FaultRule &fault = read.faults.front();
        armed_.push_back(
            {rule, stage_word(fault.stage), action_word(fault.fault.kind), fault.target.times});
    }
}

void Station::disarm(const std::string &rule) {
    std::vector<std::string> others;
    {
        const std::lock_guard lock(mutex_);
        const auto found = std::find_if(armed_.begin(), armed_.end(),
                                        [&rule](const Armed &armed) { return armed.rule == rule; });
        if (found == armed_.end()) {
            return;
        }
        armed_.erase(found);
        recorder_.disarmed(rule);
        for (const Armed &armed : armed_) {
            others.push_back(armed.rule);
        }
    }
    const auto current = device();
    current->clear_faults();
    for (const std::string &other : others) {
        current->arm_fault(other);
    }
}

void Station::disarm_all() {
    {
        const std::lock_guard lock(mutex_);
        for (const Armed &armed : armed_) {
            recorder_.disarmed(armed.rule);
        }
        armed_.clear();
    }
    device()->clear_faults();
}

std::vector<std::string> Station::armed() const {
    const std::lock_guard lock(mutex_);
    std::vector<std::string> rules;
    for (const Armed &armed : armed_) {
        rules.push_back(armed.rule);
    }
    return rules;
}

std::string Station::recording() const {
    const std::lock_guard lock(mutex_);
    return recorder_.scenario();
}

void Station::replay(const std::string &scenario) {
    Scenario read = parse_scenario(scenario);
    const auto old = device();
    old->unplug();
    old->set_listener({});
    old->set_wire_listener({});
    {
        const std::lock_guard lock(mutex_);
        scenario_ = std::move(read);
        recorder_ = Recorder(scenario, options_.time_scale);
        armed_.clear();
    }
    auto fresh = start(scenario);
    const std::string port = fresh->port();
    {
        const std::lock_guard lock(mutex_);
        device_ = std::move(fresh);
    }
    journal_({Clock::now(), "port", {{"path", port}}});
}

} // namespace sim::web
