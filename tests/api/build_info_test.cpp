#include "api/build_info.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using testing::MatchesRegex;

TEST(BuildInfo, HasTheTimeOfTheBuild) {
    EXPECT_THAT(pinpad_build_date(),
                MatchesRegex("20[0-9][0-9]-[01][0-9]-[0-3][0-9] [0-2][0-9]:[0-5][0-9]:[0-5][0-9] "
                             "UTC"));
}

TEST(BuildInfo, HasTheRevision) {
    EXPECT_EQ(40U, std::string(pinpad_source_revision()).size());
    EXPECT_THAT(pinpad_source_revision(), MatchesRegex("[0-9a-f]+"));
}

TEST(BuildInfo, HasTheVersionWithTheRevisionsFirstDigits) {
    EXPECT_THAT(pinpad_version(), MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+-[0-9]+-g[0-9a-f]+"));
    const std::string version = pinpad_version();
    EXPECT_EQ(std::string(pinpad_source_revision()).substr(0, 7),
              version.substr(version.rfind('g') + 1));
}

TEST(BuildInfo, ReadsTheFlag) {
    EXPECT_EQ(1, pinpad_build_flag());
    EXPECT_EQ(0, pinpad_build_flag_of(0));
    EXPECT_EQ(1, pinpad_build_flag_of(1));
    EXPECT_EQ(-1, pinpad_build_flag_of(2));
    EXPECT_EQ(-1, pinpad_build_flag_of(-1));
}

} // namespace
