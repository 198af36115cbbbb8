#pragma once

#include "cli/command.h"

#include "abecs/commands/event.h"

#include <cstdint>
#include <optional>
#include <string>

namespace cli {

/// Waits for a key or a card.
class EventCommand : public Command {
public:
    std::string name() const override { return "event"; }
    std::string summary() const override { return "Wait for a key or a card"; }
    std::string example() const override {
        return "pinpad --port ttyUSB0 event --options 110000 --number 30";
    }
    void declareArguments(CLI::App &app) override;
    void prepare() override;
    void run(Context &context) override;

private:
    std::string m_options = "100099";
    std::optional<unsigned> m_number;
    std::string m_pairText;
    std::optional<AbecsEventPair> m_pair;
};

} // namespace cli
