#pragma once

#include <cstddef>
#include <cstdint>

/// A first-in first-out ring of bytes of fixed capacity. It never grows: a write that does not fit
/// fails and changes nothing, and so does a typed read of more than is there.
///
/// Where an operation checks the buffer, a null one raises PCL_RESULT_ILLEGAL_ARGUMENT
/// "buffer is NULL". Should the handler return, counts and values are 0 and pointers null.
/// `littleEndian` flags: 0 puts the high byte first (network order), anything else the low one.
struct PclBuffer {
    std::uint8_t *storage;    ///< null only when the capacity is 0
    std::uint8_t ownsStorage; ///< 0 when the storage is the caller's
    std::uint32_t capacity;
    std::uint32_t writeIndex;
    std::uint32_t readIndex;
    std::uint8_t empty; ///< tells empty (1) from full (0) when both indices are equal
};

/// A position in a buffer, to be marked and returned to.
struct PclBufferState {
    std::uint32_t writeIndex;
    std::uint32_t readIndex;
    std::uint8_t empty;
};

/// A new, empty buffer, to be released with pcl_buffer_destroy. Raises PCL_RESULT_MALLOC_ERROR.
PclBuffer *pcl_buffer_create(std::uint32_t capacity);

/// Makes the buffer use the caller's array, which it never frees and which must outlive it. With
/// `full` the whole array counts as content, else the buffer starts empty. Checks the buffer, then
/// raises PCL_RESULT_ILLEGAL_ARGUMENT "storage is NULL and sizeStorage != 0" and
/// "storage is not NULL but sizeStorage == 0".
void pcl_buffer_set_storage(PclBuffer *buffer, void *storage, std::uint32_t sizeStorage,
                            std::uint8_t full);

/// Releases the buffer and sets the caller's variable to null. Null is ignored on both levels.
void pcl_buffer_destroy(PclBuffer **buffer);

/// Each of these checks the buffer.
std::uint8_t *pcl_buffer_data(const PclBuffer *buffer);
std::uint32_t pcl_buffer_capacity(const PclBuffer *buffer);
/// How many bytes can be read.
std::uint32_t pcl_buffer_available(const PclBuffer *buffer);
/// How many bytes can be written.
std::uint32_t pcl_buffer_free_space(const PclBuffer *buffer);
/// Forgets the content without wiping it.
void pcl_buffer_clear(PclBuffer *buffer);
PclBufferState pcl_buffer_get_state(const PclBuffer *buffer);
void pcl_buffer_set_state(PclBuffer *buffer, PclBufferState state);

/// Plain field access without checks; the setters return the buffer.
std::uint32_t pcl_buffer_get_read_index(const PclBuffer *buffer);
PclBuffer *pcl_buffer_set_read_index(PclBuffer *buffer, std::uint32_t index);
std::uint32_t pcl_buffer_get_write_index(const PclBuffer *buffer);
PclBuffer *pcl_buffer_set_write_index(PclBuffer *buffer, std::uint32_t index);
std::uint8_t pcl_buffer_is_empty_flag(const PclBuffer *buffer);
PclBuffer *pcl_buffer_set_empty_flag(PclBuffer *buffer, std::uint8_t empty);

/// Consumes up to `count` bytes and returns how many; a null destination discards them. Checks the
/// buffer; a shortage is no failure.
std::uint32_t pcl_buffer_read(PclBuffer *buffer, void *destination, std::size_t count);

/// Each of these checks the buffer and raises PCL_RESULT_IO_ERROR
/// "No enough space in buffer (available: %d, requested: %d)".
std::uint8_t pcl_buffer_read_byte(PclBuffer *buffer);
std::uint16_t pcl_buffer_read_u16(PclBuffer *buffer, std::uint8_t littleEndian);
std::int16_t pcl_buffer_read_i16(PclBuffer *buffer, std::uint8_t littleEndian);
std::uint32_t pcl_buffer_read_u32(PclBuffer *buffer, std::uint8_t littleEndian);
std::int32_t pcl_buffer_read_i32(PclBuffer *buffer, std::uint8_t littleEndian);

/// Consumes a text and its NUL. The destination receives at most maxLen - 1 characters and a NUL;
/// it needs room for one byte even when maxLen is 0. Returns the destination. Checks the buffer;
/// raises PCL_RESULT_ILLEGAL_ARGUMENT "destination is NULL" and PCL_RESULT_IO_ERROR
/// "Null-terminator not found", the bytes read so far staying consumed.
char *pcl_buffer_read_string(PclBuffer *buffer, char *destination, std::size_t maxLen);

/// Each of these checks the buffer and raises PCL_RESULT_IO_ERROR
/// "No enough space in buffer (available: %zu, requested: %zu)" before anything is written.
/// A count of 0 does nothing; a null source of more raises PCL_RESULT_ILLEGAL_ARGUMENT
/// "source is NULL".
void pcl_buffer_write(PclBuffer *buffer, const void *source, std::size_t count);
void pcl_buffer_write_byte(PclBuffer *buffer, std::uint8_t byte);
void pcl_buffer_write_u16(PclBuffer *buffer, std::uint16_t value, std::uint8_t littleEndian);
void pcl_buffer_write_i16(PclBuffer *buffer, std::int16_t value, std::uint8_t littleEndian);
void pcl_buffer_write_u32(PclBuffer *buffer, std::uint32_t value, std::uint8_t littleEndian);
void pcl_buffer_write_i32(PclBuffer *buffer, std::int32_t value, std::uint8_t littleEndian);

/// Writes the text, and its NUL too when the flag is set. A null text raises
/// PCL_RESULT_ILLEGAL_ARGUMENT "text is NULL".
void pcl_buffer_write_string(PclBuffer *buffer, const char *text, std::uint8_t includeTerminator);
