#pragma once

#include "cli/command.h"

#include <string>

namespace cli {

/// Shows a QR code on the PIN pad, and the same one here, and waits for the answer.
class QrCommand : public Command {
public:
    std::string name() const override { return "qr"; }
    std::string summary() const override {
        return "Show a QR code and wait until somebody answers";
    }
    std::string example() const override {
        return "pinpad --port ttyUSB0 qr \"https://example.com/pay/4711\" --line \"PAGUE AQUI\" "
               "--wait 60";
    }
    void declareArguments(CLI::App &app) override;
    void prepare() override;
    void run(Context &context) override;

private:
    void draw(const Context &context) const;

    std::string m_typedText;
    std::string m_typedLine;
    unsigned m_lineType = 0;
    unsigned m_wait = 0;
    std::string m_text;
    std::string m_line;
};

} // namespace cli
