#pragma once

namespace cli {

/// What the process ends with.
enum class ExitStatus {
    Done = 0,
    Refused = 1,  ///< the PIN pad answered with a status other than 0
    Usage = 2,    ///< the arguments make no sense
    Failure = 3,  ///< the library reported a failure
    Port = 4,     ///< the port is missing, busy or not to be used
    TimedOut = 5, ///< the customer did nothing in time
    Interrupted = 130
};

} // namespace cli
