#include "ext/ext_link.h"

#include "abecs/line.h"
#include "core/exception.h"
#include "core/guard.h"

#include <cstring>

namespace {

constexpr std::uint8_t STX = 0x02;
constexpr std::uint8_t ETX = 0x03;

// STX, two bytes of length, ETX and the check byte.
constexpr std::size_t FRAME_OVERHEAD = 5;

// In tenths of a second.
constexpr std::uint8_t HEADER_WAIT = 15;

// Passes bytes through while gathering their XOR.
class CheckedLine {
public:
    explicit CheckedLine(AbecsLine &line) : m_line(line) {}

    void write(std::uint8_t byte) {
        m_line.write(byte);
        m_check = static_cast<std::uint8_t>(m_check ^ byte);
    }
    std::uint8_t read() {
        const std::uint8_t byte = m_line.read();
        m_check = static_cast<std::uint8_t>(m_check ^ byte);
        return byte;
    }
    std::uint8_t check() const { return m_check; }

private:
    AbecsLine &m_line;
    std::uint8_t m_check = 0;
};

// Leaves the packet's read position where it was.
void writeFrame(AbecsLine &line, AbecsPacket *packet) {
    AbecsPacketMark start;
    abecsPacketMark(packet, &start);
    const std::size_t length = abecsPacketAvailable(packet) + FRAME_OVERHEAD;
    CheckedLine checked(line);
    checked.write(STX);
    checked.write(static_cast<std::uint8_t>(length >> 8U));
    checked.write(static_cast<std::uint8_t>(length & 0xFFU));
    while (abecsPacketAvailable(packet) > 0) {
        checked.write(abecsPacketReadByte(packet));
    }
    checked.write(ETX);
    line.write(checked.check());
    abecsPacketRestore(packet, &start);
}

bool readFrame(AbecsLine &line, AbecsPacket *out) {
    abecsPacketClear(out);
    line.setWait(HEADER_WAIT);
    CheckedLine checked(line);
    const std::uint8_t first = checked.read();
    if (first != STX) {
        abecs_observe_byte(ABECS_LINK_FROM_DEVICE, line.framing(), first);
        pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected STX, read 0x%x)", first);
        return false;
    }
    line.markStarted();
    checked.read();
    checked.read();
    line.setWait(ABECS_BYTE_WAIT);
    for (std::uint8_t byte = checked.read(); byte != ETX; byte = checked.read()) {
        abecsPacketWriteByte(out, byte);
    }
    return line.read() == checked.check();
}

} // namespace

void abecs_ext_send_packet(AbecsPinpad *pinpad, AbecsPacket *packet) {
    if (pinpad == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
        return;
    }
    if (packet == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'packet' is NULL");
        return;
    }
    pcl_guarded([&] {
        abecs_pinpad_pace(pinpad);
        abecs_pinpad_check_not_blocked(pinpad);
        abecs_line_send_frame(pinpad, ABECS_LINK_EXTENSION, false, packet,
                              [&](AbecsLine &line) { writeFrame(line, packet); });
        abecs_pinpad_mark_command_time(pinpad);
    });
}

AbecsPacket *abecs_ext_receive_packet(AbecsPinpad *pinpad, AbecsPacket *out) {
    if (out == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'out' is NULL");
        return out;
    }
    if (pinpad == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
        return out;
    }
    return pcl_guarded(out, [&] {
        AbecsLine line(pinpad->port, ABECS_LINK_EXTENSION);
        abecs_line_receive_answer(pinpad, line,
                                  [&](AbecsLine &attempt) { return readFrame(attempt, out); });
        abecs_line_observe_frame(line, ABECS_LINK_FRAME, ABECS_LINK_FROM_DEVICE, out);
        return out;
    });
}

void abecs_ext_exchange(AbecsPinpad *pinpad, AbecsPacket *packet) {
    pcl_guarded([&] {
        abecs_ext_send_packet(pinpad, packet);
        abecs_ext_receive_packet(pinpad, packet);
    });
}

void abecs_ext_drain_input(PclSerialPort *port) {
    abecs_line_drain(port, ABECS_LINK_EXTENSION);
}

void abecs_ext_send_control(AbecsPinpad *pinpad, std::uint8_t byte) {
    if (pinpad == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
        return;
    }
    pcl_guarded([&] {
        pcl_serial_set_timeout(pinpad->port, ABECS_BYTE_WAIT);
        abecs_line_write_control(pinpad->port, ABECS_LINK_EXTENSION, byte);
    });
}

void abecs_ext_set_pending(AbecsPinpad *pinpad, const char *cmdId) {
    if (!abecs_pinpad_check_not_blocked(pinpad)) {
        return;
    }
    if (cmdId == nullptr || cmdId[0] == '\0') {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "NULL/empty 'cmdId'");
        return;
    }
    if (std::strlen(cmdId) > ABECS_PENDING_ID_MAX_LENGTH) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'cmdId' is too long: %s", cmdId);
        return;
    }
    abecs_pinpad_store_pending(pinpad, cmdId);
}

void abecs_ext_clear_pending(AbecsPinpad *pinpad) {
    abecs_pinpad_clear_pending(pinpad);
}
