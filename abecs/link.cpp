#include "abecs/link.h"

#include "abecs/crc16.h"
#include "abecs/line.h"
#include "abecs/secure_channel.h"
#include "core/exception.h"
#include "core/guard.h"

#include <cstring>

namespace {

constexpr std::uint8_t SYN = 0x16;
constexpr std::uint8_t ETB = 0x17;
constexpr std::uint8_t DC2 = 0x12;
constexpr std::uint8_t DC3 = 0x13;
constexpr std::uint8_t CAN = 0x18;
constexpr std::uint8_t EOT = 0x04;

constexpr std::uint8_t STUFFING_OFFSET = 0x20;

// In tenths of a second.
constexpr std::uint8_t FIRST_BYTE_WAIT = 100;
constexpr std::uint8_t FIRST_BYTE_WAIT_PENDING = 20;

std::uint16_t frameCrc(AbecsPacket *body, bool encrypted) {
    return abecs_crc16(encrypted ? &DC2 : nullptr, body, &ETB);
}

void writeStuffed(AbecsLine &line, std::uint8_t byte) {
    if (byte == DC3 || byte == SYN || byte == ETB) {
        line.write(DC3);
        byte = static_cast<std::uint8_t>(byte + STUFFING_OFFSET);
    }
    line.write(byte);
}

// Leaves the body's read position where it was.
void writeFrame(AbecsLine &line, AbecsPacket *body) {
    const std::uint16_t crc = frameCrc(body, line.encrypted());
    AbecsPacketMark start;
    abecsPacketMark(body, &start);
    line.write(SYN);
    if (line.encrypted()) {
        line.write(DC2);
    }
    while (abecsPacketAvailable(body) > 0) {
        writeStuffed(line, abecsPacketReadByte(body));
    }
    line.write(ETB);
    line.write(static_cast<std::uint8_t>(crc >> 8U));
    line.write(static_cast<std::uint8_t>(crc & 0xFFU));
    abecsPacketRestore(body, &start);
}

bool endsSecureChannel(const char *cmdId) {
    return std::strcmp(cmdId, "CLO") == 0 || std::strcmp(cmdId, "CLX") == 0;
}

// Reads from SYN to ETB into `out`.
void readFrameBody(AbecsLine &line, std::uint8_t firstByteWait, AbecsPacket *out) {
    abecsPacketClear(out);
    line.setWait(firstByteWait);
    std::uint8_t byte = line.read();
    if (byte != SYN) {
        abecs_observe_byte(ABECS_LINK_FROM_DEVICE, line.framing(), byte);
        pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected SYN, read 0x%x)", byte);
        return;
    }
    line.markStarted();
    line.setWait(ABECS_BYTE_WAIT);
    byte = line.read();
    if (byte == DC2) {
        line.markEncrypted();
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

bool crcMatches(AbecsLine &line, AbecsPacket *body) {
    const unsigned high = line.read();
    const unsigned received = high << 8U | line.read();
    return received == frameCrc(body, line.encrypted());
}

// Decrypts the body of an intact frame when it needs it, and shows the frame to the observer
// whatever comes of that.
void finishFrame(AbecsPinpad *pinpad, const AbecsLine &line, AbecsPacket *body) {
    PclException failure;
    if (line.encrypted()) {
        failure = pcl_attempt([&] { abecs_decrypt_response(pinpad, body); });
    }
    abecs_line_observe_frame(line, ABECS_LINK_FRAME, ABECS_LINK_FROM_DEVICE,
                             failure ? nullptr : body);
    pcl_raise_again(failure);
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

void abecs_secure_send(AbecsPinpad *pinpad, AbecsPacket *packet) {
    pcl_guarded([&] {
        const AbecsPacketLocal encrypted;
        abecs_secure_wrap(pinpad, packet, encrypted);
        abecs_link_send_frame(pinpad, packet, encrypted);
    });
}

void abecs_link_send_frame(AbecsPinpad *pinpad, AbecsPacket *packet, AbecsPacket *encrypted) {
    pcl_guarded([&] {
        abecs_pinpad_pace(pinpad);
        abecs_pinpad_check_not_blocked(pinpad);
        char cmdId[ABECS_CMD_ID_LENGTH + 1];
        abecs_packet_get_cmd_id(packet, cmdId, sizeof cmdId);
        AbecsPacket *body = encrypted == nullptr ? packet : encrypted;
        abecs_line_send_frame(pinpad, ABECS_LINK_STANDARD, encrypted != nullptr, packet,
                              [&](AbecsLine &line) { writeFrame(line, body); });
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
        AbecsLine line(pinpad->port, ABECS_LINK_STANDARD);
        abecs_line_receive_answer(pinpad, line, [&](AbecsLine &attempt) {
            readFrameBody(attempt, firstByteWait, out);
            return crcMatches(attempt, out);
        });
        finishFrame(pinpad, line, out);
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
        // A late EOT of an abort that failed would pass for the one to come. While another thread
        // waits, the line is busy and its bytes are left alone.
        if (pinpad->lineState.load() == ABECS_LINE_DISTURBED) {
            abecs_line_drop_late_input(pinpad->port);
        }
        AbecsLineUse use(pinpad);
        for (int attempt = 0; attempt < ABECS_MAX_ATTEMPTS; ++attempt) {
            pcl_serial_set_timeout(pinpad->port, ABECS_BYTE_WAIT);
            abecs_line_write_control(pinpad->port, ABECS_LINK_STANDARD, CAN);
            answer = abecs_line_read_answer(pinpad->port, ABECS_LINK_STANDARD);
            if (answer == EOT) {
                abecs_pinpad_clear_pending(pinpad);
                use.endsAsBefore();
                return;
            }
            abecs_link_drain_input(pinpad->port);
        }
        pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected EOT, read 0x%x)", answer);
    });
}

void abecs_link_drain_input(PclSerialPort *port) {
    abecs_line_drain(port, ABECS_LINK_STANDARD);
}
