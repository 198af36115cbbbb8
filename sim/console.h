#pragma once

#include "sim/journal.h"

#include <mutex>
#include <ostream>
#include <string>

namespace sim {

// Tells what happens at the device, a line for each thing: as text for people or as JSON for
// programs. Safe from any thread.
class Console {
public:
    enum class Style { text, json };

    Console(std::ostream &out, Style style) : out_(out), style_(style) {}

    // Prints the port, which is the first line: what came before is held back until then.
    void open(const std::string &port);

    void entry(const JournalEntry &entry);
    void frame(const WireFrame &frame);

private:
    void line(const std::string &text);

    std::ostream &out_;
    Style style_;
    std::mutex mutex_;
    bool opened_ = false;
    std::string backlog_;
};

} // namespace sim
