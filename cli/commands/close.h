#pragma once

#include "cli/command.h"

#include <string>

namespace cli {

/// Ends the session and leaves something on the display.
class CloseCommand : public Command {
public:
    std::string name() const override { return "close"; }
    std::string summary() const override {
        return "End the session and leave a text or an image on the display";
    }
    std::string example() const override {
        return "pinpad --port ttyUSB0 close \"CAIXA FECHADO\" --media LOGO";
    }
    void declareArguments(CLI::App &app) override;
    void prepare() override;
    void run(Context &context) override;

private:
    std::string m_text;
    std::string m_media;
    bool m_extended = false;
    CLI::Option *m_textOption = nullptr;
    std::string m_message;
    std::string m_mediaName;
};

} // namespace cli
