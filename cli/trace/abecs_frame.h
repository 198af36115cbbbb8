#pragma once

#include "abecs/observer.h"
#include "cli/trace/told.h"

namespace cli {

/// Tells of an intact frame of the standard framing. Without `reveal` secrets are masked, and with
/// them the CRC of the frame, from which a short secret could be found by trying.
Told tellAbecsFrame(const AbecsLinkEvent &event, bool reveal);

} // namespace cli
