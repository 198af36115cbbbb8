#include "api/session_commands.h"

#include "abecs/commands/display.h"
#include "abecs/commands/media.h"
#include "abecs/commands/polling.h"
#include "abecs/rsp_stat.h"
#include "api/global_session.h"
#include "core/guard.h"

namespace {

constexpr char DEFAULT_EVENTS[] = "100099";

} // namespace

void pinpad_check_event(const char *cexOpt, const std::uint32_t *number,
                        const AbecsEventPair *pair) {
    abecsCheckEvent(pinpad_session(), cexOpt, number, pair);
}

void pinpad_check_event_default(const std::uint32_t *number) {
    abecsCheckEvent(pinpad_session(), DEFAULT_EVENTS, number, nullptr);
}

std::int32_t pinpad_check_event_response(AbecsParamMap *out, char *notification) {
    return abecsCheckEventResponse(pinpad_session(), out, notification);
}

std::int32_t pinpad_check_event_status() {
    return pcl_guarded(ABECS_POLL_NO_ANSWER, [] {
        const AbecsParamMapPtr unread(abecsParamMapCreate());
        const std::int32_t status =
            abecsCheckEventResponse(pinpad_session(), unread.get(), nullptr);
        return status == ABECS_RSP_STAT_ST_TIMEOUT ? ABECS_POLL_NO_ANSWER : status;
    });
}

std::int32_t pinpad_display(const char *msg) {
    return abecs_dex(pinpad_session(), msg);
}

std::int32_t pinpad_display_clear() {
    return abecs_dex(pinpad_session(), "");
}

std::int32_t pinpad_display_image(const char *filename) {
    return abecs_dsi(pinpad_session(), filename);
}

std::int32_t pinpad_display_media(const PclList *files) {
    return abecs_dmf(pinpad_session(), files);
}

std::int32_t pinpad_list_media(PclList *out) {
    return abecs_lmf(pinpad_session(), out);
}

void pinpad_load_media(const char *path, const char *filename, std::uint8_t mediaType) {
    abecsMediaLoad(pinpad_session(), path, filename, mediaType, nullptr, nullptr);
}
