#pragma once

#include "core/buffer.h"
#include "core/memory.h"

/// Overwrites the whole storage of a buffer that is about to be released; null is ignored.
inline void abecs_wipe_buffer(PclBuffer *buffer) {
    if (buffer != nullptr) {
        pcl_wipe(pcl_buffer_data(buffer), pcl_buffer_capacity(buffer));
    }
}
