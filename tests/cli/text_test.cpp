#include "cli/problem.h"
#include "cli/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using cli::fromDevice;
using cli::fromDeviceVisibly;
using cli::LineBreaks;
using cli::toDevice;
using cli::UsageError;
using testing::HasSubstr;
using testing::ThrowsMessage;

std::string convert(const std::string &text, LineBreaks lineBreaks = LineBreaks::Allowed) {
    return toDevice(text, "text", 160, lineBreaks);
}

TEST(Text, TakesEveryCharacterOfTheDevice) {
    std::string text;
    std::string bytes;
    for (unsigned value = 0x20; value <= 0xFF; ++value) {
        if (value == '\\') {
            continue;
        }
        const std::string byte(1, static_cast<char>(value));
        bytes += byte;
        text += fromDevice(byte);
    }
    EXPECT_EQ(toDevice(text, "text", 300, LineBreaks::Refused), bytes);
}

TEST(Text, ConvertsAccents) {
    EXPECT_EQ(convert("ol\xC3\xA1"), "ol\xE1");
    EXPECT_EQ(fromDevice("ol\xE1"), "ol\xC3\xA1");
}

TEST(Text, KnowsLineBreaksAndBackslashes) {
    EXPECT_EQ(convert("a\nb"), "a\rb");
    EXPECT_EQ(convert("a\r\nb"), "a\rb");
    EXPECT_EQ(convert("a\\nb"), "a\rb");
    EXPECT_EQ(convert("a\\\\nb"), "a\\nb");
    EXPECT_EQ(fromDevice("a\rb"), "a\nb");
}

TEST(Text, RefusesLineBreaksWhereThereAreNone) {
    EXPECT_THAT([] { convert("a\nb", LineBreaks::Refused); },
                ThrowsMessage<UsageError>(HasSubstr("cannot have line breaks")));
}

TEST(Text, RefusesWhatTheDeviceCannotShow) {
    EXPECT_THAT([] { convert("\xE2\x82\xAC"); },
                ThrowsMessage<UsageError>(HasSubstr("'\xE2\x82\xAC' (U+20AC)")));
    EXPECT_THAT([] { convert("\xF0\x9F\x98\x80"); },
                ThrowsMessage<UsageError>(HasSubstr("(U+1F600)")));
    EXPECT_THAT([] { convert("\xC4\x80"); }, ThrowsMessage<UsageError>(HasSubstr("(U+0100)")));
    EXPECT_THAT([] { convert("a\tb"); }, ThrowsMessage<UsageError>(HasSubstr("(U+0009)")));
}

TEST(Text, RefusesMalformedUtf8) {
    for (const char *text :
         {"\xE1", "a\x80", "\xC3", "\xC3z", "\xC1\xA1", "\xE0\x83\xA1", "\xFF"}) {
        EXPECT_THAT([&] { convert(text); }, ThrowsMessage<UsageError>(HasSubstr("UTF-8")));
    }
}

TEST(Text, CountsCharactersAndNotBytes) {
    EXPECT_EQ(toDevice("\xC3\xA1\xC3\xA1", "text", 2, LineBreaks::Refused).size(), 2U);
    EXPECT_THAT([] { toDevice("abc", "text", 2, LineBreaks::Refused); },
                ThrowsMessage<UsageError>(HasSubstr("too long: 3 characters, at most 2")));
}

TEST(Text, ShowsWhatIsNoUtf8) {
    EXPECT_EQ(cli::visible("\xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x98\x80 \\"),
              "\xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x98\x80 \\");
    EXPECT_EQ(cli::visible("a\nb\rc\x1B\x7F\xC2\x9B"), "a\\x0Ab\\rc\\x1B\\x7F\\x9B");
    EXPECT_EQ(cli::visible("\xE9\xC3"), "\\xE9\\xC3");
    EXPECT_EQ(cli::visible("\xED\xA0\x80"), "\\xED\\xA0\\x80");
    EXPECT_EQ(cli::visible("\xF4\x90\x80\x80"), "\\xF4\\x90\\x80\\x80");
    EXPECT_EQ(cli::visible("\xE2\x80\xAE\xD8\x9C"), "\\u202E\\u061C");
    EXPECT_EQ(cli::asUtf8("a\nb\x1B\xC2\x9B\xFF"), "a\nb\x1B\xC2\x9B\\xFF");
}

TEST(Text, MasksKeys) {
    EXPECT_EQ(cli::withoutKeys("not expected: A:FFFFFFFFFFFF"), "not expected: A:**");
    EXPECT_EQ(cli::withoutKeys("--key=b:0123"), "--key=b:**");
    EXPECT_EQ(cli::withoutKeys("A0A1A2A3A4A5 A0A1A2A3A4A5FF"), "** **");
    EXPECT_EQ(cli::withoutKeys("b:FFFFFFOFFFFF 'FFFFFFOFFFFF' FFFFFFFFFFF"), "b:** '**' **");
    EXPECT_EQ(cli::withoutKeys("media:5 A: /tmp/decade.txt"), "media:5 A: /tmp/decade.txt");
    EXPECT_EQ(cli::withoutKeys("There is no command 'dance'."), "There is no command 'dance'.");
}

TEST(Text, ShowsControlCharactersInsteadOfObeyingThem) {
    EXPECT_EQ(fromDeviceVisibly("a\x1B[2J\r\x9B\x7F\xE9"), "a\\x1B[2J\\r\\x9B\\x7F\xC3\xA9");
}

} // namespace
