#include "abecs/pinpad.h"

#include "core/exception.h"
#include "core/guard.h"
#include "core/memory.h"
#include "core/time.h"

#include <cstring>
#include <new>

namespace {

bool isGiven(const AbecsPinpad *pinpad) {
    if (pinpad == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
        return false;
    }
    return true;
}

std::uint32_t packPendingId(const char *cmdId) {
    std::uint32_t packed = 0;
    for (std::size_t i = 0; i < ABECS_PENDING_ID_MAX_LENGTH && cmdId[i] != '\0'; ++i) {
        packed |= static_cast<std::uint32_t>(static_cast<std::uint8_t>(cmdId[i])) << (8 * i);
    }
    return packed;
}

AbecsPendingId unpackPendingId(std::uint32_t packed) {
    AbecsPendingId id{};
    for (std::size_t i = 0; i < ABECS_PENDING_ID_MAX_LENGTH; ++i) {
        id.text[i] = static_cast<char>(packed >> (8 * i) & 0xFFU);
    }
    return id;
}

} // namespace

void abecs_pinpad_destroy(AbecsPinpad **pinpad) {
    if (pinpad == nullptr || *pinpad == nullptr) {
        return;
    }
    AbecsPinpad *session = *pinpad;
    *pinpad = nullptr;
    PclSerialPort *port = session->port;
    pcl_wipe(session->sessionKey.data(), session->sessionKey.size());
    session->~AbecsPinpad();
    pcl_free(session);
    if (port == nullptr) {
        return;
    }
    const PclException notPurged =
        pcl_attempt([&] { pcl_serial_purge(port, PCL_SERIAL_PURGE_BOTH); });
    const PclException notClosed = pcl_attempt([&] { pcl_serial_close(&port); });
    pcl_raise_again(notPurged ? notPurged : notClosed);
}

void abecs_pinpad_set_session_key(AbecsPinpad *pinpad, const std::uint8_t *key) {
    if (pinpad == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "pinpad is NULL");
        return;
    }
    if (key == nullptr) {
        pcl_wipe(pinpad->sessionKey.data(), pinpad->sessionKey.size());
        pinpad->secure = 0;
        return;
    }
    std::memcpy(pinpad->sessionKey.data(), key, pinpad->sessionKey.size());
    pinpad->secure = 1;
}

void abecs_pinpad_set_min_interval(AbecsPinpad *pinpad, std::uint64_t milliseconds) {
    if (isGiven(pinpad)) {
        pinpad->minInterval = milliseconds;
    }
}

std::uint64_t abecs_pinpad_get_min_interval(AbecsPinpad *pinpad) {
    return isGiven(pinpad) ? pinpad->minInterval : 0;
}

void abecs_pinpad_settle(AbecsPinpad *pinpad) {
    if (isGiven(pinpad)) {
        pinpad->lineState.store(ABECS_LINE_HEALTHY);
    }
}

bool abecs_pinpad_check_not_blocked(AbecsPinpad *pinpad) {
    if (!isGiven(pinpad)) {
        return false;
    }
    const AbecsPendingId pending = abecs_pinpad_get_pending(pinpad);
    if (pending.text[0] != '\0') {
        pcl_raise(PCL_RESULT_ILLEGAL_STATE, "Connection is blocked waiting for %s response",
                  pending.text);
        return false;
    }
    return true;
}

void abecs_pinpad_set_pending(AbecsPinpad *pinpad, const char *cmdId) {
    if (!abecs_pinpad_check_not_blocked(pinpad)) {
        return;
    }
    if (cmdId == nullptr || cmdId[0] == '\0') {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "NULL/empty 'cmdId'");
        return;
    }
    if (std::strlen(cmdId) != ABECS_PENDING_ID_LENGTH) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'cmdId' is too long: %s", cmdId);
        return;
    }
    abecs_pinpad_store_pending(pinpad, cmdId);
}

void abecs_pinpad_clear_pending(AbecsPinpad *pinpad) {
    if (isGiven(pinpad)) {
        pinpad->pendingCmdId.store(0);
    }
}

AbecsPendingId abecs_pinpad_get_pending(AbecsPinpad *pinpad) {
    return isGiven(pinpad) ? unpackPendingId(pinpad->pendingCmdId.load()) : AbecsPendingId{};
}

void abecs_pinpad_require_pending(AbecsPinpad *pinpad, const char *cmdId) {
    if (!isGiven(pinpad)) {
        return;
    }
    if (std::strcmp(abecs_pinpad_get_pending(pinpad).text, cmdId) != 0) {
        pcl_raise(PCL_RESULT_ILLEGAL_STATE, "%s was not sent yet", cmdId);
    }
}

void abecs_pinpad_store_pending(AbecsPinpad *pinpad, const char *cmdId) {
    if (isGiven(pinpad)) {
        pinpad->pendingCmdId.store(packPendingId(cmdId));
    }
}

void abecs_pinpad_pace(AbecsPinpad *pinpad) {
    if (!isGiven(pinpad) || pinpad->minInterval == 0) {
        return;
    }
    const std::uint64_t elapsed = pcl_monotonic_millis() - pinpad->lastCommandTime;
    if (elapsed < pinpad->minInterval) {
        pcl_sleep_millis(pinpad->minInterval - elapsed);
    }
}

void abecs_pinpad_mark_command_time(AbecsPinpad *pinpad) {
    if (isGiven(pinpad)) {
        pinpad->lastCommandTime = pcl_monotonic_millis();
    }
}
