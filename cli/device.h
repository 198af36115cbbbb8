#pragma once

#include "abecs/pinpad.h"
#include "abecs/rsp_stat.h"
#include "cli/problem.h"
#include "cli/settings.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace cli {

/// The session with the PIN pad that the commands of one run share. It opens when the first command
/// needs it and again when one needs it after a close.
class Device {
public:
    explicit Device(const Settings &settings) : m_settings(settings) {}
    ~Device();
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

    /// Opens the session unless it is open. Throws LibraryFailure, Refused and Interrupted.
    void open();

    bool isOpen() const { return m_pinpad != nullptr; }

    /// The open session.
    AbecsPinpad *session() const { return m_pinpad.get(); }

    /// Runs a complete exchange on the open session and returns when the PIN pad has answered with
    /// 0. Throws Refused and LibraryFailure.
    void run(const std::function<AbecsRspStat_e(AbecsPinpad *)> &exchange);

    /// Waits for the answer to a command that waits for the customer. `poll` reads one, and
    /// `onNotification` hears of those that come before the last. Throws what run() throws,
    /// CustomerTimeout and Interrupted.
    void waitForCustomer(const std::function<std::int32_t(AbecsPinpad *, char *)> &poll,
                         const std::function<void(const std::string &)> &onNotification);

    /// The same for a command of the extensions, which knows no notifications: `poll` returns 0
    /// when it has read the answer. Returns false when `limit` has passed without one.
    bool waitForAnswer(const std::function<std::int32_t(AbecsPinpad *)> &poll,
                       std::optional<std::chrono::milliseconds> limit = std::nullopt);

    /// Ends the command that waits for the customer and keeps the session; where the PIN pad does
    /// not agree to that, ends the session as abandon() does.
    void abortCommand() noexcept;

    /// Ends the session with a command of the caller's, CLO or CLX, and closes the port.
    void closeWith(const std::function<AbecsRspStat_e(AbecsPinpad *)> &exchange);

    /// Ends the session with the idle message; does nothing when none is open.
    void close();

    /// Ends the session as well as the line still allows, and says nothing of what fails.
    void abandon() noexcept;

private:
    using TimePoint = std::chrono::steady_clock::time_point;

    bool hasAnswer();
    std::optional<TimePoint> customerDeadline() const;
    bool waitForInput(std::optional<TimePoint> customerDeadline, std::optional<TimePoint> limit);

    const Settings &m_settings;
    AbecsPinpadPtr m_pinpad;
};

} // namespace cli
