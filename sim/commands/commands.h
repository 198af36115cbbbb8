#pragma once

#include "sim/device.h"
#include "sim/packet.h"

#include <string>

namespace sim {

// Executes one command: answers it through the device, leaves it waiting there, or throws Refusal
// with the status to answer with.
using CommandHandler = void (*)(Device &, const Request &);

struct Command {
    const char *id;
    CommandHandler run;
    // Its acknowledgement ends the session, whatever the answer says.
    bool ends_session = false;
};

// The command of this identifier, or null.
const Command *find_command(const std::string &id);

namespace commands {

// Parameters that several commands take.
namespace param_id {
constexpr std::uint16_t time_limit = 12;
constexpr std::uint16_t media_name = 30;
} // namespace param_id

void opn(Device &device, const Request &request);
void clo(Device &device, const Request &request);
void clx(Device &device, const Request &request);
void gcd(Device &device, const Request &request);
void cex(Device &device, const Request &request);
void dex(Device &device, const Request &request);
void dsi(Device &device, const Request &request);
void dmf(Device &device, const Request &request);
void lmf(Device &device, const Request &request);
void mli(Device &device, const Request &request);
void mlr(Device &device, const Request &request);
void mle(Device &device, const Request &request);

} // namespace commands

} // namespace sim
