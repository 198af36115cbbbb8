#include "abecs/commands/display.h"
#include "abecs/commands/media.h"
#include "abecs/commands/media_file.h"
#include "abecs/crc16.h"
#include "tests/commands/device_fixture.h"

#include <filesystem>
#include <fstream>
#include <random>

namespace {

namespace fs = std::filesystem;

class Media : public Device {
protected:
    void SetUp() override {
        Device::SetUp();
        std::string folder = (fs::temp_directory_path() / "pinpad-media-XXXXXX").string();
        ASSERT_NE(nullptr, mkdtemp(folder.data()));
        m_folder = folder;
    }
    void TearDown() override { fs::remove_all(m_folder); }

    std::string file(std::size_t size) {
        std::mt19937 random(42);
        m_content.resize(size);
        for (char &c : m_content) {
            c = static_cast<char>(random());
        }
        const fs::path path = m_folder / "file";
        std::ofstream(path, std::ios::binary).write(m_content.data(), std::streamsize(size));
        return path.string();
    }
    void load(const std::string &path, const char *name = "logo") {
        abecsMediaLoad(pinpad(), path.c_str(), name, 3, nullptr, nullptr);
    }
    std::size_t countSent(const std::string &id) {
        std::size_t count = 0;
        for (const sim::Bytes &body : device().commands()) {
            count += std::string(body.begin(), body.begin() + 3) == id ? 1U : 0U;
        }
        return count;
    }
    static std::size_t openDescriptors() {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), {}));
    }
    void expectStored(const std::string &name) {
        const sim::Snapshot state = device().snapshot();
        const sim::MediaFile *stored = state.find_media(name);
        ASSERT_NE(nullptr, stored);
        EXPECT_TRUE(sim::Bytes(m_content.begin(), m_content.end()) == stored->content);
        EXPECT_EQ(3, stored->type);
    }

    fs::path m_folder;
    std::string m_content;
};
INSTANTIATE_TEST_SUITE_P(Channel, Media, testing::Bool(), channelName);

TEST_P(Media, MliSendsNameSizeChecksumAndType) {
    plugIn();
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecsMediaLoadInit(pinpad(), "logo1", 0x01020304, 0xA0B0, 7)));
    EXPECT_EQ("MLI026" + tagged(30, "LOGO1   ") +
                  tagged(31, std::string("\x01\x02\x03\x04\xA0\xB0\x07\0\0\0", 10)),
              sent());
    EXPECT_EQ(GetParam(), sentEncrypted());
}

TEST_P(Media, MliChecksItsName) {
    plugIn();
    const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
    EXPECT_FAILURE(abecsMediaLoadInit(nullptr, nullptr, 1, 1, 1), code, "'pinpad' is NULL");
    EXPECT_FAILURE(abecsMediaLoadInit(pinpad(), nullptr, 1, 1, 1), code, "'filename' is NULL");
    EXPECT_FAILURE(abecsMediaLoadInit(pinpad(), "", 1, 1, 1), code, "'filename' is empty");
    EXPECT_FAILURE(abecsMediaLoadInit(pinpad(), "LONGNAME9", 1, 1, 1), code,
                   "'filename' is too long (max: 8, requested: 9)");
    EXPECT_FAILURE(abecsMediaLoadInit(pinpad(), "a\x80", 1, 1, 1), code,
                   "Invalid character (0x80) at position 1");
    expectNothingSent();
}

TEST_P(Media, MlrSendsARecord) {
    plugIn("status MLR 000\n");
    const std::string record(995, '\x16');
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecsMediaLoadRecord(pinpad(), record.data(), record.size())));
    EXPECT_EQ("MLR999" + tagged(15, record), sent());
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecsMediaLoadRecord(pinpad(), "x", 1)));
    EXPECT_EQ("MLR005" + tagged(15, "x"), sent());
    EXPECT_EQ(GetParam(), sentEncrypted());
}

TEST_P(Media, MlrChecksItsData) {
    plugIn();
    const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
    EXPECT_FAILURE(abecsMediaLoadRecord(nullptr, nullptr, 0), code, "'pinpad' is NULL");
    EXPECT_FAILURE(abecsMediaLoadRecord(pinpad(), nullptr, 996), code, "'data' is NULL");
    EXPECT_FAILURE(abecsMediaLoadRecord(pinpad(), "x", 996), code,
                   "'szData' is too big (max: 995, req: 996)");
    EXPECT_FAILURE(abecsMediaLoadRecord(pinpad(), "x", 0), code, "'szData' is zero");
    EXPECT_FAILURE(abecsMediaLoadEnd(nullptr), code, "'pinpad' is NULL");
    expectNothingSent();
}

TEST_P(Media, CommandsReadTheirAnswers) {
    plugIn("reply MLI nth 1 body \"MLI0\"\nreply MLI nth 2 id MLR\nreply MLI nth 3 body "
           "\"ERR011\"\nreply MLE nth 1 id MLI\nreply MLR nth 1 id MLE\n");
    const auto init = [&] { return abecsMediaLoadInit(pinpad(), "A", 1, 1, 1); };
    EXPECT_FAILURE(init(), PCL_RESULT_PROTOCOL_ERROR, "Unrecognized response");
    EXPECT_FAILURE(init(), PCL_RESULT_PROTOCOL_ERROR, "(MLI) Invalid RSP_ID: MLR)");
    EXPECT_NO_FAILURE(EXPECT_EQ(11, init()));
    EXPECT_FAILURE(abecsMediaLoadEnd(pinpad()), PCL_RESULT_PROTOCOL_ERROR,
                   "(MLE) Invalid RSP_ID: MLI)");
    EXPECT_EQ("MLE", sent());
    EXPECT_FAILURE(abecsMediaLoadRecord(pinpad(), "x", 1), PCL_RESULT_PROTOCOL_ERROR,
                   "(MLR) Invalid RSP_ID: MLE)");
}

TEST_P(Media, LoadsInRecordsOf995Bytes) {
    for (const auto &[size, records] :
         {std::pair<std::size_t, std::size_t>{0, 0}, {1, 1}, {995, 1}, {996, 2}, {5000, 6}}) {
        SCOPED_TRACE(size);
        plugIn();
        const std::string path = file(size);
        EXPECT_NO_FAILURE(load(path));
        EXPECT_EQ(1U, countSent("MLI"));
        EXPECT_EQ(records, countSent("MLR"));
        EXPECT_EQ(1U, countSent("MLE"));
        expectStored("LOGO");
        m_pinpad.reset();
    }
}

TEST_P(Media, LoadsTwoMebibytes) {
    plugIn();
    const std::string path = file(std::size_t{2} * 1024 * 1024);
    EXPECT_NO_FAILURE(load(path, "BIG"));
    expectStored("BIG");
    EXPECT_EQ(2108U, countSent("MLR"));
}

TEST_P(Media, TellsItsProgress) {
    plugIn();
    const std::string path = file(2000);
    std::vector<std::uint64_t> seen;
    EXPECT_NO_FAILURE(abecsMediaLoad(
        pinpad(), path.c_str(), "A", 3,
        [](void *context, std::uint64_t done, std::uint64_t total) {
            EXPECT_EQ(2000U, total);
            static_cast<std::vector<std::uint64_t> *>(context)->push_back(done);
        },
        &seen));
    EXPECT_EQ((std::vector<std::uint64_t>{0, 995, 1990, 2000}), seen);
}

TEST_P(Media, RaisesTheDevicesRefusals) {
    const std::string path = file(2000);
    for (const auto &[status, detail] :
         {std::pair{"reply MLI body \"ERR011\"\n", "MLI returned ABECS_RSP_STAT_ST_INVPARM"},
          std::pair{"status MLR 101 nth 2\n", "MLR returned ABECS_RSP_STAT_ST_MFERRFMT"},
          std::pair{"status MLE 102\n", "MLE returned ABECS_RSP_STAT_ST_MFERR"}}) {
        plugIn(status);
        const std::size_t before = openDescriptors();
        EXPECT_FAILURE(load(path), PCL_RESULT_IO_ERROR, detail);
        EXPECT_EQ(before, openDescriptors());
        EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_dex(pinpad(), "STILL HERE")));
        m_pinpad.reset();
    }
}

TEST_P(Media, EndsWithTheFailureOfTheLineAndTheFileClosed) {
    const std::string path = file(5000);
    const struct {
        const char *fault;
        PclResult_e code;
        const char *detail;
    } faults[] = {
        {"fault ack MLR nth 3 nak times 3\n", PCL_RESULT_PROTOCOL_ERROR, "Packet was rejected"},
        {"fault response MLR nth 2 bad-crc times 3\n", PCL_RESULT_TIMEOUT_ERROR,
         "No response in 3 attempts"},
        {"fault ack MLR nth 2 silent\n", PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data"},
        {"fault response MLR nth 4 unplug 3\n", PCL_RESULT_IO_ERROR, "ReadFile() error: 5"},
    };
    for (const auto &fault : faults) {
        SCOPED_TRACE(fault.fault);
        plugIn(fault.fault);
        const std::size_t before = openDescriptors();
        EXPECT_FAILURE(load(path), fault.code, fault.detail);
        EXPECT_GE(before, openDescriptors());
        if (fault.code != PCL_RESULT_IO_ERROR) {
            EXPECT_NO_FAILURE(load(path));
            expectStored("LOGO");
        }
        m_pinpad.reset();
    }
}

TEST_P(Media, ChecksTheFile) {
    plugIn();
    EXPECT_FAILURE(abecsMediaLoad(pinpad(), nullptr, "A", 1, nullptr, nullptr),
                   PCL_RESULT_ILLEGAL_ARGUMENT, "'path' is NULL");
    const std::string folder = m_folder.string();
    EXPECT_FAILURE(load(folder), PCL_RESULT_IO_ERROR, folder + " does not point to a file");
    EXPECT_FAILURE(load(folder + "/none"), PCL_RESULT_FILE_NOT_FOUND,
                   "File not found: " + folder + "/none");
    EXPECT_FAILURE(load("/dev/null"), PCL_RESULT_IO_ERROR, "/dev/null does not point to a file");
    expectNothingSent();
}

TEST_P(Media, RefusesAFileOfFourGibibytes) {
    plugIn();
    const fs::path path = m_folder / "huge";
    std::ofstream(path).put('x');
    fs::resize_file(path, 4294967296);
    EXPECT_FAILURE(load(path.string()), PCL_RESULT_IO_ERROR,
                   "File (" + path.string() + ") is too big (max: 4294967295, req: 4294967296)");
    expectNothingSent();
}

TEST(MediaFile, HasTheCrcOfItsBytes) {
    std::string folder = (fs::temp_directory_path() / "pinpad-crc-XXXXXX").string();
    ASSERT_NE(nullptr, mkdtemp(folder.data()));
    const std::string path = folder + "/digits";
    for (const std::size_t size : {0U, 1U, 511U, 512U, 513U, 1024U, 1500U}) {
        const std::string content(size, '7');
        std::ofstream(path, std::ios::binary) << content;
        std::uint16_t expected = 0;
        abecs_crc16_update(content.data(), size, &expected);
        EXPECT_NO_FAILURE(EXPECT_EQ(expected, abecsFileCrc16ByPath(path.c_str())));
    }
    std::ofstream(path, std::ios::binary) << "123456789";
    EXPECT_NO_FAILURE(EXPECT_EQ(0x31C3, abecsFileCrc16ByPath(path.c_str())));
    AbecsMediaFile media{};
    ASSERT_NO_FAILURE(abecsMediaFileOpen(&media, path.c_str()));
    EXPECT_EQ(9U, media.size);
    EXPECT_EQ(0x31C3, media.crc);
    char first = 0;
    EXPECT_EQ(1U, abecsFileRead(media.file, &first, 1));
    EXPECT_EQ('1', first);
    EXPECT_NO_FAILURE(abecsFileClose(&media.file));
    EXPECT_EQ(nullptr, media.file);
    EXPECT_NO_FAILURE(abecsFileClose(&media.file));
    fs::remove_all(folder);
}

} // namespace
