#include "core/buffer.h"

#include "core/byteorder.h"
#include "core/guard.h"
#include "core/memory.h"
#include "core/owned.h"

#include <algorithm>
#include <cstring>

namespace {

bool isGiven(const PclBuffer *buffer) {
    if (buffer == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "buffer is NULL");
        return false;
    }
    return true;
}

std::uint32_t readable(const PclBuffer &buffer) {
    if (buffer.writeIndex < buffer.readIndex) {
        return buffer.writeIndex + (buffer.capacity - buffer.readIndex);
    }
    if (buffer.writeIndex > buffer.readIndex) {
        return buffer.writeIndex - buffer.readIndex;
    }
    return buffer.empty != 0 ? 0 : buffer.capacity;
}

std::uint32_t writable(const PclBuffer &buffer) {
    return buffer.capacity - readable(buffer);
}

void reset(PclBuffer &buffer, std::uint8_t empty) {
    buffer.writeIndex = 0;
    buffer.readIndex = 0;
    buffer.empty = empty;
}

void freeStorage(PclBuffer &buffer) {
    if (buffer.ownsStorage != 0) {
        pcl_free(buffer.storage);
    }
}

// Where the index stands after `count` bytes, which are at most the capacity.
std::uint32_t advanced(std::uint32_t index, std::uint32_t count, std::uint32_t capacity) {
    const std::uint32_t untilEnd = capacity - index;
    return count < untilEnd ? index + count : count - untilEnd;
}

// `count` is above 0 and at most what is readable.
void take(PclBuffer &buffer, void *destination, std::uint32_t count) {
    if (destination != nullptr) {
        const std::uint32_t first = std::min(count, buffer.capacity - buffer.readIndex);
        std::memcpy(destination, buffer.storage + buffer.readIndex, first);
        std::memcpy(static_cast<std::uint8_t *>(destination) + first, buffer.storage,
                    count - first);
    }
    buffer.readIndex = advanced(buffer.readIndex, count, buffer.capacity);
    buffer.empty = 1;
}

// `count` is above 0 and at most what is writable.
void put(PclBuffer &buffer, const void *source, std::uint32_t count) {
    const std::uint32_t first = std::min(count, buffer.capacity - buffer.writeIndex);
    std::memcpy(buffer.storage + buffer.writeIndex, source, first);
    std::memcpy(buffer.storage, static_cast<const std::uint8_t *>(source) + first, count - first);
    buffer.writeIndex = advanced(buffer.writeIndex, count, buffer.capacity);
    buffer.empty = 0;
}

std::uint8_t takeByte(PclBuffer &buffer) {
    const std::uint8_t byte = buffer.storage[buffer.readIndex];
    buffer.readIndex = advanced(buffer.readIndex, 1, buffer.capacity);
    buffer.empty = 1;
    return byte;
}

bool hasContent(const PclBuffer *buffer, std::uint32_t requested) {
    if (!isGiven(buffer)) {
        return false;
    }
    const std::uint32_t available = readable(*buffer);
    if (available < requested) {
        pcl_raise(PCL_RESULT_IO_ERROR, "No enough space in buffer (available: %d, requested: %d)",
                  static_cast<int>(available), static_cast<int>(requested));
        return false;
    }
    return true;
}

bool hasSpace(const PclBuffer *buffer, std::size_t requested) {
    if (!isGiven(buffer)) {
        return false;
    }
    const std::size_t space = writable(*buffer);
    if (requested > space) {
        pcl_raise(PCL_RESULT_IO_ERROR, "No enough space in buffer (available: %zu, requested: %zu)",
                  space, requested);
        return false;
    }
    return true;
}

// The next bytes as they are stored, or 0 after raising.
template <typename Value>
Value readValue(PclBuffer *buffer) {
    if (!hasContent(buffer, sizeof(Value))) {
        return 0;
    }
    Value value;
    take(*buffer, &value, sizeof value);
    return value;
}

} // namespace

PclBuffer *pcl_buffer_create(std::uint32_t capacity) {
    return pcl_guarded<PclBuffer *>(nullptr, [&] {
        PclOwned<PclBuffer, pcl_buffer_destroy> buffer(
            static_cast<PclBuffer *>(pcl_malloc(sizeof(PclBuffer), 0)));
        *buffer = {};
        buffer->ownsStorage = 1;
        buffer->capacity = capacity;
        buffer->empty = 1;
        if (capacity != 0) {
            buffer->storage = static_cast<std::uint8_t *>(pcl_malloc(capacity, 0));
        }
        return buffer.release();
    });
}

void pcl_buffer_set_storage(PclBuffer *buffer, void *storage, std::uint32_t sizeStorage,
                            std::uint8_t full) {
    if (!isGiven(buffer)) {
        return;
    }
    if (storage == nullptr && sizeStorage != 0) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "storage is NULL and sizeStorage != 0");
        return;
    }
    if (storage != nullptr && sizeStorage == 0) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "storage is not NULL but sizeStorage == 0");
        return;
    }
    freeStorage(*buffer);
    buffer->storage = static_cast<std::uint8_t *>(storage);
    buffer->ownsStorage = 0;
    buffer->capacity = sizeStorage;
    reset(*buffer, full != 0 ? 0 : 1);
}

void pcl_buffer_destroy(PclBuffer **buffer) {
    if (buffer == nullptr || *buffer == nullptr) {
        return;
    }
    freeStorage(**buffer);
    pcl_free(*buffer);
    *buffer = nullptr;
}

std::uint8_t *pcl_buffer_data(const PclBuffer *buffer) {
    return isGiven(buffer) ? buffer->storage : nullptr;
}

std::uint32_t pcl_buffer_capacity(const PclBuffer *buffer) {
    return isGiven(buffer) ? buffer->capacity : 0;
}

std::uint32_t pcl_buffer_available(const PclBuffer *buffer) {
    return isGiven(buffer) ? readable(*buffer) : 0;
}

std::uint32_t pcl_buffer_free_space(const PclBuffer *buffer) {
    return isGiven(buffer) ? writable(*buffer) : 0;
}

void pcl_buffer_clear(PclBuffer *buffer) {
    if (isGiven(buffer)) {
        reset(*buffer, 1);
    }
}

PclBufferState pcl_buffer_get_state(const PclBuffer *buffer) {
    if (!isGiven(buffer)) {
        return {};
    }
    return {buffer->writeIndex, buffer->readIndex, buffer->empty};
}

void pcl_buffer_set_state(PclBuffer *buffer, PclBufferState state) {
    if (isGiven(buffer)) {
        buffer->writeIndex = state.writeIndex;
        buffer->readIndex = state.readIndex;
        buffer->empty = state.empty;
    }
}

std::uint32_t pcl_buffer_get_read_index(const PclBuffer *buffer) {
    return buffer->readIndex;
}

PclBuffer *pcl_buffer_set_read_index(PclBuffer *buffer, std::uint32_t index) {
    buffer->readIndex = index;
    return buffer;
}

std::uint32_t pcl_buffer_get_write_index(const PclBuffer *buffer) {
    return buffer->writeIndex;
}

PclBuffer *pcl_buffer_set_write_index(PclBuffer *buffer, std::uint32_t index) {
    buffer->writeIndex = index;
    return buffer;
}

std::uint8_t pcl_buffer_is_empty_flag(const PclBuffer *buffer) {
    return buffer->empty;
}

PclBuffer *pcl_buffer_set_empty_flag(PclBuffer *buffer, std::uint8_t empty) {
    buffer->empty = empty;
    return buffer;
}

std::uint32_t pcl_buffer_read(PclBuffer *buffer, void *destination, std::size_t count) {
    if (!isGiven(buffer)) {
        return 0;
    }
    const std::uint32_t available = readable(*buffer);
    const auto taken = count < available ? static_cast<std::uint32_t>(count) : available;
    if (taken != 0) {
        take(*buffer, destination, taken);
    }
    return taken;
}

std::uint8_t pcl_buffer_read_byte(PclBuffer *buffer) {
    return hasContent(buffer, 1) ? takeByte(*buffer) : std::uint8_t{0};
}

std::uint16_t pcl_buffer_read_u16(PclBuffer *buffer, std::uint8_t littleEndian) {
    const auto stored = readValue<std::uint16_t>(buffer);
    return littleEndian != 0 ? pcl_le16toh(stored) : pcl_be16toh(stored);
}

std::int16_t pcl_buffer_read_i16(PclBuffer *buffer, std::uint8_t littleEndian) {
    return static_cast<std::int16_t>(pcl_buffer_read_u16(buffer, littleEndian));
}

std::uint32_t pcl_buffer_read_u32(PclBuffer *buffer, std::uint8_t littleEndian) {
    const auto stored = readValue<std::uint32_t>(buffer);
    return littleEndian != 0 ? pcl_le32toh(stored) : pcl_be32toh(stored);
}

std::int32_t pcl_buffer_read_i32(PclBuffer *buffer, std::uint8_t littleEndian) {
    return static_cast<std::int32_t>(pcl_buffer_read_u32(buffer, littleEndian));
}

char *pcl_buffer_read_string(PclBuffer *buffer, char *destination, std::size_t maxLen) {
    if (!isGiven(buffer)) {
        return nullptr;
    }
    if (destination == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "destination is NULL");
        return nullptr;
    }
    // What does not fit overwrites the last slot, where the NUL finally lands.
    std::size_t slot = 0;
    for (std::uint32_t left = readable(*buffer); left != 0; --left) {
        destination[slot] = static_cast<char>(takeByte(*buffer));
        if (destination[slot] == '\0') {
            return destination;
        }
        if (slot + 1 < maxLen) {
            ++slot;
        }
    }
    pcl_raise(PCL_RESULT_IO_ERROR, "Null-terminator not found");
    return nullptr;
}

void pcl_buffer_write(PclBuffer *buffer, const void *source, std::size_t count) {
    if (!isGiven(buffer) || count == 0) {
        return;
    }
    if (source == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "source is NULL");
        return;
    }
    if (hasSpace(buffer, count)) {
        put(*buffer, source, static_cast<std::uint32_t>(count));
    }
}

void pcl_buffer_write_byte(PclBuffer *buffer, std::uint8_t byte) {
    if (hasSpace(buffer, 1)) {
        buffer->storage[buffer->writeIndex] = byte;
        buffer->writeIndex = advanced(buffer->writeIndex, 1, buffer->capacity);
        buffer->empty = 0;
    }
}

void pcl_buffer_write_u16(PclBuffer *buffer, std::uint16_t value, std::uint8_t littleEndian) {
    const std::uint16_t stored = littleEndian != 0 ? pcl_htole16(value) : pcl_htobe16(value);
    pcl_buffer_write(buffer, &stored, sizeof stored);
}

void pcl_buffer_write_i16(PclBuffer *buffer, std::int16_t value, std::uint8_t littleEndian) {
    pcl_buffer_write_u16(buffer, static_cast<std::uint16_t>(value), littleEndian);
}

void pcl_buffer_write_u32(PclBuffer *buffer, std::uint32_t value, std::uint8_t littleEndian) {
    const std::uint32_t stored = littleEndian != 0 ? pcl_htole32(value) : pcl_htobe32(value);
    pcl_buffer_write(buffer, &stored, sizeof stored);
}

void pcl_buffer_write_i32(PclBuffer *buffer, std::int32_t value, std::uint8_t littleEndian) {
    pcl_buffer_write_u32(buffer, static_cast<std::uint32_t>(value), littleEndian);
}

void pcl_buffer_write_string(PclBuffer *buffer, const char *text, std::uint8_t includeTerminator) {
    if (!isGiven(buffer)) {
        return;
    }
    if (text == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "text is NULL");
        return;
    }
    pcl_buffer_write(buffer, text, std::strlen(text) + (includeTerminator != 0 ? 1U : 0U));
}
