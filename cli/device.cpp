#include "cli/device.h"

#include "abecs/commands/close.h"
#include "abecs/commands/polling.h"
#include "abecs/link.h"
#include "abecs/open.h"
#include "abecs/response_parser.h"
#include "cli/interrupt.h"

#include <chrono>
#include <optional>
#include <utility>

namespace cli {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// How often the line is polled while the customer is busy. Unlike a read, polling lets Ctrl-C take
// effect at once and needs no second thread.
constexpr milliseconds LOOK_INTERVAL{20};

void requireOk(std::int32_t status) {
    if (status != ABECS_RSP_STAT_ST_OK) {
        throw Refused{static_cast<AbecsRspStat_e>(status)};
    }
}

} // namespace

Device::~Device() {
    abandon();
}

void Device::open() {
    if (isOpen()) {
        return;
    }
    callLibrary(Stage::Opening,
                [&] { m_pinpad.reset(abecs_pinpad_create(m_settings.port.c_str())); });
    AbecsRspStat_e status = ABECS_RSP_STAT_ST_OK;
    try {
        callLibrary(Stage::Opening,
                    [&] { status = abecs_open(m_pinpad.get(), m_settings.secure ? 1 : 0); });
    } catch (const LibraryFailure &) {
        m_pinpad.reset();
        throw;
    }
    if (status != ABECS_RSP_STAT_ST_OK) {
        m_pinpad.reset();
    }
    requireOk(status);
    throwIfInterrupted();
}

void Device::run(const std::function<AbecsRspStat_e(AbecsPinpad *)> &exchange) {
    AbecsRspStat_e status = ABECS_RSP_STAT_ST_OK;
    callLibrary(Stage::Command, [&] { status = exchange(m_pinpad.get()); });
    requireOk(status);
}

bool Device::hasAnswer() {
    std::uint32_t available = 0;
    callLibrary(Stage::Command, [&] { available = pcl_serial_bytes_available(m_pinpad->port); });
    return available > 0;
}

std::optional<Device::TimePoint> Device::customerDeadline() const {
    return m_settings.timeout ? std::optional(steady_clock::now() + *m_settings.timeout)
                              : std::nullopt;
}

// Returns false when the limit has passed.
bool Device::waitForInput(std::optional<TimePoint> customerDeadline,
                          std::optional<TimePoint> limit) {
    for (;;) {
        throwIfInterrupted();
        if (hasAnswer()) {
            return true;
        }
        const TimePoint now = steady_clock::now();
        if (limit && now >= *limit) {
            return false;
        }
        if (customerDeadline && now >= *customerDeadline) {
            throw CustomerTimeout{};
        }
        sleepUnlessInterrupted(LOOK_INTERVAL);
    }
}

void Device::waitForCustomer(const std::function<std::int32_t(AbecsPinpad *, char *)> &poll,
                             const std::function<void(const std::string &)> &onNotification) {
    const std::optional<TimePoint> deadline = customerDeadline();
    for (;;) {
        waitForInput(deadline, std::nullopt);
        char notification[ABECS_NOTIFICATION_SIZE] = {};
        std::int32_t status = ABECS_POLL_NO_ANSWER;
        callLibrary(Stage::Command, [&] { status = poll(m_pinpad.get(), notification); });
        if (status == ABECS_RSP_STAT_ST_NOTIFICATION) {
            onNotification(notification);
        } else if (status != ABECS_POLL_NO_ANSWER) {
            requireOk(status);
            return;
        }
    }
}

bool Device::waitForAnswer(const std::function<std::int32_t(AbecsPinpad *)> &poll,
                           std::optional<milliseconds> limit) {
    const std::optional<TimePoint> deadline = customerDeadline();
    const std::optional<TimePoint> end =
        limit ? std::optional(steady_clock::now() + *limit) : std::nullopt;
    while (waitForInput(deadline, end)) {
        std::int32_t result = ABECS_POLL_NO_ANSWER;
        callLibrary(Stage::Command, [&] { result = poll(m_pinpad.get()); });
        if (result == 0) {
            return true;
        }
    }
    return false;
}

void Device::abortCommand() noexcept {
    if (pcl_attempt([&] { abecs_link_abort(m_pinpad.get()); })) {
        abandon();
    }
}

void Device::closeWith(const std::function<AbecsRspStat_e(AbecsPinpad *)> &exchange) {
    AbecsRspStat_e status = ABECS_RSP_STAT_ST_OK;
    callLibrary(Stage::Command, [&] { status = exchange(m_pinpad.get()); });
    callLibrary(Stage::Command, [&] {
        AbecsPinpad *closing = m_pinpad.release();
        abecs_pinpad_destroy(&closing);
    });
    requireOk(status);
}

void Device::close() {
    if (isOpen()) {
        closeWith(
            [&](AbecsPinpad *pinpad) { return abecs_clo(pinpad, m_settings.idleMessage.c_str()); });
    }
}

void Device::abandon() noexcept {
    if (!isOpen()) {
        return;
    }
    const PclException unreachable = pcl_attempt([&] { abecs_link_abort(m_pinpad.get()); });
    if (!unreachable) {
        static_cast<void>(
            pcl_attempt([&] { abecs_clo(m_pinpad.get(), m_settings.idleMessage.c_str()); }));
    }
    m_pinpad.reset();
}

} // namespace cli
