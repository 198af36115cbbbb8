#include "sim/waiting.h"

#include "sim/device.h"

namespace sim {

ScriptPlayer::ScriptPlayer(Device &device, Script script, std::function<void(const Step &)> perform)
    : device_(device), script_(std::move(script)), perform_(std::move(perform)),
      timer_(device.io()) {}

void ScriptPlayer::stop() {
    stopped_ = true;
    timer_.cancel();
}

void ScriptPlayer::next() {
    if (stopped_ || position_ == script_.size()) {
        return;
    }
    const Step &step = script_[position_];
    timer_.after(device_.scaled(step.delay.value_or(std::chrono::milliseconds(0))), [this, &step] {
        ++position_;
        play(step);
        next();
    });
}

void ScriptPlayer::play(const Step &step) {
    switch (step.kind) {
    case Step::Kind::pause:
    case Step::Kind::live:
        break;
    case Step::Kind::notify:
        device_.notify(step.text);
        break;
    case Step::Kind::raw:
        device_.send_body(step.bytes);
        break;
    default:
        perform_(step);
        break;
    }
}

} // namespace sim
