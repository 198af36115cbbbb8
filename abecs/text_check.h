#pragma once

#include <cstddef>

/// Checks on a caller's text before it is written into a field.

/// The length of a text of minimum..maximum digits '0'..'9'. Raises PCL_RESULT_ILLEGAL_ARGUMENT
/// with the text's name in the message when it is null, too long, too short or holds another
/// character.
std::size_t abecsCheckDigitString(const char *text, const char *name, std::size_t maximum,
                                  std::size_t minimum);

/// 1 when each of the `length` characters is '0'..'9'; else 0, and the index of the first other one
/// is stored in `badIndex` (may be null).
int abecsIsDigits(const char *text, std::size_t length, std::size_t *badIndex);

/// The same for abecsIsAlnumChar.
int abecsIsAlnum(const char *text, std::size_t length, std::size_t *badIndex);

/// 1 for '0'..'9', 'A'..'Z' and 'a'..'z', else 0.
int abecsIsAlnumChar(signed char c);

/// 1 for '0'..'9', 'A'..'F' and 'a'..'f', else 0.
int abecsIsHexDigit(char c);

/// 1 when every character is a hexadecimal digit (so for the empty text too), else 0.
int abecsIsHexText(const char *text);
