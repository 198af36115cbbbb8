#pragma once

#include "abecs/observer.h"
#include "cli/trace/told.h"

namespace cli {

/// Tells of an intact frame of the extension framing. Without `reveal` secrets are masked, and with
/// them the check byte, which gives away a byte of them.
Told tellExtensionFrame(const AbecsLinkEvent &event, bool reveal);

} // namespace cli
