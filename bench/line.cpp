#include "bench/device.h"
#include "bench/stats.h"

#include "abecs/commands/capture.h"
#include "abecs/commands/media.h"
#include "abecs/pinpad.h"

#include <array>
#include <cstdio>
#include <stdexcept>

#include <unistd.h>

namespace bench {

namespace {

constexpr double BYTES_PER_SECOND = 1920;

// A file that is gone when the object is.
class MediaFile {
public:
    explicit MediaFile(std::size_t size) : path_("/tmp/pinpad-bench-XXXXXX") {
        const int fd = ::mkstemp(path_.data());
        if (fd < 0 || ::ftruncate(fd, static_cast<off_t>(size)) != 0) {
            throw std::runtime_error("no temporary file");
        }
        ::close(fd);
    }
    ~MediaFile() { ::unlink(path_.c_str()); }
    MediaFile(const MediaFile &) = delete;
    MediaFile &operator=(const MediaFile &) = delete;

    const char *path() const { return path_.c_str(); }

private:
    std::string path_;
};

void load(AbecsPinpad *pinpad, const MediaFile &file) {
    abecsMediaLoad(pinpad, file.path(), "BENCH", 0, nullptr, nullptr);
}

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
                  [&] { load(pinpad.get(), small); });
    if (longLoad > 0) {
        const MediaFile big(longLoad);
        const std::string subject = "media load of " + std::to_string(longLoad / 1024) + " KiB";
        measureOnLine(table, subject.c_str(), 1, device, [&] { load(pinpad.get(), big); });
    }
}

void measureGrowth(const std::string &path) {
    std::FILE *out = std::fopen(path.c_str(), "w");
    if (out == nullptr) {
        throw std::runtime_error("cannot write " + path);
    }
    Device device(Device::Speaks::ABECS);
    const AbecsPinpadPtr pinpad(abecs_pinpad_create(device.port().c_str()));
    std::fputs("subject,size,cpu_seconds\n", out);
    for (std::size_t size = 1024; size <= (std::size_t{1} << 24U); size *= 4) {
        const MediaFile file(size);
        const double time = seconds(Clock::CPU, [&] { load(pinpad.get(), file); });
        std::fprintf(out, "media,%zu,%.9f\n", size, time);
    }
    std::fclose(out);
}

} // namespace bench
