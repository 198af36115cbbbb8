#include "sim/ext_commands/customer_screen.h"

#include "sim/text.h"

#include <utility>

namespace sim {

CustomerScreen::CustomerScreen(Device &device, ScreenRules rules, Script script)
    : device_(device), rules_(std::move(rules)), limit_(device.io()), idle_(device.io()),
      player_(device, std::move(script), [this](const Step &step) { perform(step); }) {}

void CustomerScreen::start() {
    if (rules_.time_limit) {
        limit_.after(device_.scaled(*rules_.time_limit), [this] { finish(rules_.timeout); });
    }
    restart_idle();
    player_.start();
}

void CustomerScreen::stop() {
    player_.stop();
    limit_.cancel();
    idle_.cancel();
}

void CustomerScreen::key(Key key) {
    switch (key) {
    case Key::enter:
        press_enter();
        break;
    case Key::cancel:
        finish(rules_.cancel);
        break;
    case Key::clear:
    case Key::backspace:
        typed_.clear();
        device_.board().change([](Snapshot &state) { state.typed.clear(); });
        break;
    default:
        device_.beep("no use for the key");
        break;
    }
}

void CustomerScreen::press_enter() {
    if (rules_.typed_digits != 0 && !typed_.empty()) {
        finish(std::string(rules_.typed_digits - typed_.size(), '0') + typed_);
    } else if (rules_.enter) {
        finish(*rules_.enter);
    } else {
        device_.beep("no use for the key");
    }
}

void CustomerScreen::button(char button) {
    const bool there = rules_.buttons.find(button) != std::string::npos;
    if (!there || (rules_.typed_digits != 0 && typed_.size() == rules_.typed_digits)) {
        device_.beep("no such button");
        return;
    }
    if (rules_.typed_digits == 0) {
        finish(rules_.prefix + button);
        return;
    }
    typed_.push_back(button);
    device_.board().change([this](Snapshot &state) { state.typed = typed_; });
    restart_idle();
}

void CustomerScreen::host_stops() {
    if (rules_.stop) {
        finish(*rules_.stop);
    }
}

void CustomerScreen::perform(const Step &step) {
    if (step.kind == Step::Kind::button) {
        device_.press_button(step.text.front());
    } else if (step.kind == Step::Kind::key) {
        device_.press_key(step.key);
    } else if (step.kind == Step::Kind::answer) {
        finish(to_text(step.bytes));
    } else {
        finish(rules_.timeout);
    }
}

void CustomerScreen::restart_idle() {
    if (rules_.idle_limit) {
        idle_.after(device_.scaled(*rules_.idle_limit), [this] { finish(rules_.idle); });
    }
}

void CustomerScreen::finish(const std::string &answer) {
    device_.log().note("answered", {{"id", rules_.id}, {"value", answer}});
    device_.board().change([&answer](Snapshot &state) { state.last_answer = answer; });
    device_.clear_screen();
    device_.answer(ExtResponse{rules_.id, {}, to_bytes(answer)});
}

} // namespace sim
