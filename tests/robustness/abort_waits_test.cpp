// The abort from a second thread during each kind of wait. Both threads read from the line, so that
// either may get what the device answers; both come back in the documented time, each with a
// documented failure or none, and the session is fit for use afterwards.

#include "ext/ext_link.h"
#include "tests/link/session_fixture.h"

#include <functional>
#include <set>
#include <string>
#include <thread>

namespace {

using namespace line;

struct Wait {
    const char *name;
    /// What the far end has sent when the abort comes.
    Bytes sent;
    std::function<void(AbecsPinpad *, AbecsPacket *)> run;
};

const std::vector<Wait> &waits() {
    static const auto receive = [](AbecsPinpad *pinpad, AbecsPacket *packet) {
        abecs_link_receive_response(pinpad, packet);
    };
    static const auto receiveExtension = [](AbecsPinpad *pinpad, AbecsPacket *packet) {
        abecs_ext_receive_packet(pinpad, packet);
    };
    static const auto drain = [](AbecsPinpad *pinpad, AbecsPacket *) {
        abecs_link_drain_input(pinpad->port);
    };
    static const auto abort = [](AbecsPinpad *pinpad, AbecsPacket *) { abecs_link_abort(pinpad); };
    static const std::vector<Wait> all = {
        {"FirstByteOfAResponse", {}, receive},
        {"NextByteOfAResponse", SYN + bytes("DEX"), receive},
        {"ByteAfterAnEscape", SYN + bytes("DEX") + Bytes{0x13}, receive},
        {"CrcOfAResponse", SYN + bytes("DEX000") + ETB + Bytes{0xAC}, receive},
        {"FirstByteOfAnExtensionResponse", {}, receiveExtension},
        {"LengthOfAnExtensionResponse", Bytes{0x02, 0x00}, receiveExtension},
        {"DataOfAnExtensionResponse", Bytes{0x02, 0x00, 0x09} + bytes("MF"), receiveExtension},
        {"SilenceOfADrain", bytes("noise"), drain},
        {"AnswerToAnotherAbort", {}, abort},
    };
    return all;
}

const std::set<std::string> &documented() {
    static const std::set<std::string> texts = {
        "",
        failures::text(PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data"),
        failures::text(PCL_RESULT_TIMEOUT_ERROR, "No response in 3 attempts"),
        failures::text(PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected SYN, read 0x4)"),
        failures::text(PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected STX, read 0x4)"),
    };
    return texts;
}

// Three attempts of the longest wait and a drain each, and what a busy machine adds.
constexpr std::chrono::milliseconds BOUND = 3 * (PAST_RESPONSE + 500ms / TIME_DIVISOR) + 1000ms;

class AbortDuring : public Link, public testing::WithParamInterface<std::size_t> {};

TEST_P(AbortDuring, EachKindOfWait) {
    const Wait &wait = waits().at(GetParam());
    m_peer.play([&wait](Peer &line) {
        line.write(wait.sent);
        // Answers every abort until none comes any more, and reads the NAKs of the other side.
        for (int quiet = 0; quiet < 60;) {
            if (line.waiting() == 0) {
                line.pause(10ms);
                ++quiet;
            } else if (line.read(1) == CAN) {
                line.write(EOT);
                quiet = 0;
            }
        }
    });
    PclException waited;
    PclException aborted;
    const Elapsed taken = timeOf([&] {
        std::thread second([&] {
            pcl_sleep_millis(15);
            aborted = pcl_attempt([&] { abecs_link_abort(pinpad()); });
        });
        waited = pcl_attempt([&] { wait.run(pinpad(), packet()); });
        second.join();
    });
    EXPECT_LT(taken, BOUND);
    EXPECT_EQ(1U, documented().count(waited.message)) << waited.message;
    EXPECT_EQ(1U, documented().count(aborted.message)) << aborted.message;
    m_peer.finish();

    m_peer.play([](Peer &line) {
        line.expect(CAN);
        line.write(EOT);
    });
    EXPECT_NO_FAILURE(abecs_link_abort(pinpad()));
    EXPECT_STREQ("", abecs_pinpad_get_pending(pinpad()).text);
    expectUsable();
}

INSTANTIATE_TEST_SUITE_P(Waits, AbortDuring, testing::Range<std::size_t>(0, waits().size()),
                         [](const auto &instance) {
                             return std::string(waits().at(instance.param).name);
                         });

} // namespace
