#pragma once

#include "sim/abecs_frame.h"
#include "sim/secure_channel.h"
#include "sim/transmitter.h"

#include <string>

namespace sim {

// What the link hands up to the device.
class CommandTaker {
public:
    virtual ~CommandTaker() = default;
    // A good command; the body is plain. Called after the acknowledgement has been handed to the
    // line.
    virtual void take_command(const Bytes &body, bool encrypted) = 0;
    // An encrypted command that could not be decrypted.
    virtual void take_unreadable_command() = 0;
};

// The link of the standard commands: frames, encryption, acknowledgements.
class AbecsLink {
public:
    AbecsLink(SecureChannel &channel, Transmitter &transmitter, Logbook &log, StateBoard &board)
        : channel_(channel), transmitter_(transmitter), log_(log), board_(board) {}

    void set_taker(CommandTaker &taker) { taker_ = &taker; }

    // The host's bytes: begin is for SYN, feed for all bytes while a frame is under way.
    void begin() { reader_.begin(); }
    bool active() const { return reader_.active(); }
    void feed(std::uint8_t byte);
    // The rest of the frame is not coming.
    void give_up();
    // Drops an unfinished frame.
    void reset() { reader_.abandon(); }

    // Sends a body in a frame. The identifier is that of the command that it answers.
    void send(const std::string &command_id, const Bytes &body, bool encrypted);

private:
    void take_good_frame();
    WireFrame frame_read(FrameKind kind) const;

    SecureChannel &channel_;
    Transmitter &transmitter_;
    Logbook &log_;
    StateBoard &board_;
    CommandTaker *taker_ = nullptr;
    FrameReader reader_;
};

} // namespace sim
