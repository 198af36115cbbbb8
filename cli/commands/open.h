#pragma once

#include "cli/command.h"

namespace cli {

/// Tells whether a session can be opened.
class OpenCommand : public Command {
public:
    std::string name() const override { return "open"; }
    std::string summary() const override { return "Try whether the PIN pad opens a session"; }
    std::string example() const override { return "pinpad --port ttyUSB0 open --secure"; }
    void run(Context &context) override;
};

} // namespace cli
