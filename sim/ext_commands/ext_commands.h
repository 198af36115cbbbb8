#pragma once

#include "sim/device.h"
#include "sim/ext_request.h"

#include <string>

namespace sim {

// Executes one extension command: answers it through the device or leaves it waiting there. Throws
// BadField for a body without the command's fields.
using ExtCommandHandler = void (*)(Device &, const ExtRequest &);

struct ExtCommand {
    const char *id;
    ExtCommandHandler run;
    // The answers "done" and "cannot be done", after the identifier.
    const char *done;
    const char *refusal;
    // Whether the answer begins with a status, so that a scenario can put another one there.
    bool has_status;
};

// The extension command of this identifier, or null.
const ExtCommand *find_ext_command(const std::string &id);

namespace ext_commands {
void mf01(Device &device, const ExtRequest &request);
void mf02(Device &device, const ExtRequest &request);
void mf03(Device &device, const ExtRequest &request);
void mf04(Device &device, const ExtRequest &request);
void mf05(Device &device, const ExtRequest &request);
void mf06(Device &device, const ExtRequest &request);
void qr01(Device &device, const ExtRequest &request);
void ex08(Device &device, const ExtRequest &request);
void ex10(Device &device, const ExtRequest &request);
} // namespace ext_commands

} // namespace sim
