#include "cli/problem.h"
#include "cli/words.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using cli::splitWords;
using cli::UsageError;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Words, AreSeparatedByBlanks) {
    EXPECT_THAT(splitWords("  display \t HELLO  "), ElementsAre("display", "HELLO"));
    EXPECT_THAT(splitWords(""), IsEmpty());
    EXPECT_THAT(splitWords(" \t\r\n"), IsEmpty());
}

TEST(Words, EndWithTheLineOfAnotherSystem) {
    EXPECT_THAT(splitWords("open\r"), ElementsAre("open"));
}

TEST(Words, CanBeQuoted) {
    EXPECT_THAT(splitWords(R"(display 'BOM DIA' "A \"B\" \\ \n")"),
                ElementsAre("display", "BOM DIA", R"(A "B" \ \n)"));
    EXPECT_THAT(splitWords(R"(a'b c'd"e f"g)"), ElementsAre("ab cde fg"));
    EXPECT_THAT(splitWords(R"(display '' "")"), ElementsAre("display", "", ""));
    EXPECT_THAT(splitWords(R"('\n' a\ b \#)"), ElementsAre("\\n", "a b", "#"));
}

TEST(Words, EndAtAComment) {
    EXPECT_THAT(splitWords("open # it"), ElementsAre("open"));
    EXPECT_THAT(splitWords("# all of it"), IsEmpty());
    EXPECT_THAT(splitWords("image A#1 '#'"), ElementsAre("image", "A#1", "#"));
}

TEST(Words, MustBeComplete) {
    EXPECT_THROW(splitWords("display 'HELLO"), UsageError);
    EXPECT_THROW(splitWords("display \"HELLO"), UsageError);
    EXPECT_THROW(splitWords("display HELLO\\"), UsageError);
}

} // namespace
