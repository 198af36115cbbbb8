#include "core/byteorder.h"

#include <gtest/gtest.h>

TEST(ByteOrder, TheHostIsLittleEndian) {
    EXPECT_EQ(pcl_host_is_little_endian(), 1);
}

TEST(ByteOrder, SixteenBits) {
    EXPECT_EQ(pcl_htobe16(0x1234), 0x3412);
    EXPECT_EQ(pcl_be16toh(0x3412), 0x1234);
    EXPECT_EQ(pcl_htobe16(0xFF00), 0x00FF);
    EXPECT_EQ(pcl_htole16(0x1234), 0x1234);
    EXPECT_EQ(pcl_le16toh(0x8001), 0x8001);
}

TEST(ByteOrder, ThirtyTwoBits) {
    EXPECT_EQ(pcl_htobe32(0x12345678U), 0x78563412U);
    EXPECT_EQ(pcl_be32toh(0x78563412U), 0x12345678U);
    EXPECT_EQ(pcl_htobe32(0xFF000080U), 0x800000FFU);
    EXPECT_EQ(pcl_htole32(0x12345678U), 0x12345678U);
    EXPECT_EQ(pcl_le32toh(0x80000001U), 0x80000001U);
}
