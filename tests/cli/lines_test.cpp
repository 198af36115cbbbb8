#include "cli/lines.h"
#include "cli/problem.h"
#include "tests/cli/tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

namespace {

using cli::Lines;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::ThrowsMessage;

// Hands out these pieces, then fails when told so.
Lines::Read readerOfPieces(std::vector<std::string> pieces, bool fails = false) {
    return [pieces = std::move(pieces), fails, at = std::size_t{0}]() mutable -> std::string {
        if (at == pieces.size()) {
            if (fails) {
                throw std::runtime_error("broken");
            }
            return "";
        }
        return pieces[at++];
    };
}

std::vector<std::string> all(Lines lines) {
    std::vector<std::string> found;
    while (const std::optional<std::string> line = lines.next()) {
        found.push_back(*line);
    }
    return found;
}

TEST(Lines, AreWholeHoweverTheyCome) {
    EXPECT_THAT(all(Lines(readerOfPieces({"a", "b\nc", "\n\nd\ne"}))),
                ElementsAre("ab", "c", "", "d", "e"));
    EXPECT_THAT(all(Lines(readerOfPieces({"a\n"}))), ElementsAre("a"));
    EXPECT_THAT(all(Lines(readerOfPieces({}))), ElementsAre());
}

TEST(Lines, HaveAGreatestLength) {
    const std::string longest(Lines::LONGEST, 'x');
    EXPECT_THAT(all(Lines(readerOfPieces({longest, "\n", longest}))),
                ElementsAre(longest, longest));
    for (const std::vector<std::string> &pieces :
         {std::vector<std::string>{longest, "y"}, {longest, "y\n"}, {longest + "y\n"}}) {
        Lines lines(readerOfPieces(pieces));
        EXPECT_THAT([&] { lines.next(); },
                    ThrowsMessage<cli::UsageError>(HasSubstr("more than 65536 bytes")));
    }
}

TEST(Lines, WithoutAnEndAreNotReadToTheirEnd) {
    std::size_t pieces = 0;
    Lines lines([&] {
        ++pieces;
        return std::string(4096, 'x');
    });
    EXPECT_THROW(lines.next(), cli::UsageError);
    EXPECT_EQ(pieces, Lines::LONGEST / 4096 + 1);
}

TEST(Lines, PassAFailureOnThatComesAfterSomeOfThem) {
    Lines lines(readerOfPieces({"a\nb"}, true));
    EXPECT_EQ(lines.next(), "a");
    EXPECT_THROW(lines.next(), std::runtime_error);
}

TEST(Lines, ComeFromAFile) {
    const std::string content = std::string(10000, 'x') + "\r\n\nlast";
    const tool::TemporaryFile file(content);
    EXPECT_THAT(all(Lines(cli::readerOf(file.path()))),
                ElementsAre(std::string(10000, 'x') + "\r", "", "last"));
}

TEST(Lines, FailWhereAFileCannotBeRead) {
    for (const char *path : {"/tmp", "/proc/self/mem", "/nowhere/x"}) {
        Lines lines(cli::readerOf(path));
        EXPECT_THROW(lines.next(), std::system_error) << path;
    }
}

} // namespace
