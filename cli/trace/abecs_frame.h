#pragma once

#include "abecs/observer.h"
#include "cli/trace/told.h"

namespace cli {

/// Describes an intact frame of the standard framing. Without `reveal` secrets are masked, and so
/// is the CRC, from which a short secret could be found by trying.
Told tellAbecsFrame(const AbecsLinkEvent &event, bool reveal);

} // namespace cli
