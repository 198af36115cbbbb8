#pragma once

#include "abecs/commands/media.h"

#include <cstdlib>
#include <stdexcept>
#include <string>

#include <unistd.h>

namespace bench {

// A file to be loaded, which is gone when the object is.
class MediaFile {
public:
    explicit MediaFile(std::size_t size) : m_path("/tmp/pinpad-bench-XXXXXX") {
        const int fd = ::mkstemp(m_path.data());
        if (fd < 0 || ::ftruncate(fd, static_cast<off_t>(size)) != 0) {
            throw std::runtime_error("no temporary file");
        }
        ::close(fd);
    }
    ~MediaFile() { ::unlink(m_path.c_str()); }
    MediaFile(const MediaFile &) = delete;
    MediaFile &operator=(const MediaFile &) = delete;

    void load(AbecsPinpad *pinpad) const {
        abecsMediaLoad(pinpad, m_path.c_str(), "BENCH", 0, nullptr, nullptr);
    }

private:
    std::string m_path;
};

} // namespace bench
