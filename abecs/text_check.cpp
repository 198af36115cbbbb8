#include "abecs/text_check.h"

#include "core/exception.h"

#include <cstdint>
#include <cstring>

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isAlnum(char c) {
    return abecsIsAlnumChar(static_cast<signed char>(c)) != 0;
}

template <typename Test>
int holdsFor(Test test, const char *text, std::size_t length, std::size_t *badIndex) {
    for (std::size_t i = 0; i < length; ++i) {
        if (!test(text[i])) {
            if (badIndex != nullptr) {
                *badIndex = i;
            }
            return 0;
        }
    }
    return 1;
}

} // namespace

std::size_t abecsCheckDigitString(const char *text, const char *name, std::size_t maximum,
                                  std::size_t minimum) {
    if (text == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'%s' is NULL", name);
        return 0;
    }
    const std::size_t length = std::strlen(text);
    if (length > maximum) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'%s' is too long (maximum: %zu, requested: %zu)",
                  name, maximum, length);
        return length;
    }
    if (length < minimum) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'%s' is too short (minimum: %zu, requested: %zu)",
                  name, minimum, length);
        return length;
    }
    std::size_t bad = 0;
    if (abecsIsDigits(text, length, &bad) == 0) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "%s: invalid char (0x%02X) at index %zu", name,
                  static_cast<std::uint8_t>(text[bad]), bad);
    }
    return length;
}

int abecsIsDigits(const char *text, std::size_t length, std::size_t *badIndex) {
    return holdsFor(isDigit, text, length, badIndex);
}

int abecsIsAlnum(const char *text, std::size_t length, std::size_t *badIndex) {
    return holdsFor(isAlnum, text, length, badIndex);
}

int abecsIsAlnumChar(signed char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ? 1 : 0;
}

int abecsIsHexDigit(char c) {
    return isDigit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f') ? 1 : 0;
}

int abecsIsHexText(const char *text) {
    for (; *text != '\0'; ++text) {
        if (abecsIsHexDigit(*text) == 0) {
            return 0;
        }
    }
    return 1;
}
