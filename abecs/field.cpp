#include "abecs/field.h"

#include "abecs/text_check.h"
#include "core/exception.h"
#include "core/guard.h"

#include <cstdio>
#include <cstring>

namespace {

constexpr std::uint8_t CARRIAGE_RETURN = 0x0D;
constexpr char BLANK = ' ';
constexpr char PAD_PAIR[] = "30";
constexpr std::uint64_t MAX_NUMBER = 9999999999999;
constexpr std::size_t MAX_NUMBER_DIGITS = 13;

constexpr const char *NOT_ENOUGH_DATA =
    "Buffer does not have enough data (requested: %zu, available: %zu)";

struct CharacterRange {
    std::uint8_t lowest;
    std::uint8_t highest;
};

constexpr CharacterRange PLAIN{0x20, 0x7E};
constexpr CharacterRange EXTENDED{0x20, 0xFF};

bool isAccepted(std::uint8_t c, CharacterRange range, std::uint8_t allowCR) {
    const bool highEnough = c == CARRIAGE_RETURN ? allowCR == 1 : c >= range.lowest;
    return highEnough && c <= range.highest;
}

std::size_t available(PclBuffer *buffer) {
    return pcl_buffer_available(buffer);
}

bool hasData(PclBuffer *buffer, std::size_t requested) {
    if (available(buffer) >= requested) {
        return true;
    }
    pcl_raise(PCL_RESULT_IO_ERROR, NOT_ENOUGH_DATA, requested, available(buffer));
    return false;
}

void skip(PclBuffer *buffer, std::size_t count) {
    pcl_buffer_read(buffer, nullptr, count);
}

void putRepeated(PclBuffer *buffer, std::uint8_t byte, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        pcl_buffer_write_byte(buffer, byte);
    }
}

void putText(AbecsField to, const char *text, std::size_t fieldLen, std::uint8_t allowCR,
             CharacterRange range) {
    if (to.buffer() == nullptr) {
        return;
    }
    if (text == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'text' is NULL");
        return;
    }
    pcl_guarded([&] {
        std::size_t position = 0;
        for (; text[position] != '\0'; ++position) {
            const auto c = static_cast<std::uint8_t>(text[position]);
            if (!isAccepted(c, range, allowCR)) {
                pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid character (0x%02X) at position %zu",
                          c, position);
                return;
            }
            pcl_buffer_write_byte(to.buffer(), c);
        }
        if (position < fieldLen) {
            putRepeated(to.buffer(), BLANK, fieldLen - position);
        }
    });
}

char *getText(AbecsField from, char *to, std::size_t sizeTo, std::size_t fieldLen,
              std::uint8_t allowCR, CharacterRange range) {
    if (from.buffer() == nullptr) {
        return to;
    }
    if (to != nullptr && sizeTo <= fieldLen) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "sizeTo (%zu) is not enough to store field data",
                  sizeTo);
        return to;
    }
    if (!hasData(from.buffer(), fieldLen)) {
        return to;
    }
    if (to == nullptr) {
        skip(from.buffer(), fieldLen);
        return nullptr;
    }
    pcl_buffer_read(from.buffer(), to, fieldLen);
    std::size_t length = fieldLen;
    while (length > 0 && to[length - 1] == BLANK) {
        --length;
    }
    to[length] = '\0';
    for (std::size_t position = 0; to[position] != '\0'; ++position) {
        const auto c = static_cast<std::uint8_t>(to[position]);
        if (!isAccepted(c, range, allowCR)) {
            pcl_raise(PCL_RESULT_IO_ERROR, "Invalid character (0x%02X) at position %zu", c,
                      position);
            return to;
        }
    }
    return to;
}

unsigned hexDigitValue(char c) {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned>(c - '0');
    }
    return static_cast<unsigned>((c | 0x20) - 'a' + 10);
}

// Hands each data pair of a hexadecimal field to `store`, without the padding pairs before them.
template <typename Store>
void readHexPairs(PclBuffer *buffer, std::size_t fieldLen, Store store) {
    bool inPadding = true;
    for (std::size_t i = 0; i < fieldLen; i += 2) {
        char pair[3] = {};
        pcl_buffer_read(buffer, pair, 2);
        if (inPadding && std::memcmp(pair, PAD_PAIR, 2) == 0) {
            continue;
        }
        inPadding = false;
        if (abecsIsHexDigit(pair[0]) == 0 || abecsIsHexDigit(pair[1]) == 0) {
            pcl_raise(PCL_RESULT_IO_ERROR, "Invalid data: %s", pair);
            return;
        }
        store(pair);
    }
}

void putPadPairs(PclBuffer *buffer, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        pcl_buffer_write(buffer, PAD_PAIR, 2);
    }
}

} // namespace

AbecsField::AbecsField(PclBuffer *buffer) : m_buffer(buffer) {
    if (buffer == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "buffer is NULL");
    }
}

void abecsFieldPutAlpha(AbecsField to, const char *text, std::size_t fieldLen,
                        std::uint8_t allowCR) {
    putText(to, text, fieldLen, allowCR, PLAIN);
}

void abecsFieldPutAlphaExt(AbecsField to, const char *text, std::size_t fieldLen,
                           std::uint8_t allowCR) {
    putText(to, text, fieldLen, allowCR, EXTENDED);
}

char *abecsFieldGetAlpha(AbecsField from, char *to, std::size_t sizeTo, std::size_t fieldLen,
                         std::uint8_t allowCR) {
    return getText(from, to, sizeTo, fieldLen, allowCR, PLAIN);
}

char *abecsFieldGetAlphaExt(AbecsField from, char *to, std::size_t sizeTo, std::size_t fieldLen,
                            std::uint8_t allowCR) {
    return getText(from, to, sizeTo, fieldLen, allowCR, EXTENDED);
}

void abecsFieldPutNumber(AbecsField to, std::uint64_t value, std::size_t fieldLen) {
    if (to.buffer() == nullptr) {
        return;
    }
    if (value > MAX_NUMBER) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'i' (%llu) is too long (maximum: 9999999999999",
                  static_cast<unsigned long long>(value));
        return;
    }
    char digits[MAX_NUMBER_DIGITS + 1];
    const auto length = static_cast<std::size_t>(
        std::snprintf(digits, sizeof digits, "%llu", static_cast<unsigned long long>(value)));
    if (length > fieldLen) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT,
                  "Number length (%zu) is greater than field length (%zu)", length, fieldLen);
        return;
    }
    pcl_guarded([&] {
        putRepeated(to.buffer(), '0', fieldLen - length);
        pcl_buffer_write(to.buffer(), digits, length);
    });
}

std::uint64_t abecsFieldGetNumber(AbecsField from, std::size_t fieldLen) {
    if (from.buffer() == nullptr || !hasData(from.buffer(), fieldLen)) {
        return 0;
    }
    if (fieldLen > MAX_NUMBER_DIGITS) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "field length (%zu) is too big (maximum: %zu)",
                  fieldLen, MAX_NUMBER_DIGITS);
        return 0;
    }
    char digits[MAX_NUMBER_DIGITS];
    pcl_buffer_read(from.buffer(), digits, fieldLen);
    std::size_t bad = 0;
    if (abecsIsDigits(digits, fieldLen, &bad) == 0) {
        pcl_raise(PCL_RESULT_IO_ERROR, "Invalid char (0x%02X) at index %zu",
                  static_cast<std::uint8_t>(digits[bad]), bad);
        return 0;
    }
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < fieldLen; ++i) {
        value = value * 10 + static_cast<std::uint64_t>(digits[i] - '0');
    }
    return value;
}

void abecsFieldPutHex(AbecsField to, const void *data, std::size_t dataLen, std::size_t fieldLen) {
    if (to.buffer() == nullptr) {
        return;
    }
    if (data == nullptr && dataLen != 0) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'data' is NULL");
        return;
    }
    if (fieldLen % 2 != 0) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "fieldLen (%zu) must be even", fieldLen);
        return;
    }
    if (fieldLen / 2 < dataLen) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "fieldLen < (dataLen * 2) ==> (%zu < (%zu * 2))",
                  fieldLen, dataLen);
        return;
    }
    pcl_guarded([&] {
        static constexpr char DIGITS[] = "0123456789ABCDEF";
        const auto *bytes = static_cast<const std::uint8_t *>(data);
        putPadPairs(to.buffer(), fieldLen / 2 - dataLen);
        for (std::size_t i = 0; i < dataLen; ++i) {
            const char pair[2] = {DIGITS[bytes[i] >> 4], DIGITS[bytes[i] & 0x0F]};
            pcl_buffer_write(to.buffer(), pair, 2);
        }
    });
}

std::size_t abecsFieldGetHex(AbecsField from, void *to, std::size_t sizeTo, std::size_t fieldLen) {
    if (from.buffer() == nullptr || !hasData(from.buffer(), fieldLen)) {
        return 0;
    }
    if (fieldLen % 2 != 0) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "fieldLen (%zu) must be even", fieldLen);
        return 0;
    }
    if (to != nullptr && sizeTo < fieldLen / 2) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "sizeTo (%zu) < (fieldLen / 2) (%zu)", sizeTo,
                  fieldLen / 2);
        return 0;
    }
    std::size_t count = 0;
    auto *bytes = static_cast<std::uint8_t *>(to);
    readHexPairs(from.buffer(), fieldLen, [&](const char *pair) {
        if (bytes != nullptr) {
            bytes[count] =
                static_cast<std::uint8_t>(hexDigitValue(pair[0]) << 4 | hexDigitValue(pair[1]));
        }
        ++count;
    });
    return count;
}

void abecsFieldPutHexText(AbecsField to, const char *text, std::size_t fieldLen) {
    if (to.buffer() == nullptr) {
        return;
    }
    if (text == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'text' is NULL");
        return;
    }
    if (fieldLen % 2 != 0) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "fieldLen (%zu) is not even", fieldLen);
        return;
    }
    const std::size_t length = std::strlen(text);
    if (length % 2 != 0) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "data length (%zu) is not even", length);
        return;
    }
    if (fieldLen < length) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "fieldLen (%zu) is not enough for data length (%zu)",
                  fieldLen, length);
        return;
    }
    for (std::size_t i = 0; i < length; ++i) {
        if (abecsIsHexDigit(text[i]) == 0) {
            pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid character (0x%02X) at position %zu",
                      static_cast<std::uint8_t>(text[i]), i);
            return;
        }
    }
    pcl_guarded([&] {
        putPadPairs(to.buffer(), (fieldLen - length) / 2);
        pcl_buffer_write(to.buffer(), text, length);
    });
}

char *abecsFieldGetHexText(AbecsField from, char *to, std::size_t sizeTo, std::size_t fieldLen) {
    if (from.buffer() == nullptr || !hasData(from.buffer(), fieldLen)) {
        return to;
    }
    if (fieldLen % 2 != 0) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "fieldLen (%zu) is not an even number", fieldLen);
        return to;
    }
    if (to != nullptr && sizeTo <= fieldLen) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT,
                  "sizeTo (%zu) is not enough to store field (length: %zu)", sizeTo, fieldLen);
        return to;
    }
    std::size_t length = 0;
    readHexPairs(from.buffer(), fieldLen, [&](const char *pair) {
        if (to != nullptr) {
            std::memcpy(to + length, pair, 2);
        }
        length += 2;
    });
    if (to != nullptr) {
        to[length] = '\0';
    }
    return to;
}

void abecsFieldPutBinary(AbecsField to, std::uint32_t value, std::size_t fieldLen) {
    if (to.buffer() == nullptr) {
        return;
    }
    switch (fieldLen) {
    case 1:
        if (value > 0xFF) {
            pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "fieldLen (1) is not enough for data (%u)",
                      value);
            return;
        }
        pcl_buffer_write_byte(to.buffer(), static_cast<std::uint8_t>(value));
        return;
    case 2:
        if (value > 0xFFFF) {
            pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "fieldLen (2) is not enough for data (%u)",
                      value);
            return;
        }
        pcl_buffer_write_u16(to.buffer(), static_cast<std::uint16_t>(value), 0);
        return;
    case 4:
        pcl_buffer_write_u32(to.buffer(), value, 0);
        return;
    default:
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT,
                  "Unsupported fieldLen: %zu (accepted values are 1, 2, or 4)", fieldLen);
    }
}

std::uint32_t abecsFieldGetBinary(AbecsField from, std::size_t fieldLen) {
    if (from.buffer() == nullptr) {
        return 0;
    }
    if (fieldLen != 1 && fieldLen != 2 && fieldLen != 4) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT,
                  "Unsupported fieldLen: %zu (accepted values are 1, 2, or 4)", fieldLen);
        return 0;
    }
    if (!hasData(from.buffer(), fieldLen)) {
        return 0;
    }
    switch (fieldLen) {
    case 1:
        return pcl_buffer_read_byte(from.buffer());
    case 2:
        return pcl_buffer_read_u16(from.buffer(), 0);
    default:
        return pcl_buffer_read_u32(from.buffer(), 0);
    }
}

void abecsFieldPutBytes(AbecsField to, const void *data, std::size_t count) {
    if (to.buffer() == nullptr) {
        return;
    }
    pcl_buffer_write(to.buffer(), data, count);
}

std::size_t abecsFieldGetBytes(AbecsField from, void *to, std::size_t sizeTo, std::size_t count) {
    if (from.buffer() == nullptr) {
        return 0;
    }
    if (to != nullptr && sizeTo < count) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT,
                  "Destination array does not have enough size to store all data (requested: %zu, "
                  "available: %zu)",
                  count, sizeTo);
        return 0;
    }
    if (!hasData(from.buffer(), count)) {
        return 0;
    }
    return pcl_buffer_read(from.buffer(), to, count);
}
