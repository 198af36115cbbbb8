#include "sim/ext_frame.h"
#include "tests/sim/ext_host.h"

#include <gtest/gtest.h>

namespace {

using sim::Bytes;
using sim::ExtFrameReader;
using sim_test::bytes;
using sim_test::ext_frame;

// Feeds a whole frame, STX included; returns the result of the last byte.
ExtFrameReader::Result feed(ExtFrameReader &reader, const Bytes &frame) {
    reader.begin();
    ExtFrameReader::Result result = ExtFrameReader::Result::more;
    for (std::size_t i = 1; i < frame.size(); ++i) {
        EXPECT_EQ(result, ExtFrameReader::Result::more) << "ended before byte " << i;
        result = reader.feed(frame[i]);
    }
    return result;
}

TEST(ExtFrame, OfAnActivationIsTheseBytes) {
    const Bytes expected{0x02, 0x00, 0x09, 'M', 'F', '0', '1', 0x03, 0x02};
    EXPECT_EQ(sim::encode_ext_frame(bytes("MF01")), expected);
}

TEST(ExtFrame, LengthTakesTwoBytesHighFirst) {
    const Bytes frame = sim::encode_ext_frame(Bytes(0x1FB, 'x'));
    EXPECT_EQ(frame.size(), 0x200U);
    EXPECT_EQ(frame[1], 0x02);
    EXPECT_EQ(frame[2], 0x00);
}

TEST(ExtFrame, EveryByteSurvivesAsItIs) {
    std::string body;
    for (unsigned byte = 0; byte < 256; ++byte)
        body.push_back(static_cast<char>(byte));
    EXPECT_EQ(sim::encode_ext_frame(bytes(body)), ext_frame(body));
    ExtFrameReader reader;
    EXPECT_EQ(feed(reader, ext_frame(body)), ExtFrameReader::Result::good);
    EXPECT_EQ(reader.body(), bytes(body));
    EXPECT_EQ(reader.raw(), ext_frame(body));
    EXPECT_FALSE(reader.active());
}

TEST(ExtFrame, AnEmptyBodyIsAFrame) {
    ExtFrameReader reader;
    EXPECT_EQ(feed(reader, ext_frame("")), ExtFrameReader::Result::good);
    EXPECT_TRUE(reader.body().empty());
}

TEST(ExtFrame, AWrongCheckByteIsBad) {
    Bytes frame = ext_frame("MF01");
    frame.back() ^= 0x01;
    ExtFrameReader reader;
    EXPECT_EQ(feed(reader, frame), ExtFrameReader::Result::bad);
}

TEST(ExtFrame, AnotherByteInThePlaceOfEtxIsBad) {
    ExtFrameReader reader;
    EXPECT_EQ(feed(reader, {0x02, 0x00, 0x06, 'M', 0x04}), ExtFrameReader::Result::bad);
    EXPECT_FALSE(reader.active());
}

TEST(ExtFrame, ALengthBelowTheFrameItselfIsBad) {
    ExtFrameReader reader;
    EXPECT_EQ(feed(reader, {0x02, 0x00, 0x04}), ExtFrameReader::Result::bad);
}

TEST(ExtFrame, ALengthBeyondTheDevicesRoomIsBad) {
    ExtFrameReader reader;
    EXPECT_EQ(feed(reader, {0x02, 0x10, 0x05}), ExtFrameReader::Result::more);
    EXPECT_EQ(feed(reader, {0x02, 0x10, 0x06}), ExtFrameReader::Result::bad);
}

} // namespace
