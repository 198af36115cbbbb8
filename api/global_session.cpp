#include "api/global_session.h"

#include "abecs/link.h"
#include "abecs/open.h"
#include "core/exception.h"
#include "core/guard.h"
#include "serial/interrupt.h"

#include <atomic>
#include <memory>
#include <thread>
#include <utility>

namespace {

// A session and how many use it: the global variable itself, and aborts that are running.
struct SharedSession {
    AbecsPinpadPtr pinpad;
    std::atomic<int> users{1};
    bool openFailed = true; // until OPN has been answered

    explicit SharedSession(AbecsPinpadPtr session) : pinpad(std::move(session)) {}
};

std::atomic<SharedSession *> globalSession{nullptr};
std::atomic<PclInterrupt *> creation{nullptr}; // ends the creation of a session that is under way
std::atomic<std::uint8_t> abortFlag{0};

// How many aborts are between reading one of these pointers and having counted themselves as users
// of what it points to, or being done with it.
std::atomic<int> pinning{0};

void awaitPinning() {
    while (pinning.load() != 0) {
        std::this_thread::yield();
    }
}

SharedSession *pin() {
    pinning.fetch_add(1);
    SharedSession *session = globalSession.load();
    if (session != nullptr) {
        session->users.fetch_add(1);
    }
    pinning.fetch_sub(1);
    return session;
}

bool interruptCreation() {
    pinning.fetch_add(1);
    PclInterrupt *interrupt = creation.load();
    if (interrupt != nullptr) {
        interrupt->raise();
    }
    pinning.fetch_sub(1);
    return interrupt != nullptr;
}

void release(SharedSession *session) {
    if (session != nullptr && session->users.fetch_sub(1) == 1) {
        AbecsPinpad *pinpad = session->pinpad.release();
        delete session;
        abecs_pinpad_destroy(&pinpad);
    }
}

// To be called with a session that is the global one no longer.
void retire(SharedSession *session) {
    awaitPinning();
    release(session);
}

// The next open finds the port free of a session that was never opened. One whose line is gone
// would keep the system from giving the device's name to it again.
void dropUselessSession() {
    const SharedSession *session = globalSession.load();
    if (session != nullptr && (session->openFailed || pcl_serial_is_gone(session->pinpad->port))) {
        static_cast<void>(pcl_attempt([] { pinpad_session_drop(); }));
    }
}

// Creates a session, unless an abort ends it: a line that never falls silent would keep the thread
// for ever.
AbecsPinpadPtr create(const char *portName) {
    PclInterrupt interrupt;
    AbecsPinpadPtr pinpad;
    creation.store(&interrupt);
    const PclException failure =
        pcl_attempt([&] { pinpad.reset(abecs_pinpad_create(portName, &interrupt)); });
    creation.store(nullptr);
    awaitPinning();
    if (interrupt.isRaised()) {
        pinpad.reset();
        pcl_raise(PCL_RESULT_ILLEGAL_STATE, "Open was aborted");
    }
    pcl_raise_again(failure);
    pcl_serial_set_interrupt(pinpad->port, nullptr);
    return pinpad;
}

} // namespace

AbecsRspStat_e pinpad_session_open(const char *portName, std::uint8_t secureFlag) {
    return pcl_guarded(ABECS_RSP_STAT_ST_INTERR, [&] {
        dropUselessSession();
        SharedSession *session = new SharedSession(create(portName));
        SharedSession *earlier = globalSession.exchange(session);
        static_cast<void>(pcl_attempt([&] { retire(earlier); }));
        const AbecsRspStat_e status = abecs_open(session->pinpad.get(), secureFlag);
        session->openFailed = false;
        return status;
    });
}

AbecsPinpad *pinpad_session() {
    SharedSession *session = globalSession.load();
    return session == nullptr ? nullptr : session->pinpad.get();
}

void pinpad_session_drop() {
    retire(globalSession.exchange(nullptr));
}

void pinpad_session_abort() {
    abortFlag.store(1);
    if (interruptCreation()) {
        return;
    }
    SharedSession *session = pin();
    const PclException failure = pcl_attempt(
        [&] { abecs_link_abort(session == nullptr ? nullptr : session->pinpad.get()); });
    static_cast<void>(pcl_attempt([&] { release(session); }));
    pcl_raise_again(failure);
}

std::uint8_t pinpad_session_abort_flag() {
    return abortFlag.load();
}
