#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace cli {

/// The options that every command takes. Texts are as typed.
struct Settings {
    std::string port;
    bool secure = false;
    std::string idleMessage; ///< in the PIN pad's single bytes
    std::optional<std::chrono::milliseconds> timeout;
    bool json = false;
    bool simulate = false;
    std::string scenario; ///< file of the simulated PIN pad; empty for the built-in customer
    bool trace = false;
    std::string traceFile; ///< empty for standard error
    bool tracePlain = false;
    bool traceSecrets = false;
};

} // namespace cli
