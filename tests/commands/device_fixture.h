#pragma once

#include "abecs/open.h"
#include "abecs/pinpad.h"
#include "serial/time_divisor.h"
#include "sim/simulator.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

/// A session with the virtual PIN pad, plain or secure by the test's parameter.
class Device : public testing::TestWithParam<bool> {
protected:
    // Waits of the library run this much faster.
    static constexpr std::uint32_t TIME_DIVISOR = 10;

    void SetUp() override { pcl_serial_set_time_divisor(TIME_DIVISOR); }

    void plugIn(const std::string &scenario = "") {
        m_device = std::make_unique<sim::Simulator>(scenario);
        ASSERT_NO_FAILURE(m_pinpad.reset(abecs_pinpad_create(m_device->port().c_str())));
        ASSERT_NO_FAILURE(EXPECT_EQ(0, abecs_open(pinpad(), GetParam() ? 1 : 0)));
        m_device->clear_logs();
    }

    AbecsPinpad *pinpad() { return m_pinpad.get(); }
    sim::Simulator &device() { return *m_device; }

    /// The body of the command that the device took last; "" when it took none.
    std::string sent() const {
        const std::vector<sim::Bytes> commands = m_device->commands();
        return commands.empty() ? "" : std::string(commands.back().begin(), commands.back().end());
    }
    bool sentEncrypted() const {
        bool encrypted = false;
        for (const sim::WireFrame &frame : m_device->wire().frames) {
            if (frame.kind == sim::FrameKind::command) {
                encrypted = frame.encrypted;
            }
        }
        return encrypted;
    }
    void expectNothingSent() { EXPECT_TRUE(m_device->host_bytes().empty()); }

    std::unique_ptr<sim::Simulator> m_device;
    AbecsPinpadPtr m_pinpad;
};

inline std::string channelName(const testing::TestParamInfo<bool> &info) {
    return info.param ? "Secure" : "Plain";
}

/// A parameter as it stands in a command's block.
inline std::string tagged(std::uint16_t id, const std::string &value) {
    return std::string{static_cast<char>(id >> 8), static_cast<char>(id & 0xFF),
                       static_cast<char>(value.size() >> 8),
                       static_cast<char>(value.size() & 0xFF)} +
           value;
}
