#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

/// Reading a local file to be loaded into the PIN pad. Faults of the file system raise
/// PCL_RESULT_IO_ERROR unless said otherwise.

/// The largest size that a load can announce.
inline constexpr std::uint64_t ABECS_MEDIA_MAX_SIZE = 4294967295U;

/// A file that is open for loading.
struct AbecsMediaFile {
    std::FILE *file;
    std::uint64_t size;
    std::uint16_t crc;
};

/// Opens a regular file. PCL_RESULT_ILLEGAL_ARGUMENT "'path' is NULL", PCL_RESULT_FILE_NOT_FOUND
/// "File not found: %s", "stat() error: %d", "%s does not point to a file", "fopen() error: %d".
/// Close it with abecsFileClose.
std::FILE *abecsFileOpenRead(const char *path);

/// Reads up to `count` bytes and returns how many: fewer only at the end. "fread() error: %d".
std::size_t abecsFileRead(std::FILE *file, void *to, std::size_t count);

/// Closes and sets the caller's variable to null; null is ignored. "fclose() error: %d".
void abecsFileClose(std::FILE **file);

/// "fseek() error: %d".
void abecsFileSeek(std::FILE *file, long offset, int origin);

/// The CRC-16 of the whole file, which stands at its beginning afterwards.
std::uint16_t abecsFileCrc16(std::FILE *file);
std::uint16_t abecsFileCrc16ByPath(const char *path);

/// Opens a file and takes its size and CRC. "File (%s) is too big (max: %u, req: %llu)" from 4 GiB
/// on. Close `out->file` with abecsFileClose.
void abecsMediaFileOpen(AbecsMediaFile *out, const char *path);
