#pragma once

#include "abecs/pinpad.h"
#include "abecs/rsp_stat.h"

#include <cstdint>

/// The one session of the process, which the exports work on.
///
/// All but pinpad_session_abort belong to the host's calling thread. The abort pins the session
/// while it runs, so that a session which is closed meanwhile goes away with the last user.

/// Creates a session on the port, makes it the global one, releases the earlier one, and opens it;
/// it stays the global one when that fails. A global session whose own opening failed, or whose
/// line is gone, is released first. Raises PCL_RESULT_ILLEGAL_STATE "Open was aborted" when an
/// abort ended the creation.
AbecsRspStat_e pinpad_session_open(const char *portName, std::uint8_t secureFlag);

/// The global session, null when there is none.
AbecsPinpad *pinpad_session();

/// Destroys the global session and sets it to none.
void pinpad_session_drop();

/// Sets the abort flag, and ends the creation of a session that is under way or else runs the abort
/// handshake on the global one. May be called from any thread.
void pinpad_session_abort();

/// 1 once an abort has been asked for. Nothing clears it.
std::uint8_t pinpad_session_abort_flag();
