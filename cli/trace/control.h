#pragma once

#include "abecs/observer.h"
#include "cli/trace/told.h"

namespace cli {

/// Tells of a byte outside a frame. A printable one in the place of a control byte may be a stray
/// piece of a secret and is masked without `reveal`.
Told tellByte(const AbecsLinkEvent &event, bool reveal);

} // namespace cli
