#include "abecs/commands/media_file.h"

#include "abecs/crc16.h"
#include "core/exception.h"
#include "core/file.h"
#include "core/guard.h"
#include "core/owned.h"

#include <array>
#include <cerrno>

namespace {

using FilePtr = PclOwned<std::FILE, abecsFileClose>;

} // namespace

std::FILE *abecsFileOpenRead(const char *path) {
    return pcl_guarded<std::FILE *>(nullptr, [&]() -> std::FILE * {
        if (pcl_file_is_regular(path) == 0) {
            pcl_raise(PCL_RESULT_IO_ERROR, "%s does not point to a file", path);
            return nullptr;
        }
        std::FILE *file = std::fopen(path, "rb");
        if (file == nullptr) {
            pcl_raise(PCL_RESULT_IO_ERROR, "fopen() error: %d", errno);
        }
        return file;
    });
}

std::size_t abecsFileRead(std::FILE *file, void *to, std::size_t count) {
    const std::size_t read = std::fread(to, 1, count, file);
    if (read < count && std::feof(file) == 0) {
        pcl_raise(PCL_RESULT_IO_ERROR, "fread() error: %d", std::ferror(file));
    }
    return read;
}

void abecsFileClose(std::FILE **file) {
    if (file == nullptr || *file == nullptr) {
        return;
    }
    std::FILE *closing = *file;
    *file = nullptr;
    if (std::fclose(closing) != 0) {
        pcl_raise(PCL_RESULT_IO_ERROR, "fclose() error: %d", errno);
    }
}

void abecsFileSeek(std::FILE *file, long offset, int origin) {
    if (std::fseek(file, offset, origin) != 0) {
        pcl_raise(PCL_RESULT_IO_ERROR, "fseek() error: %d", std::ferror(file));
    }
}

std::uint16_t abecsFileCrc16(std::FILE *file) {
    return pcl_guarded<std::uint16_t>(0, [&] {
        constexpr std::size_t CHUNK = 512;
        std::array<std::uint8_t, CHUNK> chunk;
        std::uint16_t crc = 0;
        abecsFileSeek(file, 0, SEEK_SET);
        std::size_t read = 0;
        do {
            read = abecsFileRead(file, chunk.data(), chunk.size());
            abecs_crc16_update(chunk.data(), read, &crc);
        } while (read == chunk.size());
        abecsFileSeek(file, 0, SEEK_SET);
        return crc;
    });
}

std::uint16_t abecsFileCrc16ByPath(const char *path) {
    return pcl_guarded<std::uint16_t>(0, [&] {
        FilePtr file(abecsFileOpenRead(path));
        const std::uint16_t crc = abecsFileCrc16(file.get());
        std::FILE *closing = file.release();
        abecsFileClose(&closing);
        return crc;
    });
}

void abecsMediaFileOpen(AbecsMediaFile *out, const char *path) {
    pcl_guarded([&] {
        FilePtr file(abecsFileOpenRead(path));
        const std::uint64_t size = pcl_file_size(path);
        if (size > ABECS_MEDIA_MAX_SIZE) {
            pcl_raise(PCL_RESULT_IO_ERROR, "File (%s) is too big (max: %u, req: %llu)", path,
                      static_cast<unsigned>(ABECS_MEDIA_MAX_SIZE),
                      static_cast<unsigned long long>(size));
            return;
        }
        out->size = size;
        out->crc = abecsFileCrc16(file.get());
        out->file = file.release();
    });
}
