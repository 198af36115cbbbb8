#pragma once

#include "sim/abecs_link.h"
#include "sim/ext_link.h"
#include "sim/io_context.h"
#include "sim/timer.h"
#include "sim/transmitter.h"

#include <chrono>

namespace sim {

// What the control bytes of the host ask of the device.
class ControlTaker {
public:
    virtual ~ControlTaker() = default;
    // CAN came.
    virtual void take_abort() = 0;
    // A bare EOT came: the host wants the answer of a survey now.
    virtual void take_stop() = 0;
};

// Sorts the bytes of the host: both framings share the line, SYN begins a frame of the one, STX of
// the other, and outside frames stand control bytes.
class HostLine {
public:
    HostLine(boost::asio::io_context &io, PtyLine &line, AbecsLink &abecs, ExtLink &extension,
             Transmitter &transmitter, Logbook &log, StateBoard &board,
             std::chrono::milliseconds frame_gap);

    void set_taker(ControlTaker &taker) { taker_ = &taker; }

    void receive(const Bytes &bytes);
    // Drops an unfinished frame.
    void reset();

private:
    void receive_byte(std::uint8_t byte);
    void receive_outside_frames(std::uint8_t byte);
    void log_control(std::uint8_t byte, FrameKind kind);
    void flush_noise();
    void watch_gap();

    PtyLine &line_;
    AbecsLink &abecs_;
    ExtLink &extension_;
    Transmitter &transmitter_;
    Logbook &log_;
    StateBoard &board_;
    std::chrono::milliseconds frame_gap_;
    Timer gap_timer_;
    ControlTaker *taker_ = nullptr;
    Bytes noise_;
};

} // namespace sim
