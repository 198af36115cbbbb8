#pragma once

#include "cli/command.h"

namespace cli {

/// Lists the serial ports of the machine.
class PortsCommand : public Command {
public:
    std::string name() const override { return "ports"; }
    std::string summary() const override { return "List the serial ports of this machine"; }
    std::string example() const override { return "pinpad ports"; }
    void run(Context &context) override;
    bool usesDevice() const override { return false; }
};

} // namespace cli
