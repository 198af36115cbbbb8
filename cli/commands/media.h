#pragma once

#include "cli/command.h"

#include <cstdint>
#include <string>
#include <vector>

namespace cli {

/// Lists the media files that the PIN pad stores.
class MediaListCommand : public Command {
public:
    std::string name() const override { return "media list"; }
    std::string summary() const override { return "List the media files in the PIN pad"; }
    std::string example() const override { return "pinpad --port ttyUSB0 media list"; }
    void run(Context &context) override;
};

/// Loads local files into the PIN pad.
class MediaLoadCommand : public Command {
public:
    std::string name() const override { return "media load"; }
    std::string summary() const override { return "Load local files into the PIN pad"; }
    std::string example() const override {
        return "pinpad --port ttyUSB0 media load logo.png --as LOGO --type 1";
    }
    void declareArguments(CLI::App &app) override;
    void prepare() override;
    void run(Context &context) override;

private:
    void load(Context &context, const std::string &file, const std::string &name);

    std::vector<std::string> m_files;
    std::vector<std::string> m_names;
    unsigned m_type = 0;
};

} // namespace cli
