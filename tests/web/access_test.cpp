#include "sim/web/access.h"

#include <gtest/gtest.h>

namespace {

using sim::web::Access;

TEST(AccessTest, TheNamesOfThisMachineWithTheRightPortAreTaken) {
    const Access access("127.0.0.1", 8080);
    EXPECT_TRUE(access.host_allowed("localhost:8080"));
    EXPECT_TRUE(access.host_allowed("LocalHost:8080"));
    EXPECT_TRUE(access.host_allowed("127.0.0.1:8080"));
    EXPECT_TRUE(access.host_allowed("[::1]:8080"));
}

TEST(AccessTest, OtherNamesAndPortsAreNotTaken) {
    const Access access("127.0.0.1", 8080);
    EXPECT_FALSE(access.host_allowed("evil.example:8080"));
    EXPECT_FALSE(access.host_allowed("localhost.evil.example:8080"));
    EXPECT_FALSE(access.host_allowed("localhost:8081"));
    EXPECT_FALSE(access.host_allowed("localhost"));
    EXPECT_FALSE(access.host_allowed("127.0.0.2:8080"));
    EXPECT_FALSE(access.host_allowed(":8080"));
    EXPECT_FALSE(access.host_allowed(""));
    EXPECT_FALSE(access.host_allowed("user@localhost:8080"));
}

TEST(AccessTest, ThePortMayBeLeftOutWhereItIsThatOfTheProtocol) {
    EXPECT_TRUE(Access("127.0.0.1", 80).host_allowed("localhost"));
    EXPECT_TRUE(Access("127.0.0.1", 80).host_allowed("localhost:80"));
}

TEST(AccessTest, TheBoundAddressIsTaken) {
    EXPECT_TRUE(Access("192.0.2.7", 80).host_allowed("192.0.2.7"));
    EXPECT_TRUE(Access("192.0.2.7", 8080).host_allowed("192.0.2.7:8080"));
    EXPECT_FALSE(Access("192.0.2.7", 8080).host_allowed("192.0.2.8:8080"));
    EXPECT_TRUE(Access("2001:db8::7", 8080).host_allowed("[2001:db8:0::7]:8080"));
    EXPECT_FALSE(Access("2001:db8::7", 8080).host_allowed("2001:db8::7:8080"));
}

TEST(AccessTest, BoundToEveryAddressItGoesByAnyAddressButByNoName) {
    const Access access("0.0.0.0", 8080);
    EXPECT_TRUE(access.host_allowed("192.0.2.7:8080"));
    EXPECT_FALSE(access.host_allowed("pinpad.example:8080"));
}

TEST(AccessTest, OnlyAPageOfThisServerIsTheRightOrigin) {
    EXPECT_TRUE(Access::origin_allowed("http://localhost:8080", "localhost:8080"));
    EXPECT_TRUE(Access::origin_allowed("http://LOCALHOST:8080", "localhost:8080"));
    EXPECT_FALSE(Access::origin_allowed("https://localhost:8080", "localhost:8080"));
    EXPECT_FALSE(Access::origin_allowed("http://localhost:8081", "localhost:8080"));
    EXPECT_FALSE(Access::origin_allowed("http://evil.example", "localhost:8080"));
    EXPECT_FALSE(Access::origin_allowed("null", "localhost:8080"));
    EXPECT_FALSE(Access::origin_allowed("", "localhost:8080"));
}

} // namespace
