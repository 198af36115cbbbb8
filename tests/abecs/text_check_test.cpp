#include "abecs/text_check.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

namespace {

TEST(TextCheck, TakesADigitTextBetweenItsLimits) {
    EXPECT_EQ(3U, abecsCheckDigitString("012", "code", 3, 3));
    EXPECT_EQ(0U, abecsCheckDigitString("", "code", 3, 0));
    EXPECT_FAILURE(abecsCheckDigitString(nullptr, "code", 3, 0), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'code' is NULL");
    EXPECT_FAILURE(abecsCheckDigitString("01x4", "code", 3, 0), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'code' is too long (maximum: 3, requested: 4)");
    EXPECT_FAILURE(abecsCheckDigitString("x", "code", 3, 2), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'code' is too short (minimum: 2, requested: 1)");
    EXPECT_FAILURE(abecsCheckDigitString("0\xE9", "code", 3, 2), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "code: invalid char (0xE9) at index 1");
}

TEST(TextCheck, FindsTheFirstBadCharacter) {
    std::size_t bad = 99;
    EXPECT_EQ(1, abecsIsDigits("0123456789", 10, &bad));
    EXPECT_EQ(99U, bad);
    EXPECT_EQ(0, abecsIsDigits("01a3b", 5, &bad));
    EXPECT_EQ(2U, bad);
    EXPECT_EQ(0, abecsIsDigits("01a", 3, nullptr));
    EXPECT_EQ(1, abecsIsDigits("01a", 2, nullptr));
    EXPECT_EQ(1, abecsIsAlnum("azAZ09", 6, &bad));
    EXPECT_EQ(0, abecsIsAlnum("az_", 3, &bad));
    EXPECT_EQ(2U, bad);
}

TEST(TextCheck, TellsCharacterClasses) {
    int alnum = 0;
    for (int c = -128; c < 128; ++c) {
        alnum += abecsIsAlnumChar(static_cast<signed char>(c));
    }
    EXPECT_EQ(62, alnum);
    EXPECT_EQ(0, abecsIsAlnumChar(static_cast<signed char>(0xE9)));
    EXPECT_EQ(1, abecsIsHexText(""));
    EXPECT_EQ(1, abecsIsHexText("0189abfABF"));
    EXPECT_EQ(0, abecsIsHexText("0G"));
    EXPECT_EQ(0, abecsIsHexText("g0"));
}

} // namespace
