#include "sim/abecs_frame.h"
#include "sim/crc16.h"
#include "tests/sim/host.h"

#include <gtest/gtest.h>

namespace {

using sim::Bytes;
using sim::FrameReader;
using sim_test::bytes;

// Feeds a whole frame, SYN included; returns the result of the last byte.
FrameReader::Result feed(FrameReader &reader, const Bytes &frame) {
    reader.begin();
    FrameReader::Result result = FrameReader::Result::more;
    for (std::size_t i = 1; i < frame.size(); ++i) {
        EXPECT_EQ(result, FrameReader::Result::more) << "ended before byte " << i;
        result = reader.feed(frame[i]);
    }
    return result;
}

TEST(FrameCheck, MatchesPublishedVectors) {
    EXPECT_EQ(sim::crc16(bytes("123456789")), 0x31C3);
    EXPECT_EQ(sim::crc16({}), 0x0000);
    EXPECT_EQ(sim::crc16(bytes("A")), 0x58E5);
}

TEST(Frame, OfAPlainOpenIsTheseBytes) {
    // CRC of "OPN" and ETB.
    const Bytes expected{0x16, 'O', 'P', 'N', 0x17, 0xA8, 0xA9};
    EXPECT_EQ(sim::encode_frame(bytes("OPN"), false), expected);
}

TEST(Frame, StuffsThreeBytesAndNoOthers) {
    const Bytes body{0x12, 0x13, 0x16, 0x17, 0x18, 0x06, 0x15, 0x04};
    const Bytes frame = sim::encode_frame(body, false);
    const Bytes stuffed(frame.begin() + 1, frame.end() - 3);
    EXPECT_EQ(stuffed, (Bytes{0x12, 0x13, 0x33, 0x13, 0x36, 0x13, 0x37, 0x18, 0x06, 0x15, 0x04}));
}

TEST(Frame, CrcCoversTheUnstuffedBodyAndEtb) {
    const Bytes frame = sim::encode_frame({0x13}, false);
    const std::uint16_t crc = sim_test::crc({0x13, 0x17});
    EXPECT_EQ(frame[frame.size() - 2], crc >> 8);
    EXPECT_EQ(frame.back(), crc & 0xFF);
}

TEST(Frame, CrcOfAnEncryptedFrameCoversTheMarker) {
    const Bytes frame = sim::encode_frame({0x41}, true);
    EXPECT_EQ(frame[1], 0x12);
    const std::uint16_t crc = sim_test::crc({0x12, 0x41, 0x17});
    EXPECT_EQ(frame[frame.size() - 2], crc >> 8);
    EXPECT_EQ(frame.back(), crc & 0xFF);
}

TEST(Frame, EveryByteSurvivesBothWays) {
    Bytes body;
    for (unsigned byte = 0; byte < 256; ++byte)
        body.push_back(static_cast<std::uint8_t>(255 - byte));
    FrameReader reader;
    ASSERT_EQ(feed(reader, sim_test::frame(body)), FrameReader::Result::good);
    EXPECT_EQ(reader.body(), body);
    EXPECT_FALSE(reader.encrypted());
    EXPECT_EQ(sim::encode_frame(body, true), sim_test::frame(body, true));
}

TEST(FrameReader, TakesDc2AsMarkerOnlyRightAfterSyn) {
    FrameReader reader;
    ASSERT_EQ(feed(reader, sim_test::frame({0x41, 0x12}, true)), FrameReader::Result::good);
    EXPECT_TRUE(reader.encrypted());
    EXPECT_EQ(reader.body(), (Bytes{0x41, 0x12}));
}

TEST(FrameReader, RefusesAWrongCrc) {
    Bytes frame = sim_test::frame(bytes("OPN"));
    frame.back() ^= 0x01;
    FrameReader reader;
    EXPECT_EQ(feed(reader, frame), FrameReader::Result::bad);
    EXPECT_FALSE(reader.active());
}

TEST(FrameReader, StartsOverAtASynInsideTheData) {
    Bytes twice{0x16, 'D', 'E'};
    const Bytes whole = sim_test::frame(bytes("OPN"));
    twice.insert(twice.end(), whole.begin(), whole.end());
    FrameReader reader;
    ASSERT_EQ(feed(reader, twice), FrameReader::Result::good);
    EXPECT_EQ(reader.body(), bytes("OPN"));
    EXPECT_EQ(reader.raw(), whole);
}

TEST(FrameReader, GivesUpAFrameWithoutEnd) {
    FrameReader reader;
    reader.begin();
    std::size_t taken = 0;
    while (reader.feed('A') == FrameReader::Result::more)
        ++taken;
    EXPECT_EQ(taken, 8192U);
    EXPECT_FALSE(reader.active());
}

} // namespace
