#include "serial/list_posix.h"
#include "serial/serial.h"

#include "core/list.h"
#include "core/owned.h"
#include "core/string_list.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using ListPtr = PclOwned<PclList, pcl_list_destroy>;

/// A folder laid out as the system describes its terminals.
class SerialList : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(devices());
        fs::create_directories(terminals());
    }
    void TearDown() override { fs::remove_all(m_root); }

    fs::path terminals() const { return m_root / "class"; }
    fs::path devices() const { return m_root / "devices"; }

    void addTerminal(const std::string &name) { fs::create_directory(terminals() / name); }

    void addPort(const std::string &name) {
        addTerminal(name);
        fs::create_directory(devices() / name);
        fs::create_symlink(devices() / name, terminals() / name / "device");
    }

    void setType(const std::string &name, const std::string &type) {
        std::ofstream(terminals() / name / "type") << type << '\n';
    }

    std::vector<std::string> listed() {
        pcl_serial_list_folder(m_list.get(), terminals().c_str());
        return content();
    }

    std::vector<std::string> content() {
        std::vector<std::string> names;
        for (PclListNode *node = pcl_list_first(m_list.get()); node != nullptr; node = node->next) {
            names.emplace_back(static_cast<const char *>(node->item));
        }
        return names;
    }

    ListPtr m_list{pcl_string_list_create()};

private:
    fs::path m_root = fs::path(testing::TempDir()) /
                      ("serial_list_" + std::to_string(getpid()) + "_" +
                       testing::UnitTest::GetInstance()->current_test_info()->name());
};

TEST_F(SerialList, NothingInAnEmptyFolder) {
    EXPECT_EQ(listed(), std::vector<std::string>());
}

TEST_F(SerialList, OnlyTerminalsWithADevice) {
    addPort("ttyUSB0");
    addTerminal("tty1");
    addTerminal("ptmx");
    addPort("ttyACM0");
    EXPECT_EQ(listed(), (std::vector<std::string>{"ttyACM0", "ttyUSB0"}));
}

TEST_F(SerialList, NotADeviceThatIsGone) {
    addPort("ttyUSB0");
    fs::remove(devices() / "ttyUSB0");
    EXPECT_EQ(listed(), std::vector<std::string>());
}

TEST_F(SerialList, NotAReservedNameWithoutUart) {
    addPort("ttyS0");
    setType("ttyS0", "4");
    addPort("ttyS1");
    setType("ttyS1", "0");
    EXPECT_EQ(listed(), std::vector<std::string>{"ttyS0"});
}

TEST_F(SerialList, InNaturalOrder) {
    for (const char *name :
         {"ttyUSB10", "ttyS2", "ttyUSB2", "ttyS10", "ttyS1", "ttyUSB02", "ttyACM0", "ttyS", "tty2a",
          "tty2", "ttyUSB007", "ttyUSB9", "ttyS10b2", "ttyS10b10", "ttyS0"}) {
        addPort(name);
    }
    EXPECT_EQ(listed(),
              (std::vector<std::string>{"tty2", "tty2a", "ttyACM0", "ttyS", "ttyS0", "ttyS1",
                                        "ttyS2", "ttyS10", "ttyS10b2", "ttyS10b10", "ttyUSB02",
                                        "ttyUSB2", "ttyUSB007", "ttyUSB9", "ttyUSB10"}));
}

TEST_F(SerialList, ReplacesWhatTheListHeld) {
    addPort("ttyUSB0");
    pcl_list_append(m_list.get(), "old");
    EXPECT_EQ(listed(), std::vector<std::string>{"ttyUSB0"});
    EXPECT_EQ(listed(), std::vector<std::string>{"ttyUSB0"});
}

TEST_F(SerialList, IsEmptyWithoutTheFolder) {
    pcl_list_append(m_list.get(), "old");
    EXPECT_NO_FAILURE(pcl_serial_list_folder(m_list.get(), "/no/such/folder"));
    EXPECT_EQ(content(), std::vector<std::string>());
}

TEST_F(SerialList, OfThisSystem) {
    pcl_list_append(m_list.get(), "old");
    EXPECT_NO_FAILURE(pcl_serial_list(m_list.get()));
    for (const std::string &name : content()) {
        EXPECT_TRUE(fs::exists("/sys/class/tty/" + name + "/device")) << name;
    }
}

TEST_F(SerialList, NeedsAList) {
    EXPECT_FAILURE(pcl_serial_list(nullptr), PCL_RESULT_ILLEGAL_ARGUMENT, "'out' is NULL");
}

} // namespace
