// Measures a secure open beside a bare generation of the key pair that it contains, taken in turns
// in the same run. Both vary widely, since the search for primes does: judge by the means over many
// rounds and their standard errors. What an open adds to the generation, one private operation and
// one exchange, varies little and is measured by itself.
//
// usage: secure_open [ROUNDS]

#include "abecs/crypto/rsa.h"
#include "abecs/open.h"
#include "abecs/pinpad.h"
#include "core/guard.h"
#include "core/owned.h"
#include "sim/simulator.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

using RsaKeyPtr = PclOwned<PclRsaKey, pcl_rsa_key_destroy>;

template <typename Body>
double milliseconds(Body body) {
    const auto start = std::chrono::steady_clock::now();
    body();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

void report(const char *what, std::vector<double> times) {
    const auto count = static_cast<double>(times.size());
    double mean = 0;
    for (const double time : times) {
        mean += time / count;
    }
    double variance = 0;
    for (const double time : times) {
        variance += (time - mean) * (time - mean) / (count - 1);
    }
    std::sort(times.begin(), times.end());
    std::printf("%-28s mean %7.1f ms  +- %5.1f (standard error)  median %7.1f ms\n", what, mean,
                std::sqrt(variance / count), times[times.size() / 2]);
}

void measure(int rounds) {
    const sim::Simulator device;
    const AbecsPinpadPtr pinpad(abecs_pinpad_create(device.port().c_str()));
    std::vector<double> opens;
    std::vector<double> generations;
    std::vector<double> plainOpens;
    std::vector<double> operations;
    const RsaKeyPtr fixedKey(pcl_rsa_key_generate(256, 65537));
    std::array<std::uint8_t, 256> block{};
    block.back() = 2;
    for (int round = 0; round < rounds; ++round) {
        generations.push_back(
            milliseconds([] { const RsaKeyPtr key(pcl_rsa_key_generate(256, 65537)); }));
        opens.push_back(milliseconds([&] { abecs_open(pinpad.get(), 1); }));
        operations.push_back(milliseconds([&] {
            pcl_rsa_private_raw(fixedKey.get(), block.data(), block.size(), block.data(),
                                block.size());
        }));
        plainOpens.push_back(milliseconds([&] { abecs_open(pinpad.get(), 0); }));
    }
    report("RSA-2048 key generation", generations);
    report("secure open", opens);
    report("plain open", plainOpens);
    report("RSA-2048 private operation", operations);
}

} // namespace

int main(int argc, char **argv) {
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 100;
    if (rounds < 2) {
        std::fprintf(stderr, "usage: %s [ROUNDS]\n", argv[0]);
        return 2;
    }
    const PclException failure = pcl_attempt([&] { measure(rounds); });
    if (failure) {
        std::fprintf(stderr, "%s\n", failure.message);
        return 1;
    }
    return 0;
}
