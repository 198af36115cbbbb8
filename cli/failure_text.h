#pragma once

#include "cli/exit_status.h"
#include "cli/problem.h"

#include <string>

namespace cli {

/// What to tell somebody about a failure of the library: what happened and what to do next.
struct FailureText {
    ExitStatus exit;
    std::string text;
};

FailureText explainFailure(const LibraryFailure &failure, const std::string &port);

/// The message without the name of the code in front, and without the key that it may hold.
std::string failureDetail(const LibraryFailure &failure);

} // namespace cli
