#pragma once

#include "sim/simulator.h"

#include <string>
#include <vector>

/// The identifiers of the commands that the device has taken.
inline std::vector<std::string> commandsOf(const sim::Simulator &device) {
    std::vector<std::string> ids;
    for (const sim::Bytes &body : device.commands()) {
        ids.emplace_back(body.begin(), body.begin() + 3);
    }
    return ids;
}
