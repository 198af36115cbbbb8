#include "core/string.h"
#include "core/string_list.h"

#include "core/list.h"
#include "core/set.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

/// The hash written out as the sum that it is.
std::uint32_t hashAsSum(const std::string &text) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::uint32_t power = 1;
        for (std::size_t e = 0; e < text.size() - 1 - i; ++e) {
            power *= 31;
        }
        sum += static_cast<std::uint32_t>(static_cast<signed char>(text[i])) * power;
    }
    return sum;
}

} // namespace

TEST(Snprintf, FormatsAndReturnsTheDestination) {
    char to[16];
    EXPECT_EQ(pcl_snprintf(to, sizeof to, "%s-%d", "a", 5), to);
    EXPECT_STREQ(to, "a-5");
}

TEST(Snprintf, CutsAndAlwaysEndsTheBuffer) {
    char to[5];
    std::memset(to, 'x', sizeof to);
    pcl_snprintf(to, sizeof to, "%s", "abcdefgh");
    EXPECT_STREQ(to, "abcd");

    std::memset(to, 'x', sizeof to);
    pcl_snprintf(to, sizeof to, "%s", "a");
    EXPECT_STREQ(to, "a");
    EXPECT_EQ(to[4], '\0');

    char one[1] = {'x'};
    pcl_snprintf(one, sizeof one, "%s", "abc");
    EXPECT_EQ(one[0], '\0');
}

TEST(Snprintf, WritesNothingIntoNoRoom) {
    char to[1] = {'x'};
    EXPECT_EQ(pcl_snprintf(to, 0, "%s", "abc"), to);
    EXPECT_EQ(to[0], 'x');
}

TEST(Snprintf, ChecksItsArguments) {
    char *missing = nullptr;
    EXPECT_FAILURE(pcl_snprintf(missing, 8, "%d", 1), PCL_RESULT_ILLEGAL_ARGUMENT, "'to' is NULL");

    char text[16] = "text";
    const char *format = text;
    std::va_list none{};
    EXPECT_FAILURE(pcl_vsnprintf(text, sizeof text, format, none), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'to' and 'format' points to the same buffer");
    EXPECT_STREQ(text, "text");

    const ScopedHandler handler;
    EXPECT_EQ(pcl_snprintf(missing, 8, "%d", 1), nullptr);
    EXPECT_EQ(pcl_vsnprintf(text, sizeof text, format, none), text);
    EXPECT_EQ(handler.count(), 2U);
}

TEST(StringHash, IsThePolynomial) {
    EXPECT_EQ(pcl_string_hash(nullptr), 0U);
    EXPECT_EQ(pcl_string_hash(""), 0U);
    EXPECT_EQ(pcl_string_hash("a"), 97U);
    EXPECT_EQ(pcl_string_hash("ab"), 3105U);
    const std::string longText = "the quick brown fox jumps over the lazy dog";
    EXPECT_EQ(pcl_string_hash(longText.c_str()), hashAsSum(longText));
}

TEST(StringHash, HighBytesAreNegative) {
    EXPECT_EQ(pcl_string_hash("\x80"), 0xFFFFFF80U);
    EXPECT_EQ(pcl_string_hash("\xFF"), 0xFFFFFFFFU);
    EXPECT_EQ(pcl_string_hash("a\xFF"), 97U * 31U - 1U);
    EXPECT_EQ(pcl_string_hash("\xE7\xE3o"), hashAsSum("\xE7\xE3o"));
}

TEST(StringElement, EqualityIsAwareOfNull) {
    EXPECT_TRUE(pcl_string_equals("abc", std::string("abc").c_str()));
    EXPECT_FALSE(pcl_string_equals("abc", "abd"));
    EXPECT_FALSE(pcl_string_equals("abc", "ab"));
    EXPECT_TRUE(pcl_string_equals(nullptr, nullptr));
    EXPECT_FALSE(pcl_string_equals(nullptr, ""));
    EXPECT_FALSE(pcl_string_equals("", nullptr));
}

TEST(StringElement, CopyIsIndependent) {
    char original[] = "text";
    void *copy = pcl_string_copy(original);
    original[0] = 'n';
    EXPECT_STREQ(static_cast<const char *>(copy), "text");
    pcl_string_delete(copy);
    EXPECT_EQ(pcl_string_copy(nullptr), nullptr);
    pcl_string_delete(nullptr);
}

TEST(StringList, HoldsTexts) {
    PclList *list = pcl_string_list_create();
    pcl_list_append(list, "first");
    pcl_list_append(list, "second");
    EXPECT_EQ(pcl_list_count(list), 2U);
    std::uint32_t index = 9;
    const PclListNode *node = pcl_list_find_first(list, std::string("second").c_str(), &index);
    ASSERT_NE(node, nullptr);
    EXPECT_STREQ(static_cast<const char *>(pcl_list_node_item(node)), "second");
    EXPECT_EQ(index, 1U);
    pcl_list_destroy(&list);
}

TEST(StringSet, HoldsEachTextOnce) {
    PclSet *set = pcl_string_set_create(2);
    pcl_set_add(set, "one");
    pcl_set_add(set, std::string("one").c_str());
    pcl_set_add(set, "two");
    EXPECT_EQ(pcl_set_count(set), 2U);
    EXPECT_EQ(pcl_set_contains(set, "two"), 1);
    EXPECT_EQ(pcl_set_contains(set, "three"), 0);
    EXPECT_EQ(pcl_set_remove(set, "two"), 1);
    EXPECT_EQ(pcl_set_contains(set, "two"), 0);
    pcl_set_destroy(&set);
}

TEST(StringSet, RefusesTooSmallACapacity) {
    EXPECT_FAILURE(pcl_string_set_create(1), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "Invalid 'initialCapacity': 1");
}
