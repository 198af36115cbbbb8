#pragma once

#include "sim/faults.h"
#include "sim/logbook.h"
#include "sim/pty_line.h"
#include "sim/state_board.h"

#include <optional>
#include <string>

namespace sim {

// Sends control bytes and answers, damaged when a fault strikes, in either framing. Keeps the last
// answer in case the host asks for it again.
class Transmitter {
public:
    struct Answer {
        std::string command_id; // of the command that it answers
        Bytes body;
        bool encrypted = false;
        Bytes frame;
        Framing framing = Framing::abecs;
    };

    Transmitter(PtyLine &line, FaultInjector &faults, Logbook &log, StateBoard &board)
        : line_(line), faults_(faults), log_(log), board_(board) {}

    // Whether a command whose acknowledgement this fault struck is executed all the same.
    static bool executed_despite(const std::optional<Fault> &fault);

    // Counts an occasion of the stage, and notes and returns the fault that strikes there.
    std::optional<Fault> strike(FaultStage stage, const std::string &command_id = "");

    // ACK, or what the fault puts in its place.
    void acknowledge(const std::optional<Fault> &fault);
    void refuse(const WireFrame &frame, const std::string &why);
    // EOT as the answer to CAN, or what a fault puts in its place. Whatever was still unsent is
    // dropped.
    void end_transmission();

    void send(Answer answer);
    void resend();
    void forget() { last_ = {}; }

private:
    struct Last {
        Answer answer;
        unsigned sends = 0;
    };

    void send_control(std::uint8_t byte, FrameKind kind);
    void transmit();
    void transmit_damaged(const Bytes &frame, const Fault &fault);

    PtyLine &line_;
    FaultInjector &faults_;
    Logbook &log_;
    StateBoard &board_;
    Last last_;
};

} // namespace sim
