#pragma once

#include "core/buffer.h"
#include "core/owned.h"

#include <cstddef>
#include <cstdint>

/// The field codec: how a value becomes the bytes of a fixed-width field and back.
///
/// Writers append to the end of a buffer, readers consume from its read position. The same
/// operations serve a bare buffer, a packet and a parameter: the first argument takes any of the
/// three. Widths (`fieldLen`) are bytes on the wire. Whatever the caller got wrong raises
/// PCL_RESULT_ILLEGAL_ARGUMENT, whatever the device got wrong PCL_RESULT_IO_ERROR. A writer that
/// fails may leave part of its field behind; a reader that fails has consumed what it read.

struct AbecsPacket;
struct AbecsParam;

/// The buffer behind a buffer, packet or parameter. A null one raises PCL_RESULT_ILLEGAL_ARGUMENT
/// ("buffer is NULL", "'packet' is NULL", "'param' is NULL") and leaves the field without a buffer.
class AbecsField {
public:
    AbecsField(PclBuffer *buffer);
    AbecsField(AbecsPacket *packet);
    AbecsField(AbecsParam *param);

    template <typename T, T *(*Create)(), void (*Destroy)(T **)>
    AbecsField(const PclLocal<T, Create, Destroy> &local) : AbecsField(static_cast<T *>(local)) {}

    PclBuffer *buffer() const { return m_buffer; }

private:
    PclBuffer *m_buffer;
};

/// Text of the characters 0x20..0x7E, and carriage return when allowCR is 1, padded with blanks on
/// the right. A longer text is written whole. "Invalid character (0x%02X) at position %zu".
void abecsFieldPutAlpha(AbecsField to, const char *text, std::size_t fieldLen,
                        std::uint8_t allowCR);

/// The same for the characters 0x20..0xFF.
void abecsFieldPutAlphaExt(AbecsField to, const char *text, std::size_t fieldLen,
                           std::uint8_t allowCR);

/// Reads a text and strips its trailing blanks. `to` must hold fieldLen + 1 bytes; when it is null
/// the field is skipped unchecked. Returns `to`.
char *abecsFieldGetAlpha(AbecsField from, char *to, std::size_t sizeTo, std::size_t fieldLen,
                         std::uint8_t allowCR);
char *abecsFieldGetAlphaExt(AbecsField from, char *to, std::size_t sizeTo, std::size_t fieldLen,
                            std::uint8_t allowCR);

/// Decimal digits, zero-filled on the left; at most 9999999999999.
void abecsFieldPutNumber(AbecsField to, std::uint64_t value, std::size_t fieldLen);

/// Reads at most 13 decimal digits.
std::uint64_t abecsFieldGetNumber(AbecsField from, std::size_t fieldLen);

/// Bytes as upper-case hexadecimal text, filled with pairs "30" on the left.
void abecsFieldPutHex(AbecsField to, const void *data, std::size_t dataLen, std::size_t fieldLen);

/// Decodes hexadecimal text. Leading pairs "30" are taken for padding and dropped, so data that
/// begins with bytes 0x30 comes back shorter. Returns the number of bytes decoded; `to` (fieldLen /
/// 2 bytes) may be null.
std::size_t abecsFieldGetHex(AbecsField from, void *to, std::size_t sizeTo, std::size_t fieldLen);

/// Text that already is hexadecimal; its letter case is kept.
void abecsFieldPutHexText(AbecsField to, const char *text, std::size_t fieldLen);

/// Reads hexadecimal text without its leading pairs "30" into `to` (fieldLen + 1 bytes, may be
/// null). Returns `to`.
char *abecsFieldGetHexText(AbecsField from, char *to, std::size_t sizeTo, std::size_t fieldLen);

/// Unsigned big-endian integer of 1, 2 or 4 bytes.
void abecsFieldPutBinary(AbecsField to, std::uint32_t value, std::size_t fieldLen);
std::uint32_t abecsFieldGetBinary(AbecsField from, std::size_t fieldLen);

/// Bytes as they are. The reader returns the count it consumed; `to` may be null.
void abecsFieldPutBytes(AbecsField to, const void *data, std::size_t count);
std::size_t abecsFieldGetBytes(AbecsField from, void *to, std::size_t sizeTo, std::size_t count);
