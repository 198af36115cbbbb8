#pragma once

#include "sim/types.h"

#include <chrono>

namespace sim {

using Clock = std::chrono::steady_clock;

enum class Direction { from_host, to_host };

// Bytes as they crossed the line, in the pieces in which they crossed it.
struct WireChunk {
    Direction direction = Direction::from_host;
    Clock::time_point time;
    Bytes bytes;
};

// What a byte or a run of bytes on the line meant to the device.
//   command      a good frame from the host
//   bad_command  a frame from the host that the device could not take (CRC, gap)
//   response     a frame of the device (as meant: a fault may have damaged the bytes on the line)
//   ack .. eot   single control bytes
//   noise        bytes outside any frame, or sent by a fault
enum class FrameKind { command, bad_command, response, ack, nak, can, eot, noise };

// The two framings that share the line. Control bytes outside frames count as those of abecs.
enum class Framing { abecs, extension };

struct WireFrame {
    Direction direction = Direction::from_host;
    Clock::time_point time;
    FrameKind kind = FrameKind::noise;
    bool encrypted = false; // the frame carried DC2
    Bytes body;             // unstuffed and decrypted when a key was there to do it
    Bytes raw;              // exactly the bytes of the line
    Framing framing = Framing::abecs;
};

struct WireLog {
    std::vector<WireChunk> chunks;
    std::vector<WireFrame> frames;
};

} // namespace sim
