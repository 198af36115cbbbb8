#pragma once

#include "core/owned.h"
#include "serial/serial.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

/// The session: one open connection to one PIN pad over one serial port.
///
/// A session belongs to the thread that uses it. The one exception is the abort handshake
/// (abecs_link_abort), which a second thread may run to end a wait; what it touches is atomic.
/// Every operation raises PCL_RESULT_ILLEGAL_ARGUMENT "'pinpad' is NULL" for a null session.

inline constexpr std::size_t ABECS_SESSION_KEY_SIZE = 16;
inline constexpr std::size_t ABECS_PENDING_ID_LENGTH = 3;
inline constexpr std::size_t ABECS_PENDING_ID_MAX_LENGTH = 4;

/// The identifier of the command whose response is awaited; empty when there is none.
struct AbecsPendingId {
    char text[ABECS_PENDING_ID_MAX_LENGTH + 1];
};

/// What the last exchange left of the line.
enum AbecsLineState_e : std::uint8_t {
    ABECS_LINE_HEALTHY,  ///< what waits there is the answer to the next command
    ABECS_LINE_BUSY,     ///< an exchange is under way, or its answer was not understood
    ABECS_LINE_DISTURBED ///< it failed: what waits there, or comes before the next one, is late
};

struct AbecsPinpad {
    PclSerialPort *port = nullptr;
    std::array<std::uint8_t, ABECS_SESSION_KEY_SIZE> sessionKey{};
    std::uint8_t secure = 0;
    /// The four characters of the pending identifier, first one in the low byte.
    std::atomic<std::uint32_t> pendingCmdId{0};
    std::atomic<AbecsLineState_e> lineState{ABECS_LINE_HEALTHY};
    std::uint64_t minInterval = 0;
    std::uint64_t lastCommandTime = 0; ///< of pcl_monotonic_millis
};

/// Purges and closes the port, wipes the key, frees the session and clears the caller's variable. A
/// failure of the port is raised when all that is done. Null is ignored.
void abecs_pinpad_destroy(AbecsPinpad **pinpad);

using AbecsPinpadPtr = PclOwned<AbecsPinpad, abecs_pinpad_destroy>;

/// Installs the 16-byte key and switches the secure channel on; null wipes the key and switches it
/// off. A null session raises "pinpad is NULL".
void abecs_pinpad_set_session_key(AbecsPinpad *pinpad, const std::uint8_t *key);

/// The least time, in milliseconds, between the acknowledgement of one command and the next one;
/// 0, the initial value, disables it.
void abecs_pinpad_set_min_interval(AbecsPinpad *pinpad, std::uint64_t milliseconds);
std::uint64_t abecs_pinpad_get_min_interval(AbecsPinpad *pinpad);

/// Tells that the exchange under way has come to a good end: a command acknowledged, an answer
/// understood.
void abecs_pinpad_settle(AbecsPinpad *pinpad);

/// Raises PCL_RESULT_ILLEGAL_STATE "Connection is blocked waiting for %s response" while a command
/// is pending. Returns true when none is.
bool abecs_pinpad_check_not_blocked(AbecsPinpad *pinpad);

/// Marks a non-blocking command, named by exactly 3 characters, as started.
void abecs_pinpad_set_pending(AbecsPinpad *pinpad, const char *cmdId);
void abecs_pinpad_clear_pending(AbecsPinpad *pinpad);
AbecsPendingId abecs_pinpad_get_pending(AbecsPinpad *pinpad);

/// Raises PCL_RESULT_ILLEGAL_STATE "%s was not sent yet" unless this very command is pending.
void abecs_pinpad_require_pending(AbecsPinpad *pinpad, const char *cmdId);

/// Stores an identifier of at most 4 characters without checking it.
void abecs_pinpad_store_pending(AbecsPinpad *pinpad, const char *cmdId);

/// Sleeps until the minimal interval since the last command has passed.
void abecs_pinpad_pace(AbecsPinpad *pinpad);

/// Takes the current time as the time of the last command.
void abecs_pinpad_mark_command_time(AbecsPinpad *pinpad);
