#pragma once

#include "abecs/rsp_stat.h"
#include "cli/exit_status.h"
#include "core/guard.h"

#include <stdexcept>
#include <string>

/// Why a command ended early. These are C++ exceptions of the tool, thrown only where no frame of
/// the library is open, with the exception of Interrupted, which may pass through one.

namespace cli {

/// The arguments make no sense.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The PIN pad answered, and not with 0.
struct Refused {
    AbecsRspStat_e status;
};

/// The PIN pad ended a MIFARE command with a status other than that for done.
struct CardRefused {
    std::string command;
    std::string status; ///< two characters, as sent
};

/// What the tool was doing when the library failed.
enum class Stage { Opening, Command };

/// The library raised a failure.
struct LibraryFailure {
    PclResult_e code;
    std::string message; ///< as raised, with the name of the code in front
    Stage stage;
};

/// --timeout passed while the customer was to do something.
struct CustomerTimeout {};

/// The time of a survey passed, and it was stopped in the PIN pad, too.
struct SurveyStopped {};

/// Ctrl-C.
struct Interrupted {};

/// Runs a body that calls the library and turns the failure it raises into a LibraryFailure.
template <typename Body>
void callLibrary(Stage stage, Body &&body) {
    const PclException failure = pcl_attempt(std::forward<Body>(body));
    if (failure) {
        throw LibraryFailure{failure.code, failure.message, stage};
    }
}

} // namespace cli
