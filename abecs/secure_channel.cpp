#include "abecs/secure_channel.h"

#include "abecs/crc16.h"
#include "abecs/crypto/aes.h"
#include "abecs/crypto/rsa.h"
#include "abecs/link.h"
#include "abecs/response_parser.h"
#include "core/buffer.h"
#include "core/exception.h"
#include "core/guard.h"
#include "core/memory.h"
#include "core/owned.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

using BufferPtr = PclOwned<PclBuffer, pcl_buffer_destroy>;
using AesKeyPtr = PclOwned<PclAesKey, pcl_aes_key_destroy>;
using RsaKeyPtr = PclOwned<PclRsaKey, pcl_rsa_key_destroy>;

constexpr char OPN[] = "OPN";
constexpr std::size_t RSP_HEADER_SIZE = 6;

constexpr int RSA_SIZE = 256;
constexpr std::int32_t RSA_EXPONENT = 65537;
constexpr std::size_t MODULUS_DIGITS = std::size_t{2} * RSA_SIZE;
constexpr std::size_t OPN_EXPONENT_DIGITS = 6;
constexpr std::uint64_t OPN_DATA_LENGTH = 523;
constexpr int OPN_RSP_LEN1 = 515;
constexpr int OPN_CRKSLEN = 256;

constexpr std::size_t AES_BLOCK = 16;

// A byte array that is wiped when it goes out of scope.
template <std::size_t Size>
struct SecretBytes {
    std::array<std::uint8_t, Size> bytes{};

    SecretBytes() = default;
    SecretBytes(const SecretBytes &) = delete;
    SecretBytes &operator=(const SecretBytes &) = delete;
    ~SecretBytes() { pcl_wipe(bytes.data(), bytes.size()); }

    std::uint8_t *data() { return bytes.data(); }
    static constexpr std::size_t size() { return Size; }
};

bool isGiven(const AbecsPinpad *pinpad) {
    if (pinpad == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
        return false;
    }
    return true;
}

AbecsRspStat_e readOpenHeader(AbecsPacket *packet) {
    if (abecsPacketAvailable(packet) < RSP_HEADER_SIZE) {
        pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "Unrecognized response");
        return ABECS_RSP_STAT_ST_INTERR;
    }
    char rspId[4];
    abecsFieldGetAlpha(packet, rspId, sizeof rspId, 3, 0);
    if (std::strcmp(rspId, OPN) != 0 && std::strcmp(rspId, ABECS_RSP_ID_ERROR) != 0) {
        pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "(%s) Invalid RSP_ID: %s", OPN, rspId);
        return ABECS_RSP_STAT_ST_INTERR;
    }
    return abecsReadRspStat(packet);
}

void putSecureOpen(AbecsPacket *packet, const PclRsaPublicKey &key) {
    abecsFieldPutAlpha(packet, OPN, 3, 0);
    abecsFieldPutNumber(packet, OPN_DATA_LENGTH, 3);
    abecsFieldPutNumber(packet, 0, 1);
    abecsFieldPutNumber(packet, RSA_SIZE, 3);
    abecsFieldPutHex(packet, key.N, key.szN, MODULUS_DIGITS);
    abecsFieldPutNumber(packet, key.sze, 1);
    abecsFieldPutHex(packet, key.e, key.sze, OPN_EXPONENT_DIGITS);
}

void requireLength(AbecsPacket *packet, const char *format, int expected) {
    const auto length = static_cast<int>(abecsFieldGetNumber(packet, 3));
    if (length != expected) {
        pcl_raise(PCL_RESULT_PROTOCOL_ERROR, format, OPN, length);
    }
}

// The hexadecimal reader takes leading bytes 0x30 for padding. The block is always 256 bytes long,
// so what is missing are exactly those bytes: put them back.
void readKeyBlock(AbecsPacket *packet, SecretBytes<RSA_SIZE> &block) {
    const std::size_t count = abecsFieldGetHex(packet, block.data(), block.size(), MODULUS_DIGITS);
    const std::size_t missing = block.size() - count;
    std::memmove(block.data() + missing, block.data(), count);
    std::memset(block.data(), 0x30, missing);
}

// Takes the session key out of a decrypted PKCS #1 block of type 2. The padding is not inspected.
void unwrapSessionKey(SecretBytes<RSA_SIZE> &block, SecretBytes<ABECS_SESSION_KEY_SIZE> &key) {
    const BufferPtr buffer(pcl_buffer_create(0));
    pcl_buffer_set_storage(buffer.get(), block.data(), RSA_SIZE, 1);
    const std::uint8_t leading = pcl_buffer_read_byte(buffer.get());
    const std::uint8_t blockType = pcl_buffer_read_byte(buffer.get());
    if (leading != 0x00 || blockType != 0x02) {
        pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "(%s) Invalid PCKS#1 block header", OPN);
        return;
    }
    while (pcl_buffer_read_byte(buffer.get()) != 0x00) {
    }
    const auto left = static_cast<int>(pcl_buffer_available(buffer.get()));
    if (left != static_cast<int>(key.size())) {
        pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "(%s) Invalid Ksec length (expected: %d, read: %d)",
                  OPN, static_cast<int>(key.size()), left);
        return;
    }
    pcl_buffer_read(buffer.get(), key.data(), ABECS_SESSION_KEY_SIZE);
}

void installSessionKey(AbecsPinpad *pinpad, AbecsPacket *response, const PclRsaKey *privateKey) {
    SecretBytes<RSA_SIZE> wrapped;
    readKeyBlock(response, wrapped);
    SecretBytes<RSA_SIZE> block;
    pcl_rsa_private_raw(privateKey, wrapped.data(), wrapped.size(), block.data(), block.size());
    SecretBytes<ABECS_SESSION_KEY_SIZE> key;
    unwrapSessionKey(block, key);
    abecs_pinpad_set_session_key(pinpad, key.data());
}

std::size_t paddingFor(std::size_t length) {
    return length / AES_BLOCK * AES_BLOCK + AES_BLOCK - length;
}

std::uint16_t crcOf(const std::uint8_t *data, std::size_t length) {
    std::uint16_t crc = 0;
    abecs_crc16_update(data, length, &crc);
    return crc;
}

unsigned bigEndian16(const std::uint8_t *bytes) {
    return static_cast<unsigned>(bytes[0] << 8U | bytes[1]);
}

// The plain body inside a decrypted payload.
struct PlainBody {
    const std::uint8_t *data;
    std::size_t length;
};

constexpr std::size_t WRAPPER_SIZE = 4;

PlainBody openWrapper(const std::uint8_t *payload, std::size_t size) {
    const std::size_t length = bigEndian16(payload);
    const unsigned crc = bigEndian16(payload + 2);
    const std::uint8_t *body = payload + WRAPPER_SIZE;
    if (size - WRAPPER_SIZE < length) {
        pcl_exception_rethrow(PCL_RESULT_PROTOCOL_ERROR, "Encrypted packet is not complete");
        return {};
    }
    if (crcOf(body, length) != crc) {
        pcl_exception_rethrow(PCL_RESULT_PROTOCOL_ERROR, "Invalid DATACRC");
        return {};
    }
    return {body, length};
}

using PayloadBytes = SecretBytes<ABECS_PACKET_CAPACITY>;

} // namespace

AbecsRspStat_e abecs_open(AbecsPinpad *pinpad, std::uint8_t secureFlag) {
    if (!isGiven(pinpad)) {
        return ABECS_RSP_STAT_ST_INTERR;
    }
    return pcl_guarded(ABECS_RSP_STAT_ST_INTERR, [&] {
        if (secureFlag != 1) {
            return abecs_open_plain(pinpad);
        }
        std::uint8_t keyInstalled = 0;
        const AbecsRspStat_e status = abecs_open_secure(pinpad, &keyInstalled);
        const bool keyMissing = status == ABECS_RSP_STAT_ST_OK && keyInstalled == 0;
        return keyMissing ? ABECS_RSP_STAT_ST_INVCALL : status;
    });
}

AbecsRspStat_e abecs_open_plain(AbecsPinpad *pinpad) {
    return pcl_guarded(ABECS_RSP_STAT_ST_INTERR, [&] {
        const AbecsPacketPtr packet(abecsPacketCreate());
        abecsFieldPutAlpha(packet.get(), OPN, 3, 0);
        abecs_link_exchange(pinpad, packet.get());
        return readOpenHeader(packet.get());
    });
}

AbecsRspStat_e abecs_open_secure(AbecsPinpad *pinpad, std::uint8_t *keyInstalled) {
    return pcl_guarded(ABECS_RSP_STAT_ST_INTERR, [&] {
        const RsaKeyPtr keyPair(pcl_rsa_key_generate(RSA_SIZE, RSA_EXPONENT));
        PclRsaPublicKey publicKey{};
        pcl_rsa_export_public(keyPair.get(), &publicKey);
        const AbecsPacketPtr packet(abecsPacketCreate());
        putSecureOpen(packet.get(), publicKey);
        abecs_link_exchange(pinpad, packet.get());
        const AbecsRspStat_e status = readOpenHeader(packet.get());
        if (abecsPacketAvailable(packet.get()) > 0) {
            requireLength(packet.get(), "(%s) Invalid RSP_LEN1: %d", OPN_RSP_LEN1);
            requireLength(packet.get(), "(%s) Invalid OPN_CRKSLEN: %d", OPN_CRKSLEN);
            installSessionKey(pinpad, packet.get(), keyPair.get());
            *keyInstalled = 1;
        }
        return status;
    });
}

void abecs_secure_send(AbecsPinpad *pinpad, AbecsPacket *packet) {
    if (!isGiven(pinpad)) {
        return;
    }
    pcl_guarded([&] {
        const AesKeyPtr cipher(
            pcl_aes_key_create(pinpad->sessionKey.data(), pinpad->sessionKey.size()));
        const std::size_t length = abecsPacketAvailable(packet);
        const std::size_t total = length + WRAPPER_SIZE + paddingFor(length + WRAPPER_SIZE);
        PayloadBytes payload;
        if (total > payload.size()) {
            pcl_raise(PCL_RESULT_IO_ERROR,
                      "No enough space in buffer (available: %zu, requested: %zu)", payload.size(),
                      total);
            return;
        }
        AbecsPacketMark start;
        abecsPacketMark(packet, &start);
        abecsFieldGetBytes(packet, payload.data() + WRAPPER_SIZE, length, length);
        abecsPacketRestore(packet, &start);
        const std::uint16_t crc = crcOf(payload.data() + WRAPPER_SIZE, length);

        const AbecsPacketPtr encrypted(abecsPacketCreate());
        abecsFieldPutBinary(encrypted.get(), static_cast<std::uint32_t>(length), 2);
        abecsFieldPutBinary(encrypted.get(), crc, 2);
        abecsFieldGetBytes(encrypted.get(), payload.data(), WRAPPER_SIZE, WRAPPER_SIZE);
        pcl_aes_cbc_encrypt(cipher.get(), nullptr, payload.data(), payload.data(), total);
        abecsFieldPutBytes(encrypted.get(), payload.data(), total);
        abecs_link_send_frame(pinpad, packet, encrypted.get());
    });
}

void abecs_decrypt_response(AbecsPinpad *pinpad, AbecsPacket *packet) {
    if (!isGiven(pinpad)) {
        return;
    }
    pcl_guarded([&] {
        const std::size_t size = abecsPacketAvailable(packet);
        // An empty payload is no message of the channel either.
        if (size == 0 || size % AES_BLOCK != 0) {
            pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "Malformed encrypted response");
            return;
        }
        PayloadBytes payload;
        abecsFieldGetBytes(packet, payload.data(), payload.size(), size);
        {
            const AesKeyPtr cipher(
                pcl_aes_key_create(pinpad->sessionKey.data(), pinpad->sessionKey.size()));
            pcl_aes_cbc_decrypt(cipher.get(), nullptr, payload.data(), payload.data(), size);
        }
        abecsPacketClear(packet);
        const PclFailure cause = pcl_attempt([&] {
            const PlainBody body = openWrapper(payload.data(), size);
            abecsFieldPutBytes(packet, body.data, body.length);
        });
        if (cause) {
            pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "Malformed encrypted response (caused by %s)",
                      cause.message);
        }
    });
}
