#pragma once

#include "sim/ext_frame.h"
#include "sim/transmitter.h"

#include <string>

namespace sim {

// What the link of the extension commands hands up to the device.
class ExtCommandTaker {
public:
    virtual ~ExtCommandTaker() = default;
    // A good command. Called after the acknowledgement has been handed to the line.
    virtual void take_ext_command(const Bytes &body) = 0;
};

// The link of the extension commands: frames and acknowledgements, never encrypted.
class ExtLink {
public:
    ExtLink(Transmitter &transmitter, Logbook &log, StateBoard &board)
        : transmitter_(transmitter), log_(log), board_(board) {}

    void set_taker(ExtCommandTaker &taker) { taker_ = &taker; }

    // The host's bytes: begin is for STX, feed for all bytes while a frame is under way.
    void begin() { reader_.begin(); }
    bool active() const { return reader_.active(); }
    void feed(std::uint8_t byte);
    // The rest of the frame is not coming.
    void give_up();
    // Drops an unfinished frame.
    void reset() { reader_.abandon(); }

    // Sends a body in a frame. The identifier is that of the command that it answers.
    void send(const std::string &command_id, const Bytes &body);

private:
    void take_good_frame();
    WireFrame frame_read(FrameKind kind) const;

    Transmitter &transmitter_;
    Logbook &log_;
    StateBoard &board_;
    ExtCommandTaker *taker_ = nullptr;
    ExtFrameReader reader_;
};

} // namespace sim
