#pragma once

#include "sim/types.h"

namespace sim {

// The frame for a body: SYN, DC2 when encrypted, the stuffed body, ETB and the CRC.
Bytes encode_frame(const Bytes &body, bool encrypted);

// Takes one frame apart, byte by byte.
class FrameReader {
public:
    enum class Result { more, good, bad };

    // Starts over; the next byte fed is the one after SYN.
    void begin();

    // Whether a frame is under way.
    bool active() const { return state_ != State::idle; }

    // Takes the next byte of the frame. After good or bad the reader is idle and body, encrypted
    // and raw tell of the frame just ended. A SYN inside the data starts the frame anew: it is
    // never part of a stuffed body, so the sender must have started over.
    Result feed(std::uint8_t byte);

    // Gives the frame up, for example after a gap.
    void abandon() { state_ = State::idle; }

    const Bytes &body() const { return body_; }
    bool encrypted() const { return encrypted_; }
    const Bytes &raw() const { return raw_; }

private:
    enum class State { idle, first, data, escape, crc_high, crc_low };

    Result take_data(std::uint8_t byte);
    Result finish(std::uint8_t byte);

    State state_ = State::idle;
    bool encrypted_ = false;
    std::uint8_t crc_high_ = 0;
    Bytes body_;
    Bytes raw_;
};

} // namespace sim
