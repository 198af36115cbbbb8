#include "abecs/packet.h"
#include "abecs/param.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string unread(AbecsPacket *packet) {
    std::string content(abecsPacketAvailable(packet), '\0');
    abecsFieldGetBytes(packet, content.data(), content.size(), content.size());
    return content;
}

TEST(Packet, HoldsItsCapacityAndNoMore) {
    const AbecsPacketPtr packet(abecsPacketCreate());
    const std::string full(2044, 'x');
    EXPECT_NO_FAILURE(abecsFieldPutBytes(packet.get(), full.data(), full.size()));
    EXPECT_FAILURE(abecsPacketWriteByte(packet.get(), 'y'), PCL_RESULT_IO_ERROR,
                   "No enough space in buffer (available: 0, requested: 1)");
    abecsPacketClear(packet.get());
    EXPECT_EQ(0U, abecsPacketAvailable(packet.get()));
}

TEST(Packet, GoesBackToAMark) {
    const AbecsPacketPtr packet(abecsPacketCreate());
    abecsFieldPutBytes(packet.get(), "ABCDE", 5);
    AbecsPacketMark mark;
    abecsPacketMark(packet.get(), &mark);
    EXPECT_EQ('A', abecsPacketReadByte(packet.get()));
    EXPECT_EQ('B', abecsPacketReadByte(packet.get()));
    abecsPacketRestore(packet.get(), nullptr);
    EXPECT_EQ(3U, abecsPacketAvailable(packet.get()));
    abecsPacketRestore(packet.get(), &mark);
    EXPECT_EQ("ABCDE", unread(packet.get()));
    EXPECT_FAILURE(abecsPacketMark(packet.get(), nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'out' is NULL");
}

TEST(Packet, WritesAParameterAndConsumesIt) {
    const AbecsPacketPtr packet(abecsPacketCreate());
    const AbecsParamPtr param(abecsParamCreate());
    EXPECT_EQ(0, abecsParamGetId(param.get()));
    abecsParamSetId(param.get(), 0x804D);
    abecsFieldPutAlpha(param.get(), "123", 3, 0);
    abecsPacketWriteParam(packet.get(), param.get());
    EXPECT_EQ(0U, abecsParamLength(param.get()));
    EXPECT_EQ(0x804D, abecsParamGetId(param.get()));
    abecsPacketWriteParam(packet.get(), param.get());
    EXPECT_EQ(std::string("\x80\x4D\x00\x03"
                          "123\x80\x4D\x00\x00",
                          11),
              unread(packet.get()));
}

TEST(Packet, ReadsAParameter) {
    const AbecsPacketPtr packet(abecsPacketCreate());
    const AbecsParamPtr param(abecsParamCreate());
    abecsFieldPutAlpha(param.get(), "old", 3, 0);
    abecsFieldPutBytes(packet.get(),
                       "\x80\x40\x00\x02"
                       "90rest",
                       10);
    abecsPacketReadParam(packet.get(), param.get());
    EXPECT_EQ(0x8040, abecsParamGetId(param.get()));
    EXPECT_EQ(2U, abecsParamLength(param.get()));
    EXPECT_EQ('9', abecsParamReadByte(param.get()));
    EXPECT_EQ('0', abecsParamReadByte(param.get()));
    EXPECT_EQ("rest", unread(packet.get()));
}

TEST(Packet, RefusesAParameterThatIsLongerThanWhatIsLeft) {
    const AbecsPacketPtr packet(abecsPacketCreate());
    const AbecsParamPtr param(abecsParamCreate());
    abecsFieldPutBytes(packet.get(),
                       "\x80\x40\x00\x03"
                       "90",
                       6);
    EXPECT_FAILURE(abecsPacketReadParam(packet.get(), param.get()), PCL_RESULT_PROTOCOL_ERROR,
                   "Malformed parameter (expected data length: 3, available: 2)");
    abecsPacketClear(packet.get());
    abecsFieldPutBytes(packet.get(), "\x80\x40\x00", 3);
    EXPECT_FAILURE(abecsPacketReadParam(packet.get(), param.get()), PCL_RESULT_IO_ERROR,
                   "Buffer does not have enough data (requested: 2, available: 1)");
}

TEST(Packet, RefusesAValueThatIsLongerThanAParameterHolds) {
    const AbecsPacketPtr packet(abecsPacketCreate());
    const AbecsParamPtr param(abecsParamCreate());
    const std::string value(1000, 'v');
    abecsFieldPutBytes(packet.get(), "\x80\x40\x03\xE8", 4);
    abecsFieldPutBytes(packet.get(), value.data(), value.size());
    EXPECT_FAILURE(abecsPacketReadParam(packet.get(), param.get()), PCL_RESULT_IO_ERROR,
                   "No enough space in buffer (available: 0, requested: 1)");
}

TEST(Packet, ChecksForNull) {
    const char *packet = "'packet' is NULL";
    const char *param = "'param' is NULL";
    const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
    EXPECT_FAILURE(abecsPacketClear(nullptr), code, packet);
    EXPECT_FAILURE(abecsPacketAvailable(nullptr), code, packet);
    EXPECT_FAILURE(abecsPacketMark(nullptr, nullptr), code, packet);
    EXPECT_FAILURE(abecsPacketWriteByte(nullptr, 0), code, packet);
    EXPECT_FAILURE(abecsPacketReadByte(nullptr), code, packet);
    EXPECT_FAILURE(abecsParamGetId(nullptr), code, param);
    EXPECT_FAILURE(abecsParamSetId(nullptr, 1), code, param);
    EXPECT_FAILURE(abecsParamClear(nullptr), code, param);
    EXPECT_FAILURE(abecsParamReset(nullptr), code, param);
    EXPECT_FAILURE(abecsParamLength(nullptr), code, param);
    EXPECT_FAILURE(abecsParamWriteByte(nullptr, 0), code, param);
    EXPECT_FAILURE(abecsParamReadByte(nullptr), code, param);
    EXPECT_NO_FAILURE(abecsPacketDestroy(nullptr));
    EXPECT_NO_FAILURE(abecsParamDestroy(nullptr));
}

TEST(Param, ClearsItsValueAndResetsItsIdentifierToo) {
    const AbecsParamPtr param(abecsParamCreate());
    abecsParamSetId(param.get(), 7);
    abecsParamWriteByte(param.get(), 1);
    abecsParamClear(param.get());
    EXPECT_EQ(7, abecsParamGetId(param.get()));
    EXPECT_EQ(0U, abecsParamLength(param.get()));
    abecsParamWriteByte(param.get(), 1);
    abecsParamReset(param.get());
    EXPECT_EQ(0, abecsParamGetId(param.get()));
    EXPECT_EQ(0U, abecsParamLength(param.get()));
}

} // namespace
