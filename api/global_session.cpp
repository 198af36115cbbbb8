#include "api/global_session.h"

#include "abecs/link.h"
#include "abecs/secure_channel.h"
#include "core/exception.h"
#include "core/guard.h"

#include <atomic>
#include <memory>
#include <thread>

namespace {

// A session and how many use it: the global variable itself, and aborts that are running.
struct SharedSession {
    AbecsPinpad *pinpad;
    std::atomic<int> users{1};

    explicit SharedSession(AbecsPinpad *session) : pinpad(session) {}
};

std::atomic<SharedSession *> globalSession{nullptr};
std::atomic<std::uint8_t> abortFlag{0};

// How many aborts are between reading the global session and counting themselves as its users.
std::atomic<int> pinning{0};

SharedSession *pin() {
    pinning.fetch_add(1);
    SharedSession *session = globalSession.load();
    if (session != nullptr) {
        session->users.fetch_add(1);
    }
    pinning.fetch_sub(1);
    return session;
}

void release(SharedSession *session) {
    if (session != nullptr && session->users.fetch_sub(1) == 1) {
        AbecsPinpad *pinpad = session->pinpad;
        delete session;
        abecs_pinpad_destroy(&pinpad);
    }
}

// To be called with a session that is the global one no longer.
void retire(SharedSession *session) {
    while (pinning.load() != 0) {
        std::this_thread::yield();
    }
    release(session);
}

// A session whose line is gone is of no use, and while its port is open the system keeps the
// device's name from coming back.
void dropDeadSession() {
    SharedSession *session = globalSession.load();
    if (session != nullptr && pcl_serial_is_gone(session->pinpad->port)) {
        static_cast<void>(pcl_attempt([] { pinpad_session_drop(); }));
    }
}

} // namespace

AbecsRspStat_e pinpad_session_open(const char *portName, std::uint8_t secureFlag) {
    dropDeadSession();
    AbecsPinpadPtr pinpad(abecs_pinpad_create(portName));
    auto created = std::make_unique<SharedSession>(pinpad.get());
    static_cast<void>(pinpad.release());
    SharedSession *opening = created.release();
    SharedSession *earlier = globalSession.exchange(opening);
    AbecsRspStat_e status = ABECS_RSP_STAT_ST_INTERR;
    const PclFailure failure =
        pcl_attempt([&] { status = abecs_open(opening->pinpad, secureFlag); });
    if (failure) {
        globalSession.store(earlier);
        static_cast<void>(pcl_attempt([&] { retire(opening); }));
        pcl_exception_rethrow(failure.code, failure.message);
        return status;
    }
    static_cast<void>(pcl_attempt([&] { retire(earlier); }));
    return status;
}

AbecsPinpad *pinpad_session() {
    SharedSession *session = globalSession.load();
    return session == nullptr ? nullptr : session->pinpad;
}

void pinpad_session_drop() {
    retire(globalSession.exchange(nullptr));
}

void pinpad_session_abort() {
    abortFlag.store(1);
    SharedSession *session = pin();
    const PclFailure failure =
        pcl_attempt([&] { abecs_link_abort(session == nullptr ? nullptr : session->pinpad); });
    static_cast<void>(pcl_attempt([&] { release(session); }));
    pcl_exception_rethrow(failure.code, failure.message);
}

std::uint8_t pinpad_session_abort_flag() {
    return abortFlag.load();
}
