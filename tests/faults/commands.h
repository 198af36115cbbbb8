#pragma once

#include "abecs/pinpad.h"

#include <cstdint>
#include <string>
#include <vector>

namespace faults {

/// One thing that a host does with an open session, and the frames of it that a fault can strike.
struct Command {
    std::string name;
    /// Identifier of the frame that is struck.
    std::string frame;
    /// Runs before the faulty call, undisturbed; may be empty.
    void (*prepare)(AbecsPinpad *);
    /// The call under test; its result when all is well is `good`.
    std::int32_t (*run)(AbecsPinpad *);
    std::int32_t good = 0;
    /// Whether the call sends the frame that is struck, and whether it reads its answer.
    bool sends = true;
    bool receives = true;
    /// Whether a timeout comes back as -1 instead of a failure.
    bool polls = false;
    /// Whether the command begins or ends the secure channel, on which host and device may disagree
    /// when it fails.
    bool changesChannel = false;
};

/// The commands of the ABECS framing, and those of the extension framing.
const std::vector<Command> &commands();
const std::vector<Command> &extensionCommands();

/// Whether the frames of the command are those of the extension framing.
bool isExtension(const Command &command);

/// What the device must have for the commands to succeed.
const char *scenario();

} // namespace faults
