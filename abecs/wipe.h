#pragma once

#include "core/buffer.h"
#include "core/memory.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// Overwrites the whole storage of a buffer that is about to be released; null is ignored.
inline void abecs_wipe_buffer(PclBuffer *buffer) {
    if (buffer != nullptr) {
        pcl_wipe(pcl_buffer_data(buffer), pcl_buffer_capacity(buffer));
    }
}

/// A byte array that is wiped when it goes out of scope.
template <std::size_t Size>
struct AbecsSecretBytes {
    std::array<std::uint8_t, Size> bytes{};

    AbecsSecretBytes() = default;
    AbecsSecretBytes(const AbecsSecretBytes &) = delete;
    AbecsSecretBytes &operator=(const AbecsSecretBytes &) = delete;
    ~AbecsSecretBytes() { pcl_wipe(bytes.data(), bytes.size()); }

    std::uint8_t *data() { return bytes.data(); }
    static constexpr std::size_t size() { return Size; }
};
