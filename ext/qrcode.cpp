#include "ext/qrcode.h"

#include "core/exception.h"
#include "ext/ext_command.h"
#include "ext/ext_link.h"

namespace {

constexpr char QR01[] = "QR01";

constexpr std::uint64_t MAX_TIMEOUT = 999;
constexpr std::size_t MAX_LINE = 20;
constexpr std::size_t MAX_QR_CODE = 9999;
constexpr std::size_t RESPONSE_LENGTH = ABECS_EXT_CMD_ID_LENGTH + 1;

const char *orEmpty(const char *text) {
    return text == nullptr ? "" : text;
}

} // namespace

void abecs_qr_start(AbecsPinpad *pinpad, std::uint64_t usTimeout, char bLineType,
                    std::size_t iLineLen, const char *line, std::size_t iQRCodeLen,
                    const char *qrCode) {
    if (pinpad == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
        return;
    }
    if (usTimeout > MAX_TIMEOUT) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid value for usTimeout: %d (max: 999)",
                  static_cast<int>(usTimeout));
        return;
    }
    if (bLineType < '0' || bLineType > '2') {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid value for bLineType: %c", bLineType);
        return;
    }
    if (iLineLen > MAX_LINE) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid value for iLineLen: %d (max: 20)",
                  static_cast<int>(iLineLen));
        return;
    }
    if (iQRCodeLen > MAX_QR_CODE) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid value for iQRCodeLen: %d (max: 9999)",
                  static_cast<int>(iQRCodeLen));
        return;
    }
    pcl_guarded([&] {
        const AbecsPacketLocal packet;
        abecs_ext_put_text(packet, QR01);
        abecsFieldPutNumber(packet, usTimeout, 3);
        abecs_ext_put_char(packet, bLineType);
        abecsFieldPutNumber(packet, iLineLen, 2);
        abecsFieldPutNumber(packet, iQRCodeLen, 4);
        abecs_ext_put_raw_text(packet, orEmpty(line));
        abecs_ext_put_raw_text(packet, orEmpty(qrCode));
        abecs_ext_send_packet(pinpad, packet);
        abecs_ext_set_pending(pinpad, QR01);
    });
}

std::int32_t abecs_qr_response(AbecsPinpad *pinpad, std::uint8_t *result) {
    if (pinpad == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
        return ABECS_POLL_NO_ANSWER;
    }
    return abecs_ext_run([&] {
        abecs_pinpad_require_pending(pinpad, QR01);
        if (result == nullptr) {
            pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'result' is NULL");
            return;
        }
        const AbecsPacketLocal packet;
        abecs_ext_receive_packet(pinpad, packet);
        if (abecsPacketAvailable(packet) != RESPONSE_LENGTH) {
            abecs_ext_raise_unrecognized();
            return;
        }
        abecs_ext_require_rsp_id(packet, QR01, "(%s) Invalid RSP_ID: %s)");
        *result = abecsPacketReadByte(packet);
        abecs_ext_clear_pending(pinpad);
        abecs_pinpad_settle(pinpad);
    });
}
