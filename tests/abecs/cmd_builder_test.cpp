#include "abecs/cmd_builder.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class Builder : public testing::Test {
protected:
    AbecsCmdBuilder *builder() { return m_builder.get(); }
    AbecsPacket *packet() { return m_packet.get(); }

    void add(std::uint16_t id, const std::string &value) {
        const AbecsParamPtr param(abecsParamCreate());
        abecsParamSetId(param.get(), id);
        abecsFieldPutBytes(param.get(), value.data(), value.size());
        abecs_cmd_builder_add_param(builder(), param.get());
        EXPECT_EQ(0U, abecsParamLength(param.get()));
    }
    std::string build() {
        EXPECT_EQ(packet(), abecs_cmd_builder_build(builder(), packet()));
        std::string body(abecsPacketAvailable(packet()), '\0');
        abecsFieldGetBytes(packet(), body.data(), body.size(), body.size());
        return body;
    }

    AbecsCmdBuilderPtr m_builder{abecs_cmd_builder_create()};
    AbecsPacketPtr m_packet{abecsPacketCreate()};
};

std::string record(std::uint16_t id, const std::string &value) {
    return std::string{static_cast<char>(id >> 8), static_cast<char>(id & 0xFF),
                       static_cast<char>(value.size() >> 8),
                       static_cast<char>(value.size() & 0xFF)} +
           value;
}

TEST_F(Builder, BuildsACommandWithoutParameters) {
    abecs_cmd_builder_set_cmd_id(builder(), "CLX");
    EXPECT_EQ("CLX", build());
}

TEST_F(Builder, BuildsParametersInTheirOrder) {
    abecs_cmd_builder_set_cmd_id(builder(), "GCD");
    add(11, std::string("\x00\x05", 2));
    add(0x804D, "");
    EXPECT_EQ("GCD010" + std::string("\x00\x0B\x00\x02\x00\x05\x80\x4D\x00\x00", 10), build());
}

TEST_F(Builder, FillsTheFirstBlockToTheLastByte) {
    abecs_cmd_builder_set_cmd_id(builder(), "MLR");
    const std::string large(995, 'a');
    add(15, large);
    add(1, "");
    add(2, "bc");
    EXPECT_EQ("MLR999" + record(15, large) + "010" + record(1, "") + record(2, "bc"), build());
}

TEST_F(Builder, PutsASmallParameterBackIntoTheFirstBlock) {
    abecs_cmd_builder_set_cmd_id(builder(), "DMF");
    const std::string first(900, '1');
    const std::string second(200, '2');
    add(1, first);
    add(2, second);
    add(3, "small");
    EXPECT_EQ("DMF913" + record(1, first) + record(3, "small") + "204" + record(2, second),
              build());
}

TEST_F(Builder, HasNoRoomForAParameterOf996Bytes) {
    abecs_cmd_builder_set_cmd_id(builder(), "MLR");
    EXPECT_FAILURE(add(15, std::string(996, 'a')), PCL_RESULT_IO_ERROR,
                   "No enough space in buffer (available: 0, requested: 1)");
}

TEST_F(Builder, LeavesPartOfARecordThatDidNotFit) {
    abecs_cmd_builder_set_cmd_id(builder(), "MLR");
    add(1, std::string(995, 'a'));
    add(2, std::string(993, 'b'));
    EXPECT_FAILURE(add(0x1234, ""), PCL_RESULT_IO_ERROR,
                   "No enough space in buffer (available: 0, requested: 2)");
    abecs_cmd_builder_reset(builder());
    abecs_cmd_builder_set_cmd_id(builder(), "CLX");
    EXPECT_EQ("CLX", build());
}

TEST_F(Builder, ChecksTheLengthOfTheIdentifierWhenItIsSet) {
    EXPECT_FAILURE(abecs_cmd_builder_set_cmd_id(builder(), nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'cmdId' is NULL");
    for (const char *id : {"", "GC", "GCDX"}) {
        EXPECT_FAILURE(abecs_cmd_builder_set_cmd_id(builder(), id), PCL_RESULT_ILLEGAL_ARGUMENT,
                       std::string("Invalid 'cmdId': ") + id);
    }
}

TEST_F(Builder, ChecksTheCharactersOfTheIdentifierWhenItIsBuilt) {
    EXPECT_NO_FAILURE(abecs_cmd_builder_set_cmd_id(builder(), "G\tD"));
    EXPECT_FAILURE(build(), PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid character (0x09) at position 1");
}

TEST_F(Builder, NeedsAFreshIdentifierForEachCommand) {
    const char *none = "Builder does not have assigned a command id";
    EXPECT_FAILURE(build(), PCL_RESULT_ILLEGAL_STATE, none);
    abecs_cmd_builder_set_cmd_id(builder(), "CLX");
    add(1, "x");
    EXPECT_EQ("CLX005" + record(1, "x"), build());
    EXPECT_FAILURE(build(), PCL_RESULT_ILLEGAL_STATE, none);
    abecs_cmd_builder_set_cmd_id(builder(), "MLE");
    EXPECT_EQ("MLE", build());
}

TEST_F(Builder, DropsWhatThePacketHeld) {
    abecsFieldPutBytes(packet(), "old", 3);
    abecs_cmd_builder_set_cmd_id(builder(), "MLE");
    EXPECT_EQ("MLE", build());
}

TEST_F(Builder, ReadsTheIdentifierOfAPacketWithoutConsumingIt) {
    char id[4];
    abecsFieldPutBytes(packet(), "CLO032", 6);
    EXPECT_STREQ("CLO", abecs_packet_get_cmd_id(packet(), id, sizeof id));
    EXPECT_EQ(6U, abecsPacketAvailable(packet()));
    EXPECT_FAILURE(abecs_packet_get_cmd_id(packet(), id, 3), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "sizeTo (3) is not enough to store field data");
    EXPECT_FAILURE(abecs_packet_get_cmd_id(nullptr, id, 4), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'packet' is NULL");
    EXPECT_FAILURE(abecs_packet_get_cmd_id(packet(), nullptr, 4), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'out' is NULL");
}

TEST_F(Builder, ChecksForNull) {
    EXPECT_FAILURE(abecs_cmd_builder_build(nullptr, packet()), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'builder' is NULL");
    EXPECT_FAILURE(abecs_cmd_builder_build(builder(), nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'out' is NULL");
    EXPECT_NO_FAILURE(abecs_cmd_builder_destroy(nullptr));
    AbecsCmdBuilder *none = nullptr;
    EXPECT_NO_FAILURE(abecs_cmd_builder_destroy(&none));
}

} // namespace
