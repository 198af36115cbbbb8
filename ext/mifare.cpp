#include "ext/mifare.h"

#include "core/exception.h"
#include "core/memory.h"
#include "ext/ext_command.h"
#include "ext/ext_link.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

constexpr char ACTIVATE[] = "MF01";
constexpr char AUTHENTICATE[] = "MF02";
constexpr char READ_WRITE[] = "MF03";
constexpr char VALUE_COMMAND[] = "MF04";
constexpr char BLOCK_CONFIG[] = "MF05";
constexpr char KEY_CHANGE[] = "MF06";

constexpr std::uint16_t MAX_BLOCK = 9999;
constexpr std::size_t BLOCK_DIGITS = 4;
constexpr std::uint8_t MAX_BLOCK_BYTE = 15;
constexpr std::uint32_t MAX_DATA = 256;
constexpr std::size_t KEY_LENGTH = 12;
constexpr std::size_t CONFIG_LENGTH = 3;
constexpr std::size_t STATUS_LENGTH = 2;
constexpr std::size_t HEADER_LENGTH = ABECS_EXT_CMD_ID_LENGTH + STATUS_LENGTH;

// The text after the status of a response; it may be a card's content.
class ResultText {
public:
    ResultText() = default;
    ResultText(const ResultText &) = delete;
    ResultText &operator=(const ResultText &) = delete;
    ~ResultText() { pcl_wipe(m_text.data(), m_text.size()); }

    void readFrom(AbecsPacket *packet) {
        m_length = abecsPacketAvailable(packet);
        abecsFieldGetBytes(packet, m_text.data(), ABECS_PACKET_CAPACITY, m_length);
        m_text[m_length] = '\0';
    }
    const char *text() const { return m_text.data(); }
    std::size_t length() const { return m_length; }
    void copyTo(char *to) const { std::memcpy(to, m_text.data(), m_length + 1); }

private:
    std::array<char, ABECS_PACKET_CAPACITY + 1> m_text;
    std::size_t m_length = 0;
};

// A key of exactly 12 characters behind its letter.
class LetterAndKey {
public:
    LetterAndKey(char letter, const char *key) {
        m_text[0] = letter;
        std::memcpy(m_text.data() + 1, key, KEY_LENGTH);
    }
    LetterAndKey(const LetterAndKey &) = delete;
    LetterAndKey &operator=(const LetterAndKey &) = delete;
    ~LetterAndKey() { pcl_wipe(m_text.data(), m_text.size()); }

    const char *text() const { return m_text.data(); }

private:
    std::array<char, 1 + KEY_LENGTH + 1> m_text{};
};

struct Response {
    std::array<char, STATUS_LENGTH + 1> status{};
    ResultText result;

    void copyStatusTo(char *to) const { std::memcpy(to, status.data(), status.size()); }
};

bool isGiven(const void *argument, const char *name) {
    if (argument == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'%s' is NULL", name);
        return false;
    }
    return true;
}

bool isBlock(std::uint16_t block, const char *name) {
    if (block > MAX_BLOCK) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid value for %s: %d (max: 9999)", name, block);
        return false;
    }
    return true;
}

bool isOneOf(char c, const char *accepted, const char *name) {
    if (c == '\0' || std::strchr(accepted, c) == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid value for %s: %c", name, c);
        return false;
    }
    return true;
}

bool hasLength(const char *text, std::size_t length, const char *name) {
    if (!isGiven(text, name)) {
        return false;
    }
    if (std::strlen(text) != length) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid size for %s: %s (exact: %zu)", name, text,
                  length);
        return false;
    }
    return true;
}

bool areConfigFlags(const char *flags) {
    if (!hasLength(flags, CONFIG_LENGTH, "pbConfigFlags")) {
        return false;
    }
    if (std::strspn(flags, "01") != CONFIG_LENGTH) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid value for pbConfigFlags: %s", flags);
        return false;
    }
    return true;
}

void putBlock(AbecsPacket *packet, std::uint16_t block) {
    abecsFieldPutNumber(packet, block, BLOCK_DIGITS);
}

// Unlike the key of MF02, this is plain text, and one with its letter.
void putKey(AbecsPacket *packet, char type, const char *key) {
    const LetterAndKey text(type, key);
    abecs_ext_put_text(packet, text.text());
}

// Some terminals answer these commands with the digits' values instead of the digits.
void repairStatusDigits(Response &response) {
    for (std::size_t i = 0; i < STATUS_LENGTH; ++i) {
        if (static_cast<signed char>(response.status[i]) <= 9) {
            response.status[i] = static_cast<char>(response.status[i] + '0');
        }
    }
}

void readResponse(AbecsPacket *packet, const char *cmdId, Response &response) {
    abecs_ext_require_rsp_id(packet, cmdId, "(%s) Invalid RSP_ID: %s");
    abecsFieldGetBytes(packet, response.status.data(), STATUS_LENGTH, STATUS_LENGTH);
    response.result.readFrom(packet);
}

// Sends the command that `putFields` completes and hands the answer to `take`, which fills the
// caller's buffers. `isLength` tells which lengths an answer may have.
template <typename PutFields, typename IsLength, typename Take>
std::int32_t exchange(AbecsPinpad *pinpad, const char *cmdId, PutFields putFields,
                      IsLength isLength, Take take) {
    return abecs_ext_run([&] {
        const AbecsPacketLocal packet;
        abecs_ext_put_text(packet, cmdId);
        putFields(packet);
        abecs_ext_exchange(pinpad, packet);
        if (!isLength(abecsPacketAvailable(packet))) {
            abecs_ext_raise_unrecognized();
            return;
        }
        Response response;
        readResponse(packet, cmdId, response);
        abecs_pinpad_settle(pinpad);
        take(response);
    });
}

bool holdsHeader(std::size_t length) {
    return length >= HEADER_LENGTH;
}

bool isHeaderOnly(std::size_t length) {
    return length == HEADER_LENGTH;
}

// Each character counts as its distance from '0', whatever it is.
std::uint32_t readCount(const ResultText &result) {
    std::uint32_t count = 0;
    for (std::size_t i = 0; i < result.length(); ++i) {
        count = count * 10 + static_cast<std::uint32_t>(result.text()[i] - '0');
    }
    return count;
}

std::int32_t readValue(const ResultText &result) {
    const long long value = std::strtoll(result.text(), nullptr, 10);
    return static_cast<std::int32_t>(std::clamp<long long>(
        value, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
}

} // namespace

std::int32_t abecs_mf_activate(AbecsPinpad *pinpad, char *szSerialNumber, char *pbStatus) {
    if (!isGiven(pinpad, "pinpad") || !isGiven(szSerialNumber, "szSerialNumber") ||
        !isGiven(pbStatus, "pbStatus")) {
        return ABECS_POLL_NO_ANSWER;
    }
    return exchange(
        pinpad, ACTIVATE, [](AbecsPacket *) {}, holdsHeader,
        [&](const Response &response) {
            response.copyStatusTo(pbStatus);
            response.result.copyTo(szSerialNumber);
        });
}

std::int32_t abecs_mf_authenticate(AbecsPinpad *pinpad, std::uint16_t usBlockAddress, char cType,
                                   const char *szKey, const char *szSerialNumber, char *pbStatus) {
    if (!isGiven(pinpad, "pinpad") || !isBlock(usBlockAddress, "usBlockAddress") ||
        !isOneOf(cType, "AB", "cType") || !hasLength(szKey, KEY_LENGTH, "szKey") ||
        !isGiven(szSerialNumber, "szSerialNumber") || !isGiven(pbStatus, "pbStatus")) {
        return ABECS_POLL_NO_ANSWER;
    }
    return exchange(
        pinpad, AUTHENTICATE,
        [&](AbecsPacket *packet) {
            putBlock(packet, usBlockAddress);
            abecs_ext_put_char(packet, cType);
            abecs_ext_put_raw_text(packet, szKey);
            abecs_ext_put_raw_text(packet, szSerialNumber);
        },
        isHeaderOnly, [&](const Response &response) { response.copyStatusTo(pbStatus); });
}

std::int32_t abecs_mf_read_write(AbecsPinpad *pinpad, char cOperation, std::uint16_t usBlockAddress,
                                 std::uint8_t bBlockByte, std::uint32_t *pdwDataLen, char *szData,
                                 char *pbStatus) {
    if (!isGiven(pinpad, "pinpad") || !isOneOf(cOperation, "RW", "cOperation") ||
        !isBlock(usBlockAddress, "usBlockAddress")) {
        return ABECS_POLL_NO_ANSWER;
    }
    if (bBlockByte > MAX_BLOCK_BYTE) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid value for bBlockByte: %d (max: 15)",
                  bBlockByte);
        return ABECS_POLL_NO_ANSWER;
    }
    if (!isGiven(pdwDataLen, "pdwDataLen")) {
        return ABECS_POLL_NO_ANSWER;
    }
    if (*pdwDataLen > MAX_DATA) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid value for pdwDataLen: %d (max: 256)",
                  static_cast<int>(*pdwDataLen));
        return ABECS_POLL_NO_ANSWER;
    }
    if (!isGiven(szData, "szData") || !isGiven(pbStatus, "pbStatus")) {
        return ABECS_POLL_NO_ANSWER;
    }
    const bool reading = cOperation == 'R';
    return exchange(
        pinpad, READ_WRITE,
        [&](AbecsPacket *packet) {
            putBlock(packet, usBlockAddress);
            abecsFieldPutNumber(packet, bBlockByte, 2);
            abecs_ext_put_char(packet, cOperation);
            if (reading) {
                abecsFieldPutNumber(packet, *pdwDataLen, 3);
            } else {
                abecs_ext_put_raw_text(packet, szData);
            }
        },
        holdsHeader,
        [&](const Response &response) {
            response.copyStatusTo(pbStatus);
            if (reading) {
                *pdwDataLen = static_cast<std::uint32_t>(response.result.length() / 2);
                response.result.copyTo(szData);
            } else {
                *pdwDataLen = readCount(response.result);
                szData[0] = '\0';
            }
        });
}

std::int32_t abecs_mf_value_command(AbecsPinpad *pinpad, std::uint16_t usBlockOrigin,
                                    std::uint16_t usBlockDestination, char cOperation,
                                    std::int32_t iValue, std::int32_t *piValueResult,
                                    char *pbStatus) {
    if (!isGiven(pinpad, "pinpad") || !isBlock(usBlockOrigin, "usBlockOrigin") ||
        !isBlock(usBlockDestination, "usBlockDestination") ||
        !isOneOf(cOperation, "RW+-=", "cOperation")) {
        return ABECS_POLL_NO_ANSWER;
    }
    constexpr std::int32_t MAX_VALUE = std::numeric_limits<std::int32_t>::max();
    if (iValue < -MAX_VALUE) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid value for iValue: %d (min: %d, max: %d)",
                  iValue, -MAX_VALUE, MAX_VALUE);
        return ABECS_POLL_NO_ANSWER;
    }
    if (!isGiven(piValueResult, "piValueResult") || !isGiven(pbStatus, "pbStatus")) {
        return ABECS_POLL_NO_ANSWER;
    }
    return exchange(
        pinpad, VALUE_COMMAND,
        [&](AbecsPacket *packet) {
            putBlock(packet, usBlockOrigin);
            if (std::strchr("+-=", cOperation) != nullptr) {
                putBlock(packet, usBlockDestination);
            }
            abecs_ext_put_char(packet, cOperation);
            if (std::strchr("W+-", cOperation) != nullptr) {
                char value[16];
                std::snprintf(value, sizeof value, "%d", iValue);
                abecs_ext_put_text(packet, value);
            }
        },
        holdsHeader,
        [&](const Response &response) {
            response.copyStatusTo(pbStatus);
            *piValueResult = readValue(response.result);
        });
}

std::int32_t abecs_mf_block_config_get(AbecsPinpad *pinpad, std::uint16_t usBlockAddress,
                                       char *pbConfigFlags, char *pbStatus) {
    if (!isGiven(pinpad, "pinpad") || !isBlock(usBlockAddress, "usBlockAddress") ||
        !isGiven(pbConfigFlags, "pbConfigFlags") || !isGiven(pbStatus, "pbStatus")) {
        return ABECS_POLL_NO_ANSWER;
    }
    return exchange(
        pinpad, BLOCK_CONFIG,
        [&](AbecsPacket *packet) {
            putBlock(packet, usBlockAddress);
            abecs_ext_put_char(packet, 'R');
        },
        holdsHeader,
        [&](Response &response) {
            repairStatusDigits(response);
            response.copyStatusTo(pbStatus);
            response.result.copyTo(pbConfigFlags);
        });
}

std::int32_t abecs_mf_block_config_set(AbecsPinpad *pinpad, std::uint16_t usBlockAddress,
                                       const char *szKeyA, const char *szKeyB,
                                       const char *pbConfigFlags, char *pbStatus) {
    if (!isGiven(pinpad, "pinpad") || !isBlock(usBlockAddress, "usBlockAddress") ||
        !hasLength(szKeyA, KEY_LENGTH, "szKeyA") || !hasLength(szKeyB, KEY_LENGTH, "szKeyB") ||
        !areConfigFlags(pbConfigFlags) || !isGiven(pbStatus, "pbStatus")) {
        return ABECS_POLL_NO_ANSWER;
    }
    return exchange(
        pinpad, BLOCK_CONFIG,
        [&](AbecsPacket *packet) {
            putBlock(packet, usBlockAddress);
            putKey(packet, 'A', szKeyA);
            putKey(packet, 'B', szKeyB);
            abecs_ext_put_text(packet, pbConfigFlags);
        },
        holdsHeader,
        [&](Response &response) {
            repairStatusDigits(response);
            response.copyStatusTo(pbStatus);
        });
}

std::int32_t abecs_mf_key_change(AbecsPinpad *pinpad, std::uint16_t usBlockAddress,
                                 const char *szKeyA, const char *szKeyB, char *pbStatus) {
    if (!isGiven(pinpad, "pinpad") || !isBlock(usBlockAddress, "usBlockAddress") ||
        !hasLength(szKeyA, KEY_LENGTH, "szKeyA") || !hasLength(szKeyB, KEY_LENGTH, "szKeyB") ||
        !isGiven(pbStatus, "pbStatus")) {
        return ABECS_POLL_NO_ANSWER;
    }
    return exchange(
        pinpad, KEY_CHANGE,
        [&](AbecsPacket *packet) {
            putBlock(packet, usBlockAddress);
            putKey(packet, 'A', szKeyA);
            putKey(packet, 'B', szKeyB);
        },
        holdsHeader,
        [&](Response &response) {
            repairStatusDigits(response);
            response.copyStatusTo(pbStatus);
        });
}
