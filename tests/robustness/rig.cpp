#include "tests/robustness/rig.h"

#include "abecs/commands/display.h"
#include "abecs/link.h"
#include "abecs/open.h"
#include "core/time.h"
#include "serial/serial.h"
#include "serial/time_divisor.h"
#include "tests/soak/commands.h"
#include "tests/support/failures.h"

#include <vector>

namespace robustness {

namespace {

sim::SimulatorOptions optionsWith(std::chrono::milliseconds frameGap) {
    sim::SimulatorOptions options;
    options.frame_gap = frameGap;
    options.keep_logs = false;
    return options;
}

} // namespace

Rig::Rig(bool secure, std::chrono::milliseconds frameGap)
    : m_secure(secure), m_device(soak::scenario(), optionsWith(frameGap)) {
    pcl_serial_set_time_divisor(TIME_DIVISOR);
    reopen();
}

Rig::~Rig() {
    m_pinpad.reset();
    pcl_serial_set_time_divisor(1);
}

void Rig::awaitSilence(unsigned looks) {
    std::size_t waiting = 0;
    for (unsigned quiet = 0; quiet < looks;) {
        pcl_sleep_millis(1);
        m_device.snapshot();
        const std::size_t now = pcl_serial_bytes_available(pinpad()->port);
        quiet = now == waiting ? quiet + 1 : 0;
        waiting = now;
    }
}

void Rig::reopen() {
    m_pinpad.reset();
    EXPECT_NO_FAILURE(m_pinpad.reset(abecs_pinpad_create(m_device.port().c_str())));
    openChannel();
}

void Rig::openChannel() {
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad(), m_secure ? 1 : 0)));
}

void Rig::expectUsable(const faults::Command &command, const PclException &failure) {
    if (abecs_pinpad_get_pending(pinpad()).text[0] != '\0') {
        EXPECT_NO_FAILURE(abecs_link_abort(pinpad()));
    }
    if (command.changesChannel && (failure || command.frame != "OPN") && m_secure) {
        openChannel();
    }
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_dex(pinpad(), "STILL HERE")));
    EXPECT_EQ(std::vector<std::string>{"STILL HERE"}, m_device.snapshot().display);
}

std::string commandName(const testing::TestParamInfo<std::size_t> &info) {
    return soak::commands().at(info.param).name;
}

} // namespace robustness
