// Measures PP_Abort from a second thread while the first one polls for a number that nobody types:
// how soon CAN is at the device, which of the two calls gets its answer, when they return, and what
// a second PP_Abort does once both have.
//
// usage: abort [ROUNDS]

#include "api/include/pinpad/pinpad.h"
#include "sim/simulator.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

std::atomic<int> failures{0};
std::atomic<Clock::time_point> lastCan{};

void PINPAD_CALL countFailure(std::int32_t, const char *) {
    ++failures;
}

double millisecondsSince(Clock::time_point start, Clock::time_point end = Clock::now()) {
    return std::chrono::duration<double, std::milli>(end - start).count();
}

struct Figures {
    const char *what;
    std::vector<double> times;

    void report() {
        std::sort(times.begin(), times.end());
        if (!times.empty()) {
            std::printf("%-46s median %7.2f ms  slowest %7.2f ms\n", what, times[times.size() / 2],
                        times.back());
        }
    }
};

struct Measurement {
    Figures arrivals{"CAN at the device, after PP_Abort was called", {}};
    Figures polls{"the poll returned, after PP_Abort was called", {}};
    Figures aborts{"PP_Abort returned", {}};
    Figures seconds{"the second PP_Abort returned", {}};
    int answeredPolls = 0;
    int failedAborts = 0;
    int failedSeconds = 0;

    void measureRound(std::chrono::milliseconds moment) {
        abecsGetClearData(1, 1, 8, 0);
        failures = 0;
        Clock::time_point called;
        Clock::time_point aborted;
        std::thread canceller([&] {
            std::this_thread::sleep_for(moment);
            called = Clock::now();
            PP_Abort();
            aborted = Clock::now();
        });
        std::array<char, PINPAD_CLEAR_DATA_SIZE> number{};
        const std::int32_t result = abecsGetClearDataResponse(number.data(), nullptr);
        const auto polled = Clock::now();
        canceller.join();
        arrivals.times.push_back(millisecondsSince(called, lastCan.load()));
        polls.times.push_back(millisecondsSince(called, polled));
        aborts.times.push_back(millisecondsSince(called, aborted));
        const bool pollFailed = result == PINPAD_FAILED;
        answeredPolls += pollFailed ? 1 : 0;
        failedAborts += failures.exchange(0) > (pollFailed ? 1 : 0) ? 1 : 0;
        const auto again = Clock::now();
        PP_Abort();
        seconds.times.push_back(millisecondsSince(again));
        failedSeconds += failures.exchange(0) == 0 ? 0 : 1;
    }
};

void measure(int rounds) {
    sim::Simulator device;
    device.set_wire_listener([](const sim::WireFrame &frame) {
        if (frame.kind == sim::FrameKind::can) {
            lastCan = frame.time;
        }
    });
    PP_Open(device.port().c_str(), 1);
    Measurement measurement;
    constexpr int MOMENTS = 37;
    for (int round = 0; round < rounds; ++round) {
        measurement.measureRound(std::chrono::milliseconds(20 + 29 * (round % MOMENTS)));
    }
    PP_Close(nullptr);
    measurement.arrivals.report();
    measurement.polls.report();
    measurement.aborts.report();
    measurement.seconds.report();
    std::printf("of %d tries: the poll got the answer %d, PP_Abort failed %d, the second one %d\n",
                rounds, measurement.answeredPolls, measurement.failedAborts,
                measurement.failedSeconds);
}

} // namespace

int main(int argc, char **argv) {
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 100;
    if (rounds < 1) {
        std::fprintf(stderr, "usage: %s [ROUNDS]\n", argv[0]);
        return 2;
    }
    pcl_exception_set_uncaught_handler(countFailure);
    measure(rounds);
    return 0;
}
