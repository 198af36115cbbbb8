#pragma once

#include "cli/command.h"

#include <cstdint>

namespace cli {

/// Lets the customer type a number in the clear.
class CaptureCommand : public Command {
public:
    std::string name() const override { return "capture"; }
    std::string summary() const override { return "Let the customer type a number (not a PIN)"; }
    std::string example() const override {
        return "pinpad --port ttyUSB0 capture --prompt 3 --min 5 --max 11 --wait 30";
    }
    void declareArguments(CLI::App &app) override;
    void prepare() override;
    void run(Context &context) override;

private:
    unsigned m_prompt = 1;
    unsigned m_minimum = 1;
    unsigned m_maximum = 32;
    unsigned m_wait = 0;
};

} // namespace cli
