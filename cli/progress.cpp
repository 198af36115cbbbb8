#include "cli/progress.h"

#include "cli/terminal.h"
#include "cli/text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>

namespace cli {

namespace {

constexpr std::chrono::milliseconds REDRAW_INTERVAL{100};
constexpr std::size_t BAR_MAX = 40;

// 99:59:59.
constexpr double CLOCK_MAX = 359999;

unsigned percent(std::uint64_t sent, std::uint64_t total) {
    return total == 0 ? 100 : static_cast<unsigned>(sent * 100 / total);
}

std::string amount(double bytes) {
    constexpr const char *UNITS[] = {"B", "KiB", "MiB", "GiB"};
    std::size_t unit = 0;
    while (bytes >= 1024 && unit + 1 < std::size(UNITS)) {
        bytes /= 1024;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", bytes, UNITS[unit]);
    return text;
}

std::string clockTime(double seconds) {
    const auto whole = static_cast<unsigned long>(std::lround(std::min(seconds, CLOCK_MAX)));
    char text[32];
    if (whole >= 3600) {
        std::snprintf(text, sizeof text, "%lu:%02lu:%02lu", whole / 3600, whole / 60 % 60,
                      whole % 60);
    } else {
        std::snprintf(text, sizeof text, "%lu:%02lu", whole / 60, whole % 60);
    }
    return text;
}

} // namespace

ProgressStyle progressStyle(const Settings &settings) {
    const bool traceToError = settings.trace && settings.traceFile.empty();
    return isTerminal(Stream::Error) && !traceToError ? ProgressStyle::Bar : ProgressStyle::Lines;
}

Progress::Progress(std::string_view what, ProgressStyle style)
    : m_what(visible(what)), m_style(style) {}

Progress::~Progress() {
    if (m_barStands) {
        std::cerr << std::endl;
    }
}

void Progress::advance(std::uint64_t sent, std::uint64_t total) {
    m_total = total;
    if (m_style == ProgressStyle::Lines) {
        writeLine(sent);
        return;
    }
    const Clock::time_point now = Clock::now();
    if (!m_barStands || sent == total || now - m_drawn >= REDRAW_INTERVAL) {
        m_drawn = now;
        drawBar(sent);
    }
}

void Progress::finish() {
    if (m_barStands) {
        std::cerr << std::endl;
        m_barStands = false;
    }
}

double Progress::secondsSinceStart() const {
    return std::chrono::duration<double>(Clock::now() - m_start).count();
}

void Progress::drawBar(std::uint64_t sent) {
    const double seconds = secondsSinceStart();
    const double rate = seconds > 0 ? static_cast<double>(sent) / seconds : 0;
    std::string facts = " " + std::to_string(percent(sent, m_total)) + "%";
    if (sent > 0) {
        facts += "  " + amount(rate) + "/s";
        facts += "  " + clockTime(static_cast<double>(m_total - sent) / rate) + " left";
    }
    const std::size_t columns = errorColumns();
    const std::size_t taken = m_what.size() + facts.size() + 4;
    const std::size_t width = columns > taken ? std::min(columns - taken, BAR_MAX) : 0;
    const std::size_t full =
        m_total == 0 ? width : static_cast<std::size_t>(sent * width / m_total);
    // What follows the facts may be the end of a longer line drawn before.
    std::cerr << '\r' << m_what << " [" << std::string(full, '#') << std::string(width - full, '.')
              << ']' << facts << "\x1b[K" << std::flush;
    m_barStands = true;
}

void Progress::writeLine(std::uint64_t sent) {
    const int quarters = static_cast<int>(percent(sent, m_total) / 25);
    if (quarters <= m_quartersTold) {
        return;
    }
    m_quartersTold = quarters;
    std::cerr << m_what << ": " << quarters * 25 << "% (" << sent << " of " << m_total << " bytes)"
              << std::endl;
}

} // namespace cli
