// Bodies of responses: identifier, status, blocks and parameters, read one by one and into a map.

#include "abecs/response_parser.h"
#include "abecs/param_map.h"
#include "fuzz/check.h"

#include <array>
#include <cstring>

namespace {

AbecsPacketPtr packetOf(const std::uint8_t *data, std::size_t size) {
    AbecsPacketPtr packet(abecsPacketCreate());
    abecsFieldPutBytes(packet.get(), data, size);
    return packet;
}

// The sum of what all parameters take.
std::size_t readOneByOne(const std::uint8_t *data, std::size_t size) {
    std::size_t taken = 0;
    const AbecsPacketPtr packet = packetOf(data, size);
    const AbecsResponseParserPtr parser(abecsParserCreate());
    const AbecsParamPtr param(abecsParamCreate());
    const PclException failure = pcl_attempt([&] {
        abecsParserParse(parser.get(), packet.get());
        FUZZ_CHECK(std::strlen(abecsParserGetRspId(parser.get())) <= 3);
        const std::int32_t status = abecsParserGetRspStat(parser.get());
        FUZZ_CHECK(status >= ABECS_RSP_STAT_ST_NOTIFICATION && status <= 999);
        if (std::strcmp(abecsParserGetRspId(parser.get()), ABECS_RSP_ID_NOTIFICATION) == 0) {
            std::array<char, ABECS_NOTIFICATION_SIZE> text;
            text.fill('#');
            abecsParserGetNotification(parser.get(), text.data());
            FUZZ_CHECK(std::memchr(text.data(), fuzz::NUL, text.size()) != nullptr);
            return;
        }
        while (abecsParserNextParam(parser.get(), param.get()) != nullptr) {
            taken += 4 + abecsParamLength(param.get());
        }
    });
    FUZZ_CHECK(fuzz::isAllowed(failure));
    FUZZ_CHECK(taken <= size);
    return taken;
}

void collect(const std::uint8_t *data, std::size_t size) {
    const AbecsPacketPtr packet = packetOf(data, size);
    const AbecsResponseParserPtr parser(abecsParserCreate());
    const AbecsParamMapPtr map(abecsParamMapCreate());
    const PclException failure = pcl_attempt([&] {
        abecsParserParse(parser.get(), packet.get());
        if (std::strcmp(abecsParserGetRspId(parser.get()), ABECS_RSP_ID_NOTIFICATION) != 0) {
            abecsParamMapCollect(map.get(), parser.get());
        }
    });
    FUZZ_CHECK(fuzz::isAllowed(failure));
    std::size_t kept = 0;
    AbecsParamMapIterator position;
    for (const auto *at = abecsParamMapFirst(map.get(), &position); at != nullptr;
         at = abecsParamMapNext(&position)) {
        kept += position.value.size;
        if (position.value.data != nullptr) {
            FUZZ_CHECK(position.value.data[position.value.size] == 0);
        }
    }
    FUZZ_CHECK(kept <= size);
}

void readAGoodOne() {
    const AbecsPacketPtr packet(abecsPacketCreate());
    abecsFieldPutBytes(packet.get(), "DEX000000", 9);
    const AbecsResponseParserPtr parser(abecsParserCreate());
    const AbecsParamPtr param(abecsParamCreate());
    const PclException failure = pcl_attempt([&] {
        abecsParserParse(parser.get(), packet.get());
        FUZZ_CHECK(std::strcmp(abecsParserGetRspId(parser.get()), "DEX") == 0);
        FUZZ_CHECK(abecsParserGetRspStat(parser.get()) == ABECS_RSP_STAT_ST_OK);
        FUZZ_CHECK(abecsParserNextParam(parser.get(), param.get()) == nullptr);
    });
    FUZZ_CHECK(!failure);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > ABECS_PACKET_CAPACITY) {
        return 0;
    }
    readOneByOne(data, size);
    collect(data, size);
    readAGoodOne();
    return 0;
}
