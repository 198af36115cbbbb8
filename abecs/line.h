#pragma once

#include "abecs/observer.h"
#include "abecs/pinpad.h"
#include "core/exception.h"
#include "core/guard.h"
#include "serial/serial.h"

#include <cstdint>

/// What the two framings on the line have in common: bytes written and read one by one, the
/// receiver's verdict on a frame, three attempts each way, draining after a disturbance.

inline constexpr std::uint8_t ABECS_ACK = 0x06;
inline constexpr std::uint8_t ABECS_NAK = 0x15;

inline constexpr int ABECS_MAX_ATTEMPTS = 3;

/// Waits, in tenths of a second.
inline constexpr std::uint8_t ABECS_BYTE_WAIT = 20;
inline constexpr std::uint8_t ABECS_DRAIN_SILENCE = 5;

/// The line during one frame; it keeps what passed for the observer.
class AbecsLine {
public:
    AbecsLine(PclSerialPort *port, AbecsLinkFraming_e framing) : m_port(port), m_framing(framing) {}

    void write(std::uint8_t byte) {
        pcl_serial_write_byte(m_port, byte);
        m_record.add(byte);
    }
    std::uint8_t read() {
        const std::uint8_t byte = pcl_serial_read_byte(m_port);
        m_record.add(byte);
        return byte;
    }
    void setWait(std::uint8_t tenths) { pcl_serial_set_timeout(m_port, tenths); }

    /// Forgets the frame so far.
    void restart() {
        m_record.clear();
        m_started = false;
        m_encrypted = false;
    }
    /// The byte that begins a frame has come, or the mark of an encrypted one.
    void markStarted() { m_started = true; }
    void markEncrypted() { m_encrypted = true; }

    bool started() const { return m_started; }
    bool encrypted() const { return m_encrypted; }
    PclSerialPort *port() const { return m_port; }
    AbecsLinkFraming_e framing() const { return m_framing; }
    const AbecsWireRecord &record() const { return m_record; }

private:
    PclSerialPort *m_port;
    AbecsLinkFraming_e m_framing;
    AbecsWireRecord m_record;
    bool m_started = false;
    bool m_encrypted = false;
};

/// Reads a byte that stands for itself, and writes one.
std::uint8_t abecs_line_read_answer(PclSerialPort *port, AbecsLinkFraming_e framing);
void abecs_line_write_control(PclSerialPort *port, AbecsLinkFraming_e framing, std::uint8_t byte);

/// One use of the line: it is busy meanwhile, and disturbed after it unless its end is told.
class AbecsLineUse {
public:
    explicit AbecsLineUse(AbecsPinpad *pinpad)
        : m_pinpad(pinpad), m_before(pinpad->lineState.exchange(ABECS_LINE_BUSY)) {}
    ~AbecsLineUse() { m_pinpad->lineState.store(m_after); }
    AbecsLineUse(const AbecsLineUse &) = delete;
    AbecsLineUse &operator=(const AbecsLineUse &) = delete;

    void endsAs(AbecsLineState_e state) { m_after = state; }
    /// As if the line had not been used.
    void endsAsBefore() { m_after = m_before; }

private:
    AbecsPinpad *m_pinpad;
    AbecsLineState_e m_before;
    AbecsLineState_e m_after = ABECS_LINE_DISTURBED;
};

/// Discards what waits on the line: it is late, and must not be taken for the answer to what is
/// sent now. Raises nothing; a line that is gone shows it at the write that follows.
void abecs_line_drop_late_input(PclSerialPort *port);

/// Discards input until the line has been silent for 0.5 s, then purges both queues.
void abecs_line_drain(PclSerialPort *port, AbecsLinkFraming_e framing);

/// Shows the frame that is on the line's record to the observer.
void abecs_line_observe_frame(const AbecsLine &line, AbecsLinkEvent_e kind,
                              AbecsLinkDirection_e direction, AbecsPacket *body);

/// Raises PCL_RESULT_PROTOCOL_ERROR "Protocol error (unknown packet response: 0x%x)", the line
/// drained, unless the answer is ACK or NAK. Returns whether it is ACK.
bool abecs_line_is_acknowledged(PclSerialPort *port, AbecsLinkFraming_e framing);

/// Sends a frame until it is acknowledged, at most 3 times. `writeFrame(line)` writes it whole each
/// time; `plain` is its body for the observer, with its read position at the start.
template <typename WriteFrame>
void abecs_line_send_frame(AbecsPinpad *pinpad, AbecsLinkFraming_e framing, bool encrypted,
                           AbecsPacket *plain, WriteFrame writeFrame) {
    PclSerialPort *port = pinpad->port;
    // On a healthy session it is the answer.
    if (pinpad->lineState.load() != ABECS_LINE_HEALTHY) {
        abecs_line_drop_late_input(port);
    }
    AbecsLineUse use(pinpad);
    pcl_serial_set_timeout(port, ABECS_BYTE_WAIT);
    for (int attempt = 0; attempt < ABECS_MAX_ATTEMPTS; ++attempt) {
        AbecsLine line(port, framing);
        if (encrypted) {
            line.markEncrypted();
        }
        writeFrame(line);
        abecs_line_observe_frame(line, ABECS_LINK_FRAME, ABECS_LINK_TO_DEVICE, plain);
        if (abecs_line_is_acknowledged(port, framing)) {
            use.endsAs(ABECS_LINE_HEALTHY);
            return;
        }
    }
    pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "Packet was rejected");
}

/// Reads a frame, asking for it again while it comes damaged, at most 3 times in all.
/// `readFrame(line)` reads it whole, marks its start, and tells whether its check value is right.
template <typename ReadFrame>
void abecs_line_receive_frame(AbecsLine &line, ReadFrame readFrame) {
    for (int attempt = 0; attempt < ABECS_MAX_ATTEMPTS; ++attempt) {
        line.restart();
        bool intact = false;
        const PclException failure = pcl_attempt([&] { intact = readFrame(line); });
        if (intact) {
            return;
        }
        const bool timedOut = failure.code == PCL_RESULT_TIMEOUT_ERROR;
        if (line.started()) {
            abecs_line_observe_frame(line, ABECS_LINK_DAMAGED, ABECS_LINK_FROM_DEVICE, nullptr);
        } else if (timedOut) {
            abecs_observe_silence(line.framing());
        }
        const bool brokenOff = timedOut && line.started();
        if (!brokenOff && pcl_raise_again(failure)) {
            return;
        }
        abecs_line_drain(line.port(), line.framing());
        abecs_line_write_control(line.port(), line.framing(), ABECS_NAK);
    }
    abecs_line_drain(line.port(), line.framing());
    pcl_raise(PCL_RESULT_TIMEOUT_ERROR, "No response in %d attempts", ABECS_MAX_ATTEMPTS);
}

/// Reads the frame of an answer; whoever understands it settles the session. A poll that it did not
/// come to in time disturbs nothing.
template <typename ReadFrame>
void abecs_line_receive_answer(AbecsPinpad *pinpad, AbecsLine &line, ReadFrame readFrame) {
    const bool polled = abecs_pinpad_get_pending(pinpad).text[0] != '\0';
    AbecsLineUse use(pinpad);
    const PclException failure = pcl_attempt([&] { abecs_line_receive_frame(line, readFrame); });
    if (!failure) {
        use.endsAs(ABECS_LINE_BUSY);
    } else if (polled && failure.code == PCL_RESULT_TIMEOUT_ERROR) {
        use.endsAsBefore();
    }
    pcl_raise_again(failure);
}
