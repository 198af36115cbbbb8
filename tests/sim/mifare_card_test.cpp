#include "sim/mifare_card.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

using sim::MifareCard;
using Result = MifareCard::Result;
using KeyKind = MifareCard::KeyKind;
using Block = MifareCard::Block;

constexpr MifareCard::Uid uid{0x04, 0xA1, 0xB2, 0xC3};
constexpr MifareCard::Key factory{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
constexpr MifareCard::Key key_a{0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5};
constexpr MifareCard::Key key_b{0xB0, 0xB1, 0xB2, 0xB3, 0xB4, 0xB5};

MifareCard::Access flags(unsigned bits) {
    return {(bits & 4) != 0, (bits & 2) != 0, (bits & 1) != 0};
}

// A card whose block 4 has these access bits and holds a value, in a sector whose key B cannot be
// read, with one of its keys proved.
MifareCard card_with(unsigned bits, KeyKind kind) {
    MifareCard card(uid);
    card.set_key(1, KeyKind::a, key_a);
    card.set_key(1, KeyKind::b, key_b);
    card.set_access(4, flags(bits));
    card.set_access(7, flags(3));
    card.set_value(4, 100);
    card.set_value(5, 0);
    EXPECT_EQ(card.authenticate(4, kind, kind == KeyKind::a ? key_a : key_b), Result::ok);
    return card;
}

// Which of the operations the card allows: r, w, i(ncrement), d(ecrement), c(opy).
std::string allowed_on_data(unsigned bits, KeyKind kind) {
    std::string allowed;
    Block content{};
    std::int32_t value = 0;
    if (card_with(bits, kind).read(4, content) == Result::ok)
        allowed += 'r';
    if (card_with(bits, kind).write(4, content) == Result::ok)
        allowed += 'w';
    if (card_with(bits, kind).increment(4, 5, 1, value) == Result::ok)
        allowed += 'i';
    if (card_with(bits, kind).decrement(4, 5, 1, value) == Result::ok)
        allowed += 'd';
    if (card_with(bits, kind).copy(4, 5, value) == Result::ok)
        allowed += 'c';
    return allowed;
}

// A card with these access bits on the trailer of sector 1.
MifareCard card_with_trailer(unsigned bits, KeyKind kind) {
    MifareCard card(uid);
    card.set_key(1, KeyKind::a, key_a);
    card.set_key(1, KeyKind::b, key_b);
    card.set_access(7, flags(bits));
    EXPECT_EQ(card.authenticate(7, kind, kind == KeyKind::a ? key_a : key_b), Result::ok);
    return card;
}

// Which parts of a trailer change when all of it is written: A, x (access bits), B.
std::string written_of_trailer(unsigned bits, KeyKind kind) {
    MifareCard card = card_with_trailer(bits, kind);
    const Block before = card.content(7);
    Block wanted{};
    wanted.fill(0x55);
    card.write(7, wanted);
    const Block &after = card.content(7);
    std::string written;
    if (after.at(0) != before.at(0))
        written += 'A';
    if (after.at(6) != before.at(6))
        written += 'x';
    if (after.at(10) != before.at(10))
        written += 'B';
    return written;
}

// Which parts can be read.
std::string read_of_trailer(unsigned bits, KeyKind kind) {
    MifareCard card = card_with_trailer(bits, kind);
    Block content{};
    if (card.read(7, content) != Result::ok)
        return "";
    std::string read;
    if (content.at(0) != 0)
        read += 'A';
    if (content.at(9) == 0x69)
        read += 'x';
    if (content.at(10) != 0)
        read += 'B';
    return read;
}

TEST(MifareCard, ComesFromTheFactoryWithItsNumberAndFreeAccess) {
    const MifareCard card(uid);
    const Block &first = card.content(0);
    EXPECT_EQ((std::array<std::uint8_t, 5>{first[0], first[1], first[2], first[3], first[4]}),
              (std::array<std::uint8_t, 5>{0x04, 0xA1, 0xB2, 0xC3, 0xD4}));
    const Block trailer{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x07,
                        0x80, 0x69, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    for (std::size_t sector = 0; sector < MifareCard::sector_count; ++sector)
        EXPECT_EQ(card.content(sector * 4 + 3), trailer);
    EXPECT_EQ(card.content(62), Block{});
}

TEST(MifareCard, AllowsNothingBeforeAKeyIsProved) {
    MifareCard card(uid);
    Block content{};
    std::int32_t value = 0;
    MifareCard::Access access;
    EXPECT_EQ(card.read(4, content), Result::not_authenticated);
    EXPECT_EQ(card.write(4, content), Result::not_authenticated);
    EXPECT_EQ(card.read_value(4, value), Result::not_authenticated);
    EXPECT_EQ(card.write_value(4, 1), Result::not_authenticated);
    EXPECT_EQ(card.increment(4, 5, 1, value), Result::not_authenticated);
    EXPECT_EQ(card.read_access(4, access), Result::not_authenticated);
    EXPECT_EQ(card.configure(4, key_a, key_b, access), Result::not_authenticated);
    EXPECT_EQ(card.change_keys(4, key_a, key_b), Result::not_authenticated);
}

TEST(MifareCard, AKeyOpensItsSectorOnly) {
    MifareCard card(uid);
    Block content{};
    ASSERT_EQ(card.authenticate(5, KeyKind::a, factory), Result::ok);
    EXPECT_EQ(card.read(4, content), Result::ok);
    EXPECT_EQ(card.read(7, content), Result::ok);
    EXPECT_EQ(card.read(3, content), Result::not_authenticated);
    EXPECT_EQ(card.read(8, content), Result::not_authenticated);
}

TEST(MifareCard, AWrongKeyAndANewSelectionEndWhatWasProved) {
    MifareCard card(uid);
    Block content{};
    ASSERT_EQ(card.authenticate(4, KeyKind::a, factory), Result::ok);
    EXPECT_EQ(card.authenticate(4, KeyKind::a, key_a), Result::wrong_key);
    EXPECT_EQ(card.read(4, content), Result::not_authenticated);
    ASSERT_EQ(card.authenticate(4, KeyKind::a, factory), Result::ok);
    card.select();
    EXPECT_EQ(card.read(4, content), Result::not_authenticated);
}

TEST(MifareCard, DataBlocksFollowTheirAccessBits) {
    const std::array<const char *, 8> with_a{"rwidc", "rdc", "r", "", "r", "", "rdc", ""};
    const std::array<const char *, 8> with_b{"rwidc", "rdc", "r", "rw", "rw", "r", "rwidc", ""};
    for (unsigned bits = 0; bits < 8; ++bits) {
        EXPECT_EQ(allowed_on_data(bits, KeyKind::a), with_a.at(bits)) << bits;
        EXPECT_EQ(allowed_on_data(bits, KeyKind::b), with_b.at(bits)) << bits;
    }
}

TEST(MifareCard, TrailersFollowTheirAccessBits) {
    // A key B that can be read (0, 1 and 2) opens nothing.
    const std::array<const char *, 8> written_with_a{"AB", "AxB", "", "", "", "", "", ""};
    const std::array<const char *, 8> written_with_b{"", "", "", "AxB", "AB", "x", "", ""};
    const std::array<const char *, 8> read_with_a{"xB", "xB", "xB", "x", "x", "x", "x", "x"};
    const std::array<const char *, 8> read_with_b{"", "", "", "x", "x", "x", "x", "x"};
    for (unsigned bits = 0; bits < 8; ++bits) {
        EXPECT_EQ(written_of_trailer(bits, KeyKind::a), written_with_a.at(bits)) << bits;
        EXPECT_EQ(written_of_trailer(bits, KeyKind::b), written_with_b.at(bits)) << bits;
        EXPECT_EQ(read_of_trailer(bits, KeyKind::a), read_with_a.at(bits)) << bits;
        EXPECT_EQ(read_of_trailer(bits, KeyKind::b), read_with_b.at(bits)) << bits;
    }
}

TEST(MifareCard, NobodyWritesTheBlockOfTheMaker) {
    MifareCard card(uid);
    std::int32_t value = 0;
    card.set_value(1, 5);
    ASSERT_EQ(card.authenticate(0, KeyKind::a, factory), Result::ok);
    EXPECT_EQ(card.write(0, Block{}), Result::denied);
    EXPECT_EQ(card.copy(1, 0, value), Result::denied);
    EXPECT_EQ(card.content(0).at(0), 0x04);
}

TEST(MifareCard, ASectorWhoseAccessBitsContradictEachOtherIsLost) {
    MifareCard card(uid);
    ASSERT_EQ(card.authenticate(4, KeyKind::a, factory), Result::ok);
    Block broken = card.content(7);
    broken.at(6) = 0x00;
    ASSERT_EQ(card.write(7, broken), Result::ok);
    Block content{};
    EXPECT_EQ(card.read(4, content), Result::denied);
    EXPECT_EQ(card.write(7, card.content(3)), Result::denied);
    EXPECT_FALSE(card.access(4).has_value());
}

TEST(MifareCard, KeepsValuesAsCardsDo) {
    MifareCard card(uid);
    ASSERT_EQ(card.authenticate(4, KeyKind::a, factory), Result::ok);
    ASSERT_EQ(card.write_value(4, 0x01020304), Result::ok);
    const Block expected{0x04, 0x03, 0x02, 0x01, 0xFB, 0xFC, 0xFD, 0xFE,
                         0x04, 0x03, 0x02, 0x01, 0x04, 0xFB, 0x04, 0xFB};
    EXPECT_EQ(card.content(4), expected);
    std::int32_t value = 0;
    EXPECT_EQ(card.read_value(4, value), Result::ok);
    EXPECT_EQ(value, 0x01020304);
    ASSERT_EQ(card.write_value(4, -1), Result::ok);
    EXPECT_EQ(card.read_value(4, value), Result::ok);
    EXPECT_EQ(value, -1);
}

TEST(MifareCard, MovesValuesBetweenBlocks) {
    MifareCard card(uid);
    card.set_value(4, 1000);
    ASSERT_EQ(card.authenticate(4, KeyKind::a, factory), Result::ok);
    std::int32_t value = 0;
    EXPECT_EQ(card.increment(4, 5, 25, value), Result::ok);
    EXPECT_EQ(value, 1025);
    EXPECT_EQ(card.decrement(5, 5, 1026, value), Result::ok);
    EXPECT_EQ(value, -1);
    EXPECT_EQ(card.copy(4, 6, value), Result::ok);
    EXPECT_EQ(value, 1000);
    // The number of the block it came from stays with the value.
    EXPECT_EQ(card.content(6), card.content(4));
    EXPECT_EQ(card.read_value(5, value), Result::ok);
    EXPECT_EQ(value, -1);
}

TEST(MifareCard, AValueNeverOverflows) {
    MifareCard card(uid);
    card.set_value(4, std::numeric_limits<std::int32_t>::max());
    card.set_value(5, std::numeric_limits<std::int32_t>::min());
    ASSERT_EQ(card.authenticate(4, KeyKind::a, factory), Result::ok);
    const Block four = card.content(4);
    const Block five = card.content(5);
    std::int32_t value = 0;
    EXPECT_EQ(card.increment(4, 4, 1, value), Result::overflow);
    EXPECT_EQ(card.decrement(5, 5, 1, value), Result::overflow);
    EXPECT_EQ(card.content(4), four);
    EXPECT_EQ(card.content(5), five);
}

TEST(MifareCard, ABlockWithoutAValueIsNoValue) {
    MifareCard card(uid);
    card.set_value(5, 1);
    ASSERT_EQ(card.authenticate(4, KeyKind::a, factory), Result::ok);
    std::int32_t value = 0;
    EXPECT_EQ(card.read_value(4, value), Result::not_a_value);
    EXPECT_EQ(card.increment(4, 5, 1, value), Result::not_a_value);
    EXPECT_EQ(card.read_value(7, value), Result::not_a_value);
    EXPECT_EQ(card.write_value(7, 1), Result::denied);
    EXPECT_EQ(card.copy(5, 7, value), Result::denied);
    EXPECT_EQ(card.content(7), MifareCard(uid).content(7));
}

TEST(MifareCard, AValueDoesNotLeaveItsSector) {
    MifareCard card(uid);
    card.set_value(4, 1);
    ASSERT_EQ(card.authenticate(4, KeyKind::a, factory), Result::ok);
    std::int32_t value = 0;
    EXPECT_EQ(card.copy(4, 8, value), Result::not_authenticated);
}

TEST(MifareCard, ConfiguresKeysAndTheAccessBitsOfOneBlock) {
    MifareCard card(uid);
    ASSERT_EQ(card.authenticate(5, KeyKind::a, factory), Result::ok);
    ASSERT_EQ(card.configure(5, key_a, key_b, flags(6)), Result::ok);
    const auto changed = card.access(5);
    ASSERT_TRUE(changed.has_value());
    EXPECT_TRUE(changed->c1 && changed->c2 && !changed->c3);
    const auto other = card.access(4);
    ASSERT_TRUE(other.has_value());
    EXPECT_FALSE(other->c1 || other->c2 || other->c3);
    EXPECT_EQ(card.authenticate(5, KeyKind::a, factory), Result::wrong_key);
    EXPECT_EQ(card.authenticate(5, KeyKind::a, key_a), Result::ok);
    EXPECT_EQ(card.authenticate(5, KeyKind::b, key_b), Result::ok);
}

TEST(MifareCard, ChangesKeysAndLeavesTheAccessBits) {
    MifareCard card(uid);
    ASSERT_EQ(card.authenticate(7, KeyKind::a, factory), Result::ok);
    ASSERT_EQ(card.change_keys(7, key_a, key_b), Result::ok);
    EXPECT_EQ(card.content(7), (Block{0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xFF, 0x07, 0x80, 0x69,
                                      0xB0, 0xB1, 0xB2, 0xB3, 0xB4, 0xB5}));
}

} // namespace
