#include "api/global_session.h"
#include "api/session_commands.h"
#include "core/string_list.h"
#include "serial/time_divisor.h"
#include "sim/simulator.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <string>

namespace {

using ListPtr = PclOwned<PclList, pcl_list_destroy>;

class SessionCommands : public testing::Test {
protected:
    void SetUp() override { pcl_serial_set_time_divisor(10); }
    void TearDown() override { EXPECT_NO_FAILURE(pinpad_session_drop()); }
    void plugIn(const std::string &scenario) {
        m_device = std::make_unique<sim::Simulator>(scenario);
        ASSERT_NO_FAILURE(pinpad_session_open(m_device->port().c_str(), 0));
    }
    std::string sent() const {
        const sim::Bytes body = m_device->commands().back();
        return {body.begin(), body.end()};
    }

    std::unique_ptr<sim::Simulator> m_device;
};

TEST_F(SessionCommands, CheckForEvents) {
    plugIn("event 1 key f1\nevent 2 key f2\nevent 3 timeout\nevent 4 timeout\n");
    const AbecsParamMapPtr map(abecsParamMapCreate());
    EXPECT_NO_FAILURE(pinpad_check_event("110000", nullptr, nullptr));
    EXPECT_NE(std::string::npos, sent().find("110000"));
    EXPECT_NO_FAILURE(EXPECT_EQ(0, pinpad_check_event_response(map.get(), nullptr)));
    EXPECT_NO_FAILURE(EXPECT_EQ(4, abecsParamMapGetEvent(map.get())));

    const std::uint32_t number = 5;
    EXPECT_NO_FAILURE(pinpad_check_event_default(&number));
    EXPECT_NE(std::string::npos, sent().find("100099"));
    EXPECT_NO_FAILURE(EXPECT_EQ(0, pinpad_check_event_status()));

    EXPECT_NO_FAILURE(pinpad_check_event_default(nullptr));
    EXPECT_NO_FAILURE(EXPECT_EQ(-1, pinpad_check_event_status()));
    EXPECT_NO_FAILURE(pinpad_check_event_default(nullptr));
    EXPECT_NO_FAILURE(EXPECT_EQ(12, pinpad_check_event_response(map.get(), nullptr)));
}

TEST_F(SessionCommands, PassEveryOtherStatusOfAnEventCheck) {
    plugIn("status CEX 013\nevent * key f1\n");
    EXPECT_NO_FAILURE(pinpad_check_event_default(nullptr));
    EXPECT_NO_FAILURE(EXPECT_EQ(13, pinpad_check_event_status()));
}

TEST_F(SessionCommands, ReturnMinusOneForNoAnswerAndMinusTwoForANotification) {
    plugIn("event notify \"WAIT\" live\n");
    EXPECT_NO_FAILURE(pinpad_check_event_default(nullptr));
    EXPECT_NO_FAILURE(EXPECT_EQ(-2, pinpad_check_event_status()));
    EXPECT_NO_FAILURE(EXPECT_EQ(-1, pinpad_check_event_status()));
}

TEST_F(SessionCommands, Display) {
    plugIn("media LOGO text \"picture\"\n");
    EXPECT_NO_FAILURE(EXPECT_EQ(0, pinpad_display("HELLO")));
    EXPECT_EQ("DEX008005HELLO", sent());
    EXPECT_NO_FAILURE(EXPECT_EQ(0, pinpad_display_clear()));
    EXPECT_EQ("DEX003000", sent());
    EXPECT_NO_FAILURE(EXPECT_EQ(0, pinpad_display_image("LOGO")));
    const ListPtr files(pcl_string_list_create());
    pcl_list_append(files.get(), "LOGO");
    EXPECT_NO_FAILURE(EXPECT_EQ(0, pinpad_display_media(files.get())));
    EXPECT_NO_FAILURE(EXPECT_EQ(0, pinpad_list_media(files.get())));
    EXPECT_EQ(1U, pcl_list_count(files.get()));
}

TEST_F(SessionCommands, LoadMedia) {
    plugIn("");
    const std::string path = testing::TempDir() + "pinpad-session-media";
    std::ofstream(path, std::ios::binary) << "content";
    EXPECT_NO_FAILURE(pinpad_load_media(path.c_str(), "new", 1));
    EXPECT_NE(nullptr, m_device->snapshot().find_media("NEW"));
    std::remove(path.c_str());
}

TEST_F(SessionCommands, NeedASession) {
    const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
    const char *none = "'pinpad' is NULL";
    const ListPtr files(pcl_string_list_create());
    EXPECT_FAILURE(pinpad_check_event("100099", nullptr, nullptr), code, none);
    EXPECT_FAILURE(pinpad_check_event_default(nullptr), code, none);
    EXPECT_FAILURE(pinpad_check_event_status(), code, none);
    EXPECT_FAILURE(pinpad_display("x"), code, none);
    EXPECT_FAILURE(pinpad_display_clear(), code, none);
    EXPECT_FAILURE(pinpad_display_image("x"), code, none);
    EXPECT_FAILURE(pinpad_display_media(files.get()), code, none);
    EXPECT_FAILURE(pinpad_list_media(files.get()), code, none);
    EXPECT_EQ(0, pinpad_session_abort_flag());
    EXPECT_FAILURE(pinpad_session_abort(), code, "pinpad is NULL");
    EXPECT_EQ(1, pinpad_session_abort_flag());
}

} // namespace
