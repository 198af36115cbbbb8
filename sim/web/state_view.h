#pragma once

#include "sim/scenario.h"
#include "sim/snapshot.h"

#include <string>
#include <vector>

namespace sim::web {

// What the page shows of the device, as a JSON object of the type `state`. The scenario tells the
// size of the display and the cards that can be swiped.
std::string state_message(const Snapshot &state, const Scenario &scenario, const std::string &port,
                          const std::vector<std::string> &armed);

// The path under which the content of a file of the store is served. It changes with the content.
std::string media_path(const MediaFile &file);

// The file that is served under this path, or null.
const MediaFile *find_media_of_path(const Snapshot &state, const std::string &path);

// The media type of a file by its first bytes; application/octet-stream for what is no image.
const char *media_type_of(const MediaFile &file);

} // namespace sim::web
