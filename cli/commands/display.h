#pragma once

#include "cli/command.h"

#include <string>
#include <vector>

namespace cli {

/// Shows a text.
class DisplayCommand : public Command {
public:
    std::string name() const override { return "display"; }
    std::string summary() const override { return "Show a text, or clear the display"; }
    std::string example() const override {
        return "pinpad --port ttyUSB0 display \"OBRIGADO\\nVOLTE SEMPRE\"";
    }
    void declareArguments(CLI::App &app) override;
    void prepare() override;
    void run(Context &context) override;

private:
    std::string m_text;
    bool m_clear = false;
    CLI::Option *m_textOption = nullptr;
    std::string m_message;
};

/// Shows a stored image.
class ImageCommand : public Command {
public:
    std::string name() const override { return "image"; }
    std::string summary() const override { return "Show an image stored in the PIN pad"; }
    std::string example() const override { return "pinpad --port ttyUSB0 image LOGO"; }
    void declareArguments(CLI::App &app) override;
    void prepare() override;
    void run(Context &context) override;

private:
    std::string m_name;
    std::string m_deviceName;
};

/// Shows stored multimedia files one after the other.
class PlayCommand : public Command {
public:
    std::string name() const override { return "play"; }
    std::string summary() const override {
        return "Show media files stored in the PIN pad, in this order";
    }
    std::string example() const override { return "pinpad --port ttyUSB0 play INTRO OFFER BYE"; }
    void declareArguments(CLI::App &app) override;
    void prepare() override;
    void run(Context &context) override;

private:
    std::vector<std::string> m_names;
    std::vector<std::string> m_deviceNames;
};

} // namespace cli
