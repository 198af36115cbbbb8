#include "abecs/field.h"
#include "abecs/packet.h"
#include "abecs/param.h"
#include "core/buffer.h"
#include "core/owned.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace {

using BufferPtr = PclOwned<PclBuffer, pcl_buffer_destroy>;

class Field : public testing::Test {
protected:
    void fill(const std::string &content) {
        pcl_buffer_clear(buffer());
        pcl_buffer_write(buffer(), content.data(), content.size());
    }
    std::string rest() {
        std::string content(pcl_buffer_available(buffer()), '\0');
        pcl_buffer_read(buffer(), content.data(), content.size());
        return content;
    }
    PclBuffer *buffer() { return m_buffer.get(); }

    BufferPtr m_buffer{pcl_buffer_create(4096)};
    std::array<char, 64> text{};
};

TEST_F(Field, PadsTextWithBlanksAndStripsThem) {
    abecsFieldPutAlpha(buffer(), "AB", 5, 0);
    EXPECT_EQ(5U, pcl_buffer_available(buffer()));
    EXPECT_STREQ("AB", abecsFieldGetAlpha(buffer(), text.data(), text.size(), 5, 0));
    abecsFieldPutAlpha(buffer(), "AB", 5, 0);
    EXPECT_EQ("AB   ", rest());
    fill("     ");
    EXPECT_STREQ("", abecsFieldGetAlpha(buffer(), text.data(), text.size(), 5, 0));
    fill(" A B ");
    EXPECT_STREQ(" A B", abecsFieldGetAlphaExt(buffer(), text.data(), text.size(), 5, 0));
}

TEST_F(Field, WritesALongerTextWhole) {
    EXPECT_NO_FAILURE(abecsFieldPutAlpha(buffer(), "ABCDEFG", 5, 0));
    EXPECT_EQ("ABCDEFG", rest());
}

using Put = void (*)(AbecsField, const char *, std::size_t, std::uint8_t);
using Get = char *(*)(AbecsField, char *, std::size_t, std::size_t, std::uint8_t);

struct Character {
    int byte;
    std::uint8_t allowCR;
    bool plain;
    bool extended;
};

TEST_F(Field, AcceptsTheCharactersOfItsKind) {
    for (const Character &c :
         {Character{0x1F, 0, false, false}, Character{0x20, 0, true, true},
          Character{0x7E, 0, true, true}, Character{0x7F, 0, false, true},
          Character{0x80, 0, false, true}, Character{0xFF, 0, false, true},
          Character{0x0D, 0, false, false}, Character{0x0D, 1, true, true},
          Character{0x0D, 2, false, false}, Character{0x09, 1, false, false},
          Character{0x0A, 1, false, false}, Character{0x01, 0, false, false}}) {
        SCOPED_TRACE(testing::Message() << c.byte << " allowCR " << int(c.allowCR));
        const std::string given = std::string("ab") + static_cast<char>(c.byte);
        char shown[64];
        std::snprintf(shown, sizeof shown, "Invalid character (0x%02X) at position 2", c.byte);
        const auto check = [&](bool accepted, Put put, Get get) {
            pcl_buffer_clear(buffer());
            if (accepted) {
                EXPECT_NO_FAILURE(put(buffer(), given.c_str(), 3, c.allowCR));
                EXPECT_EQ(given, rest());
                fill(given + "x");
                EXPECT_NO_FAILURE(get(buffer(), text.data(), text.size(), 4, c.allowCR));
                EXPECT_EQ(given + "x", text.data());
            } else {
                EXPECT_FAILURE(put(buffer(), given.c_str(), 3, c.allowCR),
                               PCL_RESULT_ILLEGAL_ARGUMENT, shown);
                EXPECT_EQ("ab", rest());
                fill(given + "x");
                EXPECT_FAILURE(get(buffer(), text.data(), text.size(), 4, c.allowCR),
                               PCL_RESULT_IO_ERROR, shown);
                EXPECT_EQ("", rest());
            }
        };
        check(c.plain, abecsFieldPutAlpha, abecsFieldGetAlpha);
        check(c.extended, abecsFieldPutAlphaExt, abecsFieldGetAlphaExt);
    }
}

TEST_F(Field, ChecksTheDestinationOfATextBeforeTheData) {
    fill("AB");
    EXPECT_FAILURE(abecsFieldGetAlpha(buffer(), text.data(), 5, 5, 0), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "sizeTo (5) is not enough to store field data");
    EXPECT_FAILURE(abecsFieldGetAlpha(buffer(), text.data(), 6, 5, 0), PCL_RESULT_IO_ERROR,
                   "Buffer does not have enough data (requested: 5, available: 2)");
    EXPECT_EQ("AB", rest());
}

TEST_F(Field, SkipsATextWithoutADestinationUnchecked) {
    fill("\x01\x02"
         "AB");
    EXPECT_EQ(nullptr, abecsFieldGetAlpha(buffer(), nullptr, 0, 2, 0));
    EXPECT_EQ("AB", rest());
}

TEST_F(Field, WritesNumbersZeroFilled) {
    abecsFieldPutNumber(buffer(), 5, 3);
    abecsFieldPutNumber(buffer(), 0, 3);
    abecsFieldPutNumber(buffer(), 9999999999999, 13);
    EXPECT_EQ("0050009999999999999", rest());
}

TEST_F(Field, RefusesNumbersThatDoNotFit) {
    EXPECT_FAILURE(abecsFieldPutNumber(buffer(), 10000000000000, 20), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'i' (10000000000000) is too long (maximum: 9999999999999");
    EXPECT_FAILURE(abecsFieldPutNumber(buffer(), 1234, 3), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "Number length (4) is greater than field length (3)");
    EXPECT_FAILURE(abecsFieldPutNumber(buffer(), 0, 0), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "Number length (1) is greater than field length (0)");
    EXPECT_EQ("", rest());
}

TEST_F(Field, ReadsNumbers) {
    fill("0000420009999999999999");
    EXPECT_EQ(42U, abecsFieldGetNumber(buffer(), 6));
    EXPECT_EQ(0U, abecsFieldGetNumber(buffer(), 3));
    EXPECT_EQ(9999999999999U, abecsFieldGetNumber(buffer(), 13));
    EXPECT_EQ(0U, abecsFieldGetNumber(buffer(), 0));
}

TEST_F(Field, ChecksTheDataOfANumberBeforeItsWidth) {
    fill("0123456789");
    EXPECT_FAILURE(abecsFieldGetNumber(buffer(), 14), PCL_RESULT_IO_ERROR,
                   "Buffer does not have enough data (requested: 14, available: 10)");
    fill("01234567890123");
    EXPECT_FAILURE(abecsFieldGetNumber(buffer(), 14), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "field length (14) is too big (maximum: 13)");
    for (const char *bad : {"1-3", "1 3", "1A3", "1/3", "1:3"}) {
        fill(bad);
        char shown[64];
        std::snprintf(shown, sizeof shown, "Invalid char (0x%02X) at index 1", bad[1]);
        EXPECT_FAILURE(abecsFieldGetNumber(buffer(), 3), PCL_RESULT_IO_ERROR, shown);
        EXPECT_EQ("", rest());
    }
}

TEST_F(Field, WritesBytesAsHexadecimalTextAndReadsThem) {
    const std::array<std::uint8_t, 2> data = {0x01, 0xAB};
    abecsFieldPutHex(buffer(), data.data(), 2, 8);
    EXPECT_EQ("303001AB", rest());
    fill("303001AB");
    std::array<std::uint8_t, 8> bytes{};
    ASSERT_EQ(2U, abecsFieldGetHex(buffer(), bytes.data(), 4, 8));
    EXPECT_EQ(0x01, bytes[0]);
    EXPECT_EQ(0xAB, bytes[1]);
}

TEST_F(Field, TakesLeadingPairs30ForPadding) {
    std::array<std::uint8_t, 8> bytes{};
    fill("3030");
    EXPECT_EQ(0U, abecsFieldGetHex(buffer(), bytes.data(), bytes.size(), 4));
    fill("30303031");
    ASSERT_EQ(1U, abecsFieldGetHex(buffer(), bytes.data(), bytes.size(), 8));
    EXPECT_EQ(0x31, bytes[0]);
    fill("31303030");
    ASSERT_EQ(4U, abecsFieldGetHex(buffer(), bytes.data(), bytes.size(), 8));
    EXPECT_EQ((std::array<std::uint8_t, 8>{0x31, 0x30, 0x30, 0x30}), bytes);
    fill("30aBfF");
    EXPECT_EQ(2U, abecsFieldGetHex(buffer(), nullptr, 0, 6));
    EXPECT_EQ("", rest());
}

TEST_F(Field, ChecksHexadecimalFields) {
    const std::array<std::uint8_t, 2> data = {0x01, 0xAB};
    EXPECT_FAILURE(abecsFieldPutHex(buffer(), data.data(), 2, 5), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "fieldLen (5) must be even");
    EXPECT_FAILURE(abecsFieldPutHex(buffer(), data.data(), 2, 2), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "fieldLen < (dataLen * 2) ==> (2 < (2 * 2))");
    EXPECT_EQ("", rest());
    std::array<std::uint8_t, 4> bytes{};
    fill("01A");
    EXPECT_FAILURE(abecsFieldGetHex(buffer(), bytes.data(), 0, 5), PCL_RESULT_IO_ERROR,
                   "Buffer does not have enough data (requested: 5, available: 3)");
    EXPECT_FAILURE(abecsFieldGetHex(buffer(), bytes.data(), 0, 3), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "fieldLen (3) must be even");
    EXPECT_FAILURE(abecsFieldGetHex(buffer(), bytes.data(), 0, 2), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "sizeTo (0) < (fieldLen / 2) (1)");
    fill("01G2FF");
    EXPECT_FAILURE(abecsFieldGetHex(buffer(), bytes.data(), 4, 6), PCL_RESULT_IO_ERROR,
                   "Invalid data: G2");
    EXPECT_EQ("FF", rest());
}

TEST_F(Field, CopiesHexadecimalText) {
    abecsFieldPutHexText(buffer(), "1a2B", 8);
    EXPECT_EQ("30301a2B", rest());
    fill("30301a2B");
    EXPECT_STREQ("1a2B", abecsFieldGetHexText(buffer(), text.data(), text.size(), 8));
    fill("3030");
    EXPECT_STREQ("", abecsFieldGetHexText(buffer(), text.data(), text.size(), 4));
    fill("31303030");
    EXPECT_STREQ("31303030", abecsFieldGetHexText(buffer(), text.data(), text.size(), 8));
    fill("AAAA");
    EXPECT_EQ(nullptr, abecsFieldGetHexText(buffer(), nullptr, 0, 4));
    EXPECT_EQ("", rest());
}

TEST_F(Field, ChecksHexadecimalText) {
    EXPECT_FAILURE(abecsFieldPutHexText(buffer(), "123", 5), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "fieldLen (5) is not even");
    EXPECT_FAILURE(abecsFieldPutHexText(buffer(), "123", 2), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "data length (3) is not even");
    EXPECT_FAILURE(abecsFieldPutHexText(buffer(), "12XX", 2), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "fieldLen (2) is not enough for data length (4)");
    EXPECT_FAILURE(abecsFieldPutHexText(buffer(), "12X4", 8), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "Invalid character (0x58) at position 2");
    EXPECT_EQ("", rest());
    fill("12X4");
    EXPECT_FAILURE(abecsFieldGetHexText(buffer(), text.data(), 1, 5), PCL_RESULT_IO_ERROR,
                   "Buffer does not have enough data (requested: 5, available: 4)");
    EXPECT_FAILURE(abecsFieldGetHexText(buffer(), text.data(), 1, 3), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "fieldLen (3) is not an even number");
    EXPECT_FAILURE(abecsFieldGetHexText(buffer(), text.data(), 4, 4), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "sizeTo (4) is not enough to store field (length: 4)");
    EXPECT_FAILURE(abecsFieldGetHexText(buffer(), text.data(), 5, 4), PCL_RESULT_IO_ERROR,
                   "Invalid data: X4");
}

TEST_F(Field, WritesAndReadsBinaryNumbers) {
    abecsFieldPutBinary(buffer(), 255, 1);
    abecsFieldPutBinary(buffer(), 0x1234, 2);
    abecsFieldPutBinary(buffer(), 0xFFFFFFFF, 4);
    abecsFieldPutBinary(buffer(), 0x01020304, 4);
    EXPECT_EQ(std::string("\xFF\x12\x34\xFF\xFF\xFF\xFF\x01\x02\x03\x04"), rest());
    fill("\xFE\x12\x34\x01\x02\x03\x04");
    EXPECT_EQ(0xFEU, abecsFieldGetBinary(buffer(), 1));
    EXPECT_EQ(0x1234U, abecsFieldGetBinary(buffer(), 2));
    EXPECT_EQ(0x01020304U, abecsFieldGetBinary(buffer(), 4));
}

TEST_F(Field, ChecksBinaryNumbers) {
    const char *unsupported = "Unsupported fieldLen: 3 (accepted values are 1, 2, or 4)";
    EXPECT_FAILURE(abecsFieldPutBinary(buffer(), 256, 1), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "fieldLen (1) is not enough for data (256)");
    EXPECT_FAILURE(abecsFieldPutBinary(buffer(), 65536, 2), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "fieldLen (2) is not enough for data (65536)");
    EXPECT_FAILURE(abecsFieldPutBinary(buffer(), 1, 3), PCL_RESULT_ILLEGAL_ARGUMENT, unsupported);
    EXPECT_EQ("", rest());
    fill("\x01");
    EXPECT_FAILURE(abecsFieldGetBinary(buffer(), 3), PCL_RESULT_ILLEGAL_ARGUMENT, unsupported);
    EXPECT_FAILURE(abecsFieldGetBinary(buffer(), 2), PCL_RESULT_IO_ERROR,
                   "Buffer does not have enough data (requested: 2, available: 1)");
    EXPECT_FAILURE(abecsFieldGetBinary(buffer(), 4), PCL_RESULT_IO_ERROR,
                   "Buffer does not have enough data (requested: 4, available: 1)");
    EXPECT_EQ("\x01", rest());
    EXPECT_FAILURE(abecsFieldGetBinary(buffer(), 1), PCL_RESULT_IO_ERROR,
                   "Buffer does not have enough data (requested: 1, available: 0)");
}

TEST_F(Field, MovesRawBytes) {
    abecsFieldPutBytes(buffer(), "\x00\x16\xFF", 3);
    std::array<char, 3> bytes{};
    EXPECT_EQ(3U, abecsFieldGetBytes(buffer(), bytes.data(), 3, 3));
    EXPECT_EQ(std::string("\x00\x16\xFF", 3), std::string(bytes.data(), 3));
    fill("AB");
    EXPECT_FAILURE(abecsFieldGetBytes(buffer(), bytes.data(), 2, 3), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "Destination array does not have enough size to store all data (requested: 3, "
                   "available: 2)");
    EXPECT_FAILURE(abecsFieldGetBytes(buffer(), bytes.data(), 3, 3), PCL_RESULT_IO_ERROR,
                   "Buffer does not have enough data (requested: 3, available: 2)");
    EXPECT_EQ(1U, abecsFieldGetBytes(buffer(), nullptr, 0, 1));
    EXPECT_EQ("B", rest());
}

TEST_F(Field, ServesPacketsAndParameters) {
    const AbecsPacketPtr packet(abecsPacketCreate());
    abecsFieldPutNumber(packet.get(), 42, 3);
    EXPECT_EQ(3U, abecsPacketAvailable(packet.get()));
    EXPECT_EQ(42U, abecsFieldGetNumber(packet.get(), 3));
    const AbecsParamPtr param(abecsParamCreate());
    abecsFieldPutBinary(param.get(), 0x1234, 2);
    EXPECT_EQ(2U, abecsParamLength(param.get()));
    EXPECT_EQ(0x12, abecsParamReadByte(param.get()));
}

TEST_F(Field, NamesTheObjectThatIsMissing) {
    AbecsPacket *packet = nullptr;
    AbecsParam *param = nullptr;
    PclBuffer *none = nullptr;
    const auto checkAll = [&](auto *object, const char *detail) {
        const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
        EXPECT_FAILURE(abecsFieldPutAlpha(object, "A", 1, 0), code, detail);
        EXPECT_FAILURE(abecsFieldPutAlphaExt(object, "A", 1, 0), code, detail);
        EXPECT_FAILURE(abecsFieldPutNumber(object, 1, 1), code, detail);
        EXPECT_FAILURE(abecsFieldPutHex(object, "A", 1, 2), code, detail);
        EXPECT_FAILURE(abecsFieldPutHexText(object, "AA", 2), code, detail);
        EXPECT_FAILURE(abecsFieldPutBinary(object, 1, 1), code, detail);
        EXPECT_FAILURE(abecsFieldPutBytes(object, "A", 1), code, detail);
        EXPECT_FAILURE(abecsFieldGetAlpha(object, nullptr, 0, 1, 0), code, detail);
        EXPECT_FAILURE(abecsFieldGetAlphaExt(object, nullptr, 0, 1, 0), code, detail);
        EXPECT_FAILURE(abecsFieldGetNumber(object, 1), code, detail);
        EXPECT_FAILURE(abecsFieldGetHex(object, nullptr, 0, 2), code, detail);
        EXPECT_FAILURE(abecsFieldGetHexText(object, nullptr, 0, 2), code, detail);
        EXPECT_FAILURE(abecsFieldGetBinary(object, 1), code, detail);
        EXPECT_FAILURE(abecsFieldGetBytes(object, nullptr, 0, 1), code, detail);
    };
    checkAll(packet, "'packet' is NULL");
    checkAll(param, "'param' is NULL");
    checkAll(none, "buffer is NULL");
}

TEST_F(Field, StopsAfterAFailureThatAHandlerLetPass) {
    const BufferPtr tiny(pcl_buffer_create(2));
    const ScopedHandler handler;
    abecsFieldPutAlpha(tiny.get(), "ABCDEF", 6, 0);
    EXPECT_EQ(1U, handler.count());
    EXPECT_EQ("[PCL_RESULT_IO_ERROR] No enough space in buffer (available: 0, requested: 1)",
              handler.message());
    EXPECT_EQ(0U, abecsFieldGetNumber(static_cast<AbecsPacket *>(nullptr), 3));
    EXPECT_EQ(2U, handler.count());
}

} // namespace
