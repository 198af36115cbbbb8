#pragma once

#include "abecs/observer.h"
#include "cli/trace/told.h"

namespace cli {

/// Describes a byte outside a frame. A printable one may be a stray piece of a secret and is masked
/// without `reveal`.
Told tellByte(const AbecsLinkEvent &event, bool reveal);

} // namespace cli
