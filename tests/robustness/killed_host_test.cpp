// The host is killed: the next one finds the port free.

#include "abecs/commands/display.h"
#include "abecs/open.h"
#include "tests/robustness/device_program.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// A process of its own that has the port open until it is killed.
class HostProgram {
public:
    explicit HostProgram(const std::string &port) {
        int told[2] = {-1, -1};
        EXPECT_EQ(0, ::pipe2(told, O_CLOEXEC));
        m_child = ::fork();
        if (m_child == 0) {
            abecs_pinpad_create(port.c_str());
            ::_exit(::write(told[1], "", 1) == 1 ? ::pause() : 1);
        }
        ::close(told[1]);
        char opened = 0;
        EXPECT_EQ(1, ::read(told[0], &opened, 1)) << "the host did not get the port";
        ::close(told[0]);
    }
    ~HostProgram() { kill(); }
    HostProgram(const HostProgram &) = delete;
    HostProgram &operator=(const HostProgram &) = delete;

    void kill() {
        if (m_child > 0) {
            ::kill(m_child, SIGKILL);
            ::waitpid(m_child, nullptr, 0);
            m_child = 0;
        }
    }

private:
    pid_t m_child = 0;
};

TEST(KilledHost, LeavesThePortFree) {
    const robustness::TemporaryFolder folder;
    const robustness::DeviceProgram device(folder.path(), "");
    HostProgram host(device.port());
    EXPECT_FAILURE(abecs_pinpad_create(device.port().c_str()), PCL_RESULT_DEVICE_BUSY,
                   "Port is busy: " + device.port());
    host.kill();
    AbecsPinpadPtr next;
    ASSERT_NO_FAILURE(next.reset(abecs_pinpad_create(device.port().c_str())));
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(next.get(), 0)));
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_dex(next.get(), "BACK")));
}

} // namespace
