#pragma once

#include "sim/device.h"
#include "sim/waiting.h"

#include <chrono>
#include <optional>
#include <string>

namespace sim {

// What ends a screen that waits for the customer, and with which answer.
struct ScreenRules {
    std::string id;      // of the command that is answered
    std::string buttons; // the characters on them
    std::string prefix;  // stands before the button's character in the answer
    // When not 0, buttons type a number of so many digits, which Enter answers.
    std::size_t typed_digits = 0;
    std::optional<std::string> enter;
    std::string cancel;
    std::string timeout;
    std::string idle;
    std::optional<std::string> stop; // the host wants the answer now
    std::optional<std::chrono::seconds> time_limit;
    std::optional<std::chrono::seconds> idle_limit; // without any key
};

// Waits for the customer's answer to what the screen shows.
class CustomerScreen : public Waiting {
public:
    CustomerScreen(Device &device, ScreenRules rules, Script script);

    void start() override;
    void stop() override;
    void digit(char digit) override { button(digit); }
    void key(Key key) override;
    void button(char button) override;
    void host_stops() override;

private:
    void perform(const Step &step);
    void press_enter();
    void restart_idle();
    void finish(const std::string &answer);

    Device &device_;
    ScreenRules rules_;
    std::string typed_;
    Timer limit_;
    Timer idle_;
    ScriptPlayer player_;
};

} // namespace sim
