#pragma once

#include "sim/abecs_frame.h"
#include "sim/faults.h"
#include "sim/logbook.h"
#include "sim/pty_line.h"
#include "sim/secure_channel.h"
#include "sim/state_board.h"
#include "sim/timer.h"

#include <boost/asio/io_context.hpp>

#include <chrono>
#include <optional>
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
    // CAN came.
    virtual void take_abort() = 0;
};

// The link of the standard commands: frames, acknowledgements, sending again, CAN and EOT.
class AbecsLink {
public:
    AbecsLink(boost::asio::io_context &io, PtyLine &line, SecureChannel &channel,
              FaultInjector &faults, Logbook &log, StateBoard &board,
              std::chrono::milliseconds frame_gap);

    void set_taker(CommandTaker &taker) { taker_ = &taker; }

    void receive(const Bytes &bytes);
    // Sends a body in a frame and keeps it, in case the host asks for it again. The identifier is
    // that of the command that it answers.
    void send(const std::string &command_id, const Bytes &body, bool encrypted);
    // Forgets what is under way.
    void reset();

private:
    struct LastResponse {
        std::string command_id;
        Bytes body;
        bool encrypted = false;
        Bytes frame;
        unsigned sends = 0;
    };

    void receive_byte(std::uint8_t byte);
    void receive_control(std::uint8_t byte);
    void end_frame(FrameReader::Result result);
    void take_good_frame();
    void refuse_frame(const std::string &why);
    void acknowledge(const std::optional<Fault> &fault);
    void acknowledge_badly(const Fault &fault);
    void answer_can();
    void resend();
    void transmit();
    void transmit_damaged(const Fault &fault);
    void send_control(std::uint8_t byte, FrameKind kind);
    void note_fault(FaultStage stage, const Fault &fault);
    void flush_noise();

    PtyLine &line_;
    SecureChannel &channel_;
    FaultInjector &faults_;
    Logbook &log_;
    StateBoard &board_;
    std::chrono::milliseconds frame_gap_;
    CommandTaker *taker_ = nullptr;
    FrameReader reader_;
    Timer gap_timer_;
    LastResponse last_;
    Bytes noise_;
};

} // namespace sim
