#include "pinpad/pinpad.h"

#include "abecs/commands/capture.h"
#include "abecs/commands/close.h"
#include "api/global_session.h"
#include "core/guard.h"

// Each export runs inside a frame of its own, so that by the time a failure reaches the host's
// handler no frame is open and nothing is held: the handler may leave in any way it likes.

namespace {

template <typename Body>
std::int32_t exported(Body &&body) {
    return pcl_guarded<std::int32_t>(PINPAD_FAILED, std::forward<Body>(body));
}

template <typename Command>
std::int32_t closeSession(Command &&command) {
    return exported([&] {
        const std::int32_t status = command();
        pinpad_session_drop();
        return status;
    });
}

} // namespace

std::int32_t PINPAD_CALL PP_Open(const char *portName, std::uint8_t secure) {
    return exported([&] { return pinpad_session_open(portName, secure); });
}

std::int32_t PINPAD_CALL PP_Close(const char *message) {
    return closeSession([&] { return abecs_clo(pinpad_session(), message); });
}

std::int32_t PINPAD_CALL PP_CloseExtended(const char *dspMsg, const char *mfName) {
    return closeSession([&] { return abecs_clx(pinpad_session(), dspMsg, mfName); });
}

void PINPAD_CALL PP_Abort() {
    pcl_guarded([] { pinpad_session_abort(); });
}

void PINPAD_CALL abecsGetClearData(std::uint16_t promptId, std::uint8_t minDig, std::uint8_t maxDig,
                                   std::uint8_t timeoutSeconds) {
    pcl_guarded(
        [&] { abecs_gcd_start(pinpad_session(), promptId, minDig, maxDig, timeoutSeconds); });
}

std::int32_t PINPAD_CALL abecsGetClearDataResponse(char *out, char *notification) {
    return exported([&] { return abecs_gcd_response(pinpad_session(), out, notification); });
}
