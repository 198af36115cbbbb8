#pragma once

#include "sim/web/feed.h"
#include "sim/web/message.h"
#include "sim/web/station.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

namespace sim::web {

// Prepares the messages for all browsers and carries out what they ask for. Belongs to the server's
// thread.
class Hub {
public:
    Hub(Station &station, Feed &feed) : station_(station), feed_(feed) {}

    // Reads the device and the line again.
    void refresh();

    // The device as a message, and a number that changes with it.
    const std::string &state() const { return state_; }
    std::uint64_t state_number() const { return state_number_; }

    // The frames after this number as a message, the newest when they are too many for one; sets
    // the number to the last frame's. Nothing when there are none.
    std::optional<std::string> frames_after(std::uint64_t &number) const;

    // Does what a browser asks. Returns the reply for it alone, if there is one.
    std::optional<std::string> obey(std::string_view text);

    Station &station() { return station_; }

private:
    Station &station_;
    Feed &feed_;
    std::deque<std::string> frames_;
    std::uint64_t last_frame_ = 0;
    std::string state_;
    std::uint64_t state_number_ = 0;
    const Clock::time_point start_ = Clock::now();
};

} // namespace sim::web
