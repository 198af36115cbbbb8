#pragma once

#include "abecs/observer.h"
#include "cli/trace/told.h"

namespace cli {

/// Describes an intact frame of the extension framing. Without `reveal` secrets are masked, and so
/// is the check byte, which would give away a byte of them.
Told tellExtensionFrame(const AbecsLinkEvent &event, bool reveal);

} // namespace cli
