// The paths that run once a byte or once a field, one by one, under Google Benchmark.

#include "abecs/crc16.h"
#include "abecs/packet.h"
#include "abecs/param_map.h"

#include <array>
#include <cstdint>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

void crc16(benchmark::State &state) {
    const std::vector<std::uint8_t> data(static_cast<std::size_t>(state.range(0)), 0xA5);
    for (auto _ : state) {
        std::uint16_t crc = 0;
        abecs_crc16_update(data.data(), data.size(), &crc);
        benchmark::DoNotOptimize(crc);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(crc16)->RangeMultiplier(16)->Range(16, 1 << 20);

void crcOfPacket(benchmark::State &state) {
    const AbecsPacketPtr packet(abecsPacketCreate());
    const std::vector<std::uint8_t> body(static_cast<std::size_t>(state.range(0)), 0xA5);
    abecsFieldPutBytes(packet.get(), body.data(), body.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(abecs_crc16(nullptr, packet.get(), nullptr));
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(crcOfPacket)->Arg(16)->Arg(256)->Arg(2000);

void alphaField(benchmark::State &state) {
    const AbecsPacketPtr packet(abecsPacketCreate());
    const std::string text(static_cast<std::size_t>(state.range(0)), 'A');
    std::vector<char> out(text.size() + 1);
    for (auto _ : state) {
        abecsFieldPutAlpha(packet.get(), text.c_str(), text.size(), 0);
        abecsFieldGetAlpha(packet.get(), out.data(), out.size(), text.size(), 0);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(alphaField)->Arg(16)->Arg(160)->Arg(900);

void packetBytes(benchmark::State &state) {
    const AbecsPacketPtr packet(abecsPacketCreate());
    for (auto _ : state) {
        for (int i = 0; i < 1000; ++i) {
            abecsPacketWriteByte(packet.get(), 0xA5);
        }
        for (int i = 0; i < 1000; ++i) {
            benchmark::DoNotOptimize(abecsPacketReadByte(packet.get()));
        }
    }
    state.SetBytesProcessed(state.iterations() * 1000);
}
BENCHMARK(packetBytes);

void mapPutAndGet(benchmark::State &state) {
    const auto count = static_cast<std::uint16_t>(state.range(0));
    for (auto _ : state) {
        const AbecsParamMapPtr map(abecsParamMapCreate());
        std::array<std::uint8_t, 8> bytes{};
        AbecsParamValue value{bytes.size(), bytes.data(), 0};
        for (std::uint16_t id = 0; id < count; ++id) {
            abecsParamMapPut(map.get(), id, &value, 0);
        }
        for (std::uint16_t id = 0; id < count; ++id) {
            benchmark::DoNotOptimize(abecsParamMapGet(map.get(), id));
        }
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(mapPutAndGet)->RangeMultiplier(4)->Range(4, 1024);

} // namespace

BENCHMARK_MAIN();
