#include "abecs/open.h"
#include "bench/device.h"
#include "bench/media.h"
#include "bench/stats.h"

#include "abecs/commands/capture.h"
#include "abecs/pinpad.h"

#include <array>
#include <stdexcept>

namespace bench {

namespace {

constexpr double BYTES_PER_SECOND = 1920;

void capture(AbecsPinpad *pinpad) {
    std::array<char, 64> digits{};
    abecs_gcd_start(pinpad, 1, 1, 11, 0);
    if (abecs_gcd_response(pinpad, digits.data(), nullptr) != 0) {
        throw std::runtime_error("the capture failed");
    }
}

// Measured time beside the time that the bytes counted on the line need.
template <typename Exchange>
void measureOnLine(Table &table, const char *subject, std::size_t rounds, const Device &device,
                   Exchange exchange) {
    std::vector<double> times;
    std::vector<double> needs;
    std::vector<double> ratios;
    for (std::size_t round = 0; round < rounds; ++round) {
        const std::size_t before = device.bytes();
        times.push_back(seconds(Clock::WALL, exchange));
        needs.push_back(static_cast<double>(device.bytes() - before) / BYTES_PER_SECOND);
        ratios.push_back(times.back() / needs.back());
    }
    table.add({"Line", subject, "the bytes alone at 1920 B/s", "s", spreadOf(times),
               spreadOf(needs), spreadOf(ratios), rounds, ""});
}

} // namespace

void measureLine(Table &table, std::size_t longLoad) {
    Device device(Device::Speaks::ABECS, 1 / BYTES_PER_SECOND);
    const AbecsPinpadPtr pinpad(abecs_pinpad_create(device.port().c_str()));
    measureOnLine(table, "capture exchange", table.rounds(), device,
                  [&] { capture(pinpad.get()); });
    const MediaFile small(4096);
    measureOnLine(table, "media load of 4 KiB", table.rounds(), device,
                  [&] { small.load(pinpad.get()); });
    if (longLoad > 0) {
        const MediaFile big(longLoad);
        const std::string subject = "media load of " + std::to_string(longLoad / 1024) + " KiB";
        measureOnLine(table, subject.c_str(), 1, device, [&] { big.load(pinpad.get()); });
    }
}

} // namespace bench
