#pragma once

#include "cli/settings.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace cli {

enum class ProgressStyle {
    Bar,  ///< one line that is drawn again and again
    Lines ///< a line at the start, every quarter and the end
};

/// A bar when standard error is a terminal that nothing else writes to, else lines.
ProgressStyle progressStyle(const Settings &settings);

/// Tells on standard error how far something has come.
class Progress {
public:
    Progress(std::string_view what, ProgressStyle style);
    /// Ends the line of an unfinished bar.
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    void advance(std::uint64_t sent, std::uint64_t total);
    void finish();
    std::uint64_t total() const { return m_total; }

private:
    using Clock = std::chrono::steady_clock;

    void drawBar(std::uint64_t sent);
    void writeLine(std::uint64_t sent);
    double secondsSinceStart() const;

    std::string m_what;
    ProgressStyle m_style;
    Clock::time_point m_start = Clock::now();
    Clock::time_point m_drawn;
    std::uint64_t m_total = 0;
    bool m_barStands = false;
    int m_quartersTold = -1;
};

} // namespace cli
