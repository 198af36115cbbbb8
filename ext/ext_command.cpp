#include "ext/ext_command.h"

#include "abecs/response_parser.h"
#include "core/exception.h"
#include "ext/ext_link.h"

#include <cstring>

void abecs_ext_put_text(AbecsPacket *packet, const char *text) {
    abecsFieldPutAlpha(packet, text, std::strlen(text), 0);
}

void abecs_ext_put_raw_text(AbecsPacket *packet, const char *text) {
    abecsFieldPutAlphaExt(packet, text, std::strlen(text), 0);
}

void abecs_ext_put_char(AbecsPacket *packet, char c) {
    const char text[2] = {c, '\0'};
    abecsFieldPutAlpha(packet, text, 1, 0);
}

void abecs_ext_require_rsp_id(AbecsPacket *packet, const char *cmdId, const char *format) {
    pcl_guarded([&] {
        char rspId[ABECS_EXT_CMD_ID_LENGTH + 1];
        abecsFieldGetAlpha(packet, rspId, sizeof rspId, ABECS_EXT_CMD_ID_LENGTH, 0);
        if (std::strcmp(rspId, cmdId) != 0 && std::strcmp(rspId, ABECS_RSP_ID_ERROR) != 0) {
            pcl_raise(PCL_RESULT_PROTOCOL_ERROR, format, cmdId, rspId);
        }
    });
}

void abecs_ext_raise_unrecognized() {
    pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "Unrecognized response");
}
