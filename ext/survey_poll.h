#pragma once

#include "abecs/pinpad.h"
#include "core/exception.h"
#include "ext/ext_command.h"
#include "ext/ext_link.h"

#include <cstddef>
#include <cstdint>

/// The longest answer of a survey, with its NUL.
inline constexpr std::size_t ABECS_SURVEY_ANSWER_SIZE = 4;

/// Polls for the answer of the survey `cmdId`. `isLength` tells which lengths an answer may have,
/// `take` reads it from the packet into the caller's buffer.
template <typename IsLength, typename Take>
std::int32_t abecs_survey_poll(AbecsPinpad *pinpad, const char *cResp, const char *cmdId,
                               IsLength isLength, Take take) {
    if (pinpad == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
        return ABECS_POLL_NO_ANSWER;
    }
    if (cResp == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'cResp' is NULL");
        return ABECS_POLL_NO_ANSWER;
    }
    return abecs_ext_run([&] {
        abecs_pinpad_require_pending(pinpad, cmdId);
        const AbecsPacketLocal packet;
        abecs_ext_receive_packet(pinpad, packet);
        if (!isLength(abecsPacketAvailable(packet))) {
            abecs_ext_raise_unrecognized();
            return;
        }
        abecs_ext_require_rsp_id(packet, cmdId, "(%s) Invalid RSP_ID: %s)");
        take(packet);
        abecs_ext_clear_pending(pinpad);
        abecs_pinpad_settle(pinpad);
    });
}

/// Ends a survey on the terminal and polls once with `get`, dropping the answer.
template <typename Get>
std::int32_t abecs_survey_stop_with(AbecsPinpad *pinpad, Get get) {
    return pcl_guarded<std::int32_t>(ABECS_POLL_NO_ANSWER, [&] {
        abecs_ext_send_control(pinpad, ABECS_EXT_EOT);
        char answer[ABECS_SURVEY_ANSWER_SIZE];
        return get(pinpad, answer);
    });
}
