#include "abecs/link.h"

#include "abecs/cmd_builder.h"
#include "abecs/crc16.h"
#include "abecs/observer.h"
#include "abecs/secure_channel.h"
#include "core/exception.h"
#include "core/guard.h"

#include <cstring>

namespace {

constexpr std::uint8_t ACK = 0x06;
constexpr std::uint8_t NAK = 0x15;
constexpr std::uint8_t SYN = 0x16;
constexpr std::uint8_t ETB = 0x17;
constexpr std::uint8_t DC2 = 0x12;
constexpr std::uint8_t DC3 = 0x13;
constexpr std::uint8_t CAN = 0x18;
constexpr std::uint8_t EOT = 0x04;

constexpr std::uint8_t STUFFING_OFFSET = 0x20;
constexpr int MAX_ATTEMPTS = 3;

// Waits in tenths of a second.
constexpr std::uint8_t BYTE_WAIT = 20;
constexpr std::uint8_t FIRST_BYTE_WAIT = 100;
constexpr std::uint8_t FIRST_BYTE_WAIT_PENDING = 20;
constexpr std::uint8_t DRAIN_SILENCE = 5;

// Writes and reads the line byte by byte and keeps what passed for the observer.
class Line {
public:
    explicit Line(PclSerialPort *port) : m_port(port) {}

    void write(std::uint8_t byte) {
        pcl_serial_write_byte(m_port, byte);
        m_record.add(byte);
    }
    std::uint8_t read() {
        const std::uint8_t byte = pcl_serial_read_byte(m_port);
        m_record.add(byte);
        return byte;
    }
    const AbecsWireRecord &record() const { return m_record; }

private:
    PclSerialPort *m_port;
    AbecsWireRecord m_record;
};

void writeStuffed(Line &line, std::uint8_t byte) {
    if (byte == DC3 || byte == SYN || byte == ETB) {
        line.write(DC3);
        byte = static_cast<std::uint8_t>(byte + STUFFING_OFFSET);
    }
    line.write(byte);
}

void writeFrame(Line &line, AbecsPacket *body, bool encrypted) {
    const std::uint16_t crc = abecs_crc16(encrypted ? &DC2 : nullptr, body, &ETB);
    line.write(SYN);
    if (encrypted) {
        line.write(DC2);
    }
    while (abecsPacketAvailable(body) > 0) {
        writeStuffed(line, abecsPacketReadByte(body));
    }
    line.write(ETB);
    line.write(static_cast<std::uint8_t>(crc >> 8U));
    line.write(static_cast<std::uint8_t>(crc & 0xFFU));
}

// Reads a byte that stands for itself, outside any frame.
std::uint8_t readAnswer(PclSerialPort *port) {
    std::uint8_t answer = 0;
    const PclFailure failure = pcl_attempt([&] { answer = pcl_serial_read_byte(port); });
    if (failure) {
        if (failure.code == PCL_RESULT_TIMEOUT_ERROR) {
            abecs_observe_silence(ABECS_LINK_STANDARD);
        }
        pcl_exception_rethrow(failure.code, failure.message);
        return answer;
    }
    abecs_observe_byte(ABECS_LINK_FROM_DEVICE, ABECS_LINK_STANDARD, answer);
    return answer;
}

void writeControl(PclSerialPort *port, std::uint8_t byte) {
    pcl_serial_write_byte(port, byte);
    abecs_observe_byte(ABECS_LINK_TO_DEVICE, ABECS_LINK_STANDARD, byte);
}

void writeUntilAcknowledged(PclSerialPort *port, AbecsPacket *plain, AbecsPacket *encrypted) {
    AbecsPacket *body = encrypted == nullptr ? plain : encrypted;
    AbecsPacketMark start;
    abecsPacketMark(body, &start);
    for (int attempt = 0; attempt < MAX_ATTEMPTS; ++attempt) {
        Line line(port);
        writeFrame(line, body, encrypted != nullptr);
        abecsPacketRestore(body, &start);
        abecs_observe_frame(ABECS_LINK_FRAME, ABECS_LINK_TO_DEVICE, ABECS_LINK_STANDARD,
                            encrypted != nullptr, line.record(), plain);
        const std::uint8_t answer = readAnswer(port);
        if (answer == ACK) {
            return;
        }
        if (answer != NAK) {
            abecs_link_drain_input(port);
            pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "Protocol error (unknown packet response: 0x%x)",
                      answer);
            return;
        }
    }
    pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "Packet was rejected");
}

bool endsSecureChannel(const char *cmdId) {
    return std::strcmp(cmdId, "CLO") == 0 || std::strcmp(cmdId, "CLX") == 0;
}

// What one attempt at reading a frame has found so far.
struct FrameProgress {
    bool started = false;
    bool encrypted = false;
};

// Reads from SYN to ETB into `out`.
void readFrameBody(PclSerialPort *port, std::uint8_t firstByteWait, Line &line, AbecsPacket *out,
                   FrameProgress &progress) {
    pcl_serial_set_timeout(port, firstByteWait);
    std::uint8_t byte = line.read();
    if (byte != SYN) {
        abecs_observe_byte(ABECS_LINK_FROM_DEVICE, ABECS_LINK_STANDARD, byte);
        pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected SYN, read 0x%x)", byte);
        return;
    }
    progress.started = true;
    pcl_serial_set_timeout(port, BYTE_WAIT);
    byte = line.read();
    if (byte == DC2) {
        progress.encrypted = true;
        byte = line.read();
    }
    while (byte != ETB) {
        if (byte == DC3) {
            byte = static_cast<std::uint8_t>(line.read() - STUFFING_OFFSET);
        }
        abecsPacketWriteByte(out, byte);
        byte = line.read();
    }
}

bool crcMatches(Line &line, AbecsPacket *body, bool encrypted) {
    const unsigned high = line.read();
    const unsigned received = high << 8U | line.read();
    return received == abecs_crc16(encrypted ? &DC2 : nullptr, body, &ETB);
}

void askForResend(PclSerialPort *port) {
    abecs_link_drain_input(port);
    writeControl(port, NAK);
}

// Decrypts the body of an intact frame when it needs it, and shows the frame to the observer
// whatever comes of that.
void finishFrame(AbecsPinpad *pinpad, const Line &line, AbecsPacket *body, bool encrypted) {
    PclFailure failure;
    if (encrypted) {
        failure = pcl_attempt([&] { abecs_decrypt_response(pinpad, body); });
    }
    abecs_observe_frame(ABECS_LINK_FRAME, ABECS_LINK_FROM_DEVICE, ABECS_LINK_STANDARD, encrypted,
                        line.record(), failure ? nullptr : body);
    pcl_exception_rethrow(failure.code, failure.message);
}

// One attempt; false when the frame was damaged and has been asked for again.
bool receiveFrame(AbecsPinpad *pinpad, std::uint8_t firstByteWait, AbecsPacket *out) {
    Line line(pinpad->port);
    FrameProgress progress;
    bool intact = false;
    const PclFailure failure = pcl_attempt([&] {
        readFrameBody(pinpad->port, firstByteWait, line, out, progress);
        intact = crcMatches(line, out, progress.encrypted);
    });
    if (failure.code == PCL_RESULT_TIMEOUT_ERROR && !progress.started) {
        abecs_observe_silence(ABECS_LINK_STANDARD);
    } else if (!intact && progress.started) {
        abecs_observe_frame(ABECS_LINK_DAMAGED, ABECS_LINK_FROM_DEVICE, ABECS_LINK_STANDARD,
                            progress.encrypted, line.record(), nullptr);
    }
    if (failure && (failure.code != PCL_RESULT_TIMEOUT_ERROR || !progress.started)) {
        pcl_exception_rethrow(failure.code, failure.message);
        return false;
    }
    if (!intact) {
        askForResend(pinpad->port);
        return false;
    }
    finishFrame(pinpad, line, out, progress.encrypted);
    return true;
}

} // namespace

void abecs_link_send_command(AbecsPinpad *pinpad, AbecsPacket *packet) {
    if (pinpad == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
        return;
    }
    if (packet == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'packet' is NULL");
        return;
    }
    pcl_guarded([&] {
        char cmdId[ABECS_CMD_ID_LENGTH + 1];
        abecs_packet_get_cmd_id(packet, cmdId, sizeof cmdId);
        if (pinpad->secure != 0 && std::strcmp(cmdId, "OPN") != 0) {
            abecs_secure_send(pinpad, packet);
        } else {
            abecs_link_send_frame(pinpad, packet, nullptr);
        }
    });
}

void abecs_link_send_frame(AbecsPinpad *pinpad, AbecsPacket *packet, AbecsPacket *encrypted) {
    pcl_guarded([&] {
        abecs_pinpad_pace(pinpad);
        abecs_pinpad_check_not_blocked(pinpad);
        // With nothing pending, whatever still lies in the queue is late and must not be taken for
        // the acknowledgement of this command.
        pcl_serial_purge(pinpad->port, PCL_SERIAL_PURGE_RX);
        pcl_serial_set_timeout(pinpad->port, BYTE_WAIT);
        char cmdId[ABECS_CMD_ID_LENGTH + 1];
        abecs_packet_get_cmd_id(packet, cmdId, sizeof cmdId);
        writeUntilAcknowledged(pinpad->port, packet, encrypted);
        abecs_pinpad_mark_command_time(pinpad);
        if (endsSecureChannel(cmdId)) {
            abecs_pinpad_set_session_key(pinpad, nullptr);
        }
    });
}

AbecsPacket *abecs_link_receive_response(AbecsPinpad *pinpad, AbecsPacket *out) {
    if (out == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'out' is NULL");
        return out;
    }
    return pcl_guarded(out, [&] {
        const bool pending = abecs_pinpad_get_pending(pinpad).text[0] != '\0';
        const std::uint8_t firstByteWait = pending ? FIRST_BYTE_WAIT_PENDING : FIRST_BYTE_WAIT;
        for (int attempt = 0; attempt < MAX_ATTEMPTS; ++attempt) {
            abecsPacketClear(out);
            if (receiveFrame(pinpad, firstByteWait, out)) {
                return out;
            }
        }
        abecs_link_drain_input(pinpad->port);
        pcl_raise(PCL_RESULT_TIMEOUT_ERROR, "No response in %d attempts", MAX_ATTEMPTS);
        return out;
    });
}

void abecs_link_exchange(AbecsPinpad *pinpad, AbecsPacket *packet) {
    pcl_guarded([&] {
        abecs_link_send_command(pinpad, packet);
        abecs_link_receive_response(pinpad, packet);
    });
}

void abecs_link_abort(AbecsPinpad *pinpad) {
    if (pinpad == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "pinpad is NULL");
        return;
    }
    pcl_guarded([&] {
        std::uint8_t answer = 0;
        for (int attempt = 0; attempt < MAX_ATTEMPTS; ++attempt) {
            pcl_serial_set_timeout(pinpad->port, BYTE_WAIT);
            writeControl(pinpad->port, CAN);
            answer = readAnswer(pinpad->port);
            if (answer == EOT) {
                abecs_pinpad_clear_pending(pinpad);
                return;
            }
            abecs_link_drain_input(pinpad->port);
        }
        pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected EOT, read 0x%x)", answer);
    });
}

void abecs_link_drain_input(PclSerialPort *port) {
    pcl_guarded([&] {
        pcl_serial_set_timeout(port, DRAIN_SILENCE);
        Line line(port);
        const PclFailure failure = pcl_attempt([&] {
            for (;;) {
                line.read();
            }
        });
        abecs_observe_discarded(ABECS_LINK_STANDARD, line.record());
        if (failure.code != PCL_RESULT_TIMEOUT_ERROR) {
            pcl_exception_rethrow(failure.code, failure.message);
        }
        pcl_serial_purge(port, PCL_SERIAL_PURGE_BOTH);
    });
}
