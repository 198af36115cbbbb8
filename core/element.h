#pragma once

#include "core/platform.h"

#include <cstdint>

/// What a container knows of the elements it holds. It copies them on the way in and deletes its
/// copies on the way out; the caller keeps the originals. A null element is stored as null: copy,
/// delete and equality are never called with one. Hash is, and must accept null where nulls are
/// put into a map as keys or into a set.

/// Equal elements hash equal.
using PclHashFn = std::uint32_t(PCL_CALL *)(const void *element);
using PclEqualsFn = bool(PCL_CALL *)(const void *left, const void *right);
/// Returns an independent copy that the container will delete.
using PclCopyFn = void *(PCL_CALL *)(const void *element);
/// Releases what the copy function made. Must not raise.
using PclDeleteFn = void(PCL_CALL *)(void *element);
