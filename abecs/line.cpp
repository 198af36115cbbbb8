#include "abecs/line.h"

std::uint8_t abecs_line_read_answer(PclSerialPort *port, AbecsLinkFraming_e framing) {
    std::uint8_t answer = 0;
    const PclException failure = pcl_attempt([&] { answer = pcl_serial_read_byte(port); });
    if (failure.code == PCL_RESULT_TIMEOUT_ERROR) {
        abecs_observe_silence(framing);
    }
    if (pcl_raise_again(failure)) {
        return answer;
    }
    abecs_observe_byte(ABECS_LINK_FROM_DEVICE, framing, answer);
    return answer;
}

void abecs_line_write_control(PclSerialPort *port, AbecsLinkFraming_e framing, std::uint8_t byte) {
    pcl_guarded([&] {
        pcl_serial_write_byte(port, byte);
        abecs_observe_byte(ABECS_LINK_TO_DEVICE, framing, byte);
    });
}

void abecs_line_drop_late_input(PclSerialPort *port) {
    static_cast<void>(pcl_attempt([&] { pcl_serial_purge(port, PCL_SERIAL_PURGE_RX); }));
}

void abecs_line_drain(PclSerialPort *port, AbecsLinkFraming_e framing) {
    pcl_guarded([&] {
        pcl_serial_set_timeout(port, ABECS_DRAIN_SILENCE);
        AbecsLine line(port, framing);
        const PclException failure = pcl_attempt([&] {
            for (;;) {
                line.read();
            }
        });
        abecs_observe_discarded(framing, line.record());
        if (failure.code != PCL_RESULT_TIMEOUT_ERROR) {
            pcl_raise_again(failure);
        }
        pcl_serial_purge(port, PCL_SERIAL_PURGE_BOTH);
    });
}

void abecs_line_observe_frame(const AbecsLine &line, AbecsLinkEvent_e kind,
                              AbecsLinkDirection_e direction, AbecsPacket *body) {
    abecs_observe_frame(kind, direction, line.framing(), line.encrypted(), line.record(), body);
}

bool abecs_line_is_acknowledged(PclSerialPort *port, AbecsLinkFraming_e framing) {
    return pcl_guarded(false, [&] {
        const std::uint8_t answer = abecs_line_read_answer(port, framing);
        if (answer != ABECS_ACK && answer != ABECS_NAK) {
            abecs_line_drain(port, framing);
            pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "Protocol error (unknown packet response: 0x%x)",
                      answer);
        }
        return answer == ABECS_ACK;
    });
}
