#include "abecs/commands/close.h"

#include "abecs/commands/command_params.h"
#include "abecs/commands/media_name.h"
#include "abecs/commands/param_command.h"
#include "abecs/commands/response.h"
#include "core/exception.h"
#include "core/guard.h"

#include <cstring>

namespace {

constexpr std::size_t CLO_MESSAGE_SIZE = 32;
constexpr std::size_t CLX_MESSAGE_MAX = 128;

constexpr std::uint16_t PARAM_DISPLAY_MESSAGE = 0x001B;

bool isPresent(const char *text) {
    return text != nullptr && text[0] != '\0';
}

} // namespace

AbecsRspStat_e abecs_clo(AbecsPinpad *pinpad, const char *msg) {
    const char *text = msg == nullptr ? "" : msg;
    const std::size_t length = std::strlen(text);
    if (length > CLO_MESSAGE_SIZE) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'msg' it too long (maximum: %d, requested: %zu)",
                  static_cast<int>(CLO_MESSAGE_SIZE), length);
        return ABECS_RSP_STAT_ST_INTERR;
    }
    return pcl_guarded(ABECS_RSP_STAT_ST_INTERR, [&] {
        const AbecsPacketLocal packet;
        abecsFieldPutAlpha(packet, "CLO", 3, 0);
        abecsFieldPutNumber(packet, CLO_MESSAGE_SIZE, 3);
        abecsFieldPutAlphaExt(packet, text, CLO_MESSAGE_SIZE, 0);
        return abecs_exchange_packet(pinpad, packet, "CLO");
    });
}

AbecsRspStat_e abecs_clx(AbecsPinpad *pinpad, const char *dspMsg, const char *mfName) {
    if (pinpad == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
        return ABECS_RSP_STAT_ST_INTERR;
    }
    if (dspMsg != nullptr && std::strlen(dspMsg) > CLX_MESSAGE_MAX) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT,
                  "'dspMsg' length (%zu)  is greater than 128 characters", std::strlen(dspMsg));
        return ABECS_RSP_STAT_ST_INTERR;
    }
    if (mfName != nullptr && std::strlen(mfName) > ABECS_MEDIA_NAME_SIZE) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'mfName' length (%zu) is greater than 8 characters",
                  std::strlen(mfName));
        return ABECS_RSP_STAT_ST_INTERR;
    }
    const auto addParams = [&](AbecsCmdBuilder *builder) {
        if (isPresent(mfName)) {
            abecs_add_alpha_ext_param(builder, ABECS_PARAM_MEDIA_NAME, mfName,
                                      ABECS_MEDIA_NAME_SIZE, 0);
        }
        if (isPresent(dspMsg)) {
            abecs_add_alpha_ext_param(builder, PARAM_DISPLAY_MESSAGE, dspMsg, std::strlen(dspMsg),
                                      1);
        }
    };
    return abecs_exchange_command(pinpad, "CLX", addParams, abecs_parse_response_status);
}
