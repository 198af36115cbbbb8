// Failures of the file of a media load, as the system reports them.

#include "abecs/commands/media_file.h"
#include "tests/support/failures.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

enum class Broken { Read, Seek, Close };

ssize_t read(void *cookie, char *, std::size_t) {
    if (*static_cast<Broken *>(cookie) != Broken::Read) {
        return 0;
    }
    errno = EIO;
    return -1;
}

int seek(void *cookie, off64_t *, int) {
    return *static_cast<Broken *>(cookie) == Broken::Seek ? -1 : 0;
}

int close(void *cookie) {
    if (*static_cast<Broken *>(cookie) != Broken::Close) {
        return 0;
    }
    errno = EIO;
    return -1;
}

// A file that works but for one thing.
std::FILE *fileWith(Broken &broken) {
    return fopencookie(&broken, "r", {read, nullptr, seek, close});
}

TEST(MediaFileFailure, OfReading) {
    Broken broken = Broken::Read;
    std::FILE *file = fileWith(broken);
    ASSERT_NE(nullptr, file);
    char byte = 'x';
    EXPECT_FAILURE(abecsFileRead(file, &byte, 1), PCL_RESULT_IO_ERROR, "fread() error: 1");
    EXPECT_EQ('x', byte);
    EXPECT_FAILURE(abecsFileCrc16(file), PCL_RESULT_IO_ERROR, "fread() error: 1");
    EXPECT_NO_FAILURE(abecsFileClose(&file));
}

TEST(MediaFileFailure, OfSeeking) {
    Broken broken = Broken::Seek;
    std::FILE *file = fileWith(broken);
    ASSERT_NE(nullptr, file);
    EXPECT_FAILURE(abecsFileSeek(file, 4, SEEK_SET), PCL_RESULT_IO_ERROR, "fseek() error: 0");
    EXPECT_NO_FAILURE(abecsFileClose(&file));
}

TEST(MediaFileFailure, OfClosingLeavesNoFile) {
    Broken broken = Broken::Close;
    std::FILE *file = fileWith(broken);
    ASSERT_NE(nullptr, file);
    EXPECT_FAILURE(abecsFileClose(&file), PCL_RESULT_IO_ERROR, "fclose() error: 5");
    EXPECT_EQ(nullptr, file);
}

TEST(MediaFileFailure, OfOpeningWhenTheProcessHasTooManyFiles) {
    char path[] = "/tmp/pinpad_media_file_XXXXXX";
    const int fd = mkstemp(path);
    ASSERT_GE(fd, 0);
    rlimit before{};
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &before));
    const rlimit none{0, before.rlim_max};
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &none));
    EXPECT_FAILURE(abecsFileOpenRead(path), PCL_RESULT_IO_ERROR, "fopen() error: 24");
    EXPECT_EQ(0, setrlimit(RLIMIT_NOFILE, &before));
    EXPECT_EQ(0, ::close(fd));
    EXPECT_EQ(0, unlink(path));
}

} // namespace
