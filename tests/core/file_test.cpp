#include "core/file.h"

#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

class File : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "pinpad-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_folder = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(m_folder); }

    std::string path(const char *name) const { return (m_folder / name).string(); }

    std::string write(const char *name, const std::string &content) const {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }

    std::filesystem::path m_folder;
};

} // namespace

TEST_F(File, OnlyARegularFileIsRegular) {
    EXPECT_EQ(pcl_file_is_regular(write("file", "abc").c_str()), 1);
    EXPECT_EQ(pcl_file_is_regular(m_folder.c_str()), 0);
    EXPECT_EQ(pcl_file_is_regular("/dev/null"), 0);
}

TEST_F(File, ALinkCountsAsWhatItPointsTo) {
    std::filesystem::create_symlink(write("file", "abc"), path("link"));
    EXPECT_EQ(pcl_file_is_regular(path("link").c_str()), 1);
    EXPECT_EQ(pcl_file_size(path("link").c_str()), 3U);
}

TEST_F(File, SizeInBytes) {
    EXPECT_EQ(pcl_file_size(write("empty", "").c_str()), 0U);
    EXPECT_EQ(pcl_file_size(write("file", std::string(1234, '\n')).c_str()), 1234U);
}

TEST_F(File, SizesGoBeyondFourGigabytes) {
    const std::string large = write("large", "");
    std::filesystem::resize_file(large, (std::uintmax_t{1} << 32) + 7);
    EXPECT_EQ(pcl_file_size(large.c_str()), (std::uint64_t{1} << 32) + 7);
}

TEST_F(File, AMissingFileIsNotFound) {
    const std::string missing = path("missing");
    EXPECT_FAILURE(pcl_file_is_regular(missing.c_str()), PCL_RESULT_FILE_NOT_FOUND,
                   "File not found: " + missing);
    EXPECT_FAILURE(pcl_file_size(missing.c_str()), PCL_RESULT_FILE_NOT_FOUND,
                   "File not found: " + missing);
}

TEST_F(File, OtherFailuresCarryTheSystemsNumber) {
    const std::string below = write("file", "abc") + "/below";
    EXPECT_FAILURE(pcl_file_is_regular(below.c_str()), PCL_RESULT_IO_ERROR,
                   "stat() error: " + std::to_string(ENOTDIR));
    EXPECT_FAILURE(pcl_file_size(below.c_str()), PCL_RESULT_IO_ERROR,
                   "stat() error: " + std::to_string(ENOTDIR));
}

TEST_F(File, ANullPathIsRefused) {
    EXPECT_FAILURE(pcl_file_is_regular(nullptr), PCL_RESULT_ILLEGAL_ARGUMENT, "'path' is NULL");
    EXPECT_FAILURE(pcl_file_size(nullptr), PCL_RESULT_ILLEGAL_ARGUMENT, "'path' is NULL");
}

TEST_F(File, GivesZeroWhenTheHandlerReturns) {
    const ScopedHandler handler;
    EXPECT_EQ(pcl_file_is_regular(nullptr), 0);
    EXPECT_EQ(pcl_file_is_regular(path("missing").c_str()), 0);
    EXPECT_EQ(pcl_file_size(path("missing").c_str()), 0U);
    EXPECT_EQ(handler.count(), 3U);
}
