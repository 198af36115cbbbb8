#pragma once

#include "sim/types.h"

namespace sim {

// The frame of the extension commands for a body: STX, the length of the whole frame (high byte
// first), the body as it is, ETX, and the XOR of all of them.
Bytes encode_ext_frame(const Bytes &body);

// Takes one such frame apart, byte by byte. The length says where it ends.
class ExtFrameReader {
public:
    enum class Result { more, good, bad };

    // Starts over; the next byte fed is the one after STX.
    void begin();
    // Whether a frame is under way.
    bool active() const { return state_ != State::idle; }
    // Takes the next byte. After good or bad the reader is idle, and body and raw tell of the frame
    // just ended.
    Result feed(std::uint8_t byte);
    void abandon() { state_ = State::idle; }

    const Bytes &body() const { return body_; }
    const Bytes &raw() const { return raw_; }

private:
    enum class State { idle, length_high, length_low, data, end, check };

    Result take_length();
    Result finish(bool good);

    State state_ = State::idle;
    std::size_t length_ = 0;
    std::uint8_t check_ = 0;
    Bytes body_;
    Bytes raw_;
};

} // namespace sim
