#include "abecs/secure_channel.h"

#include "abecs/crc16.h"
#include "abecs/crypto/aes.h"
#include "abecs/wipe.h"
#include "core/exception.h"
#include "core/guard.h"
#include "core/owned.h"

namespace {

using AesKeyPtr = PclOwned<PclAesKey, pcl_aes_key_destroy>;

constexpr std::size_t AES_BLOCK = 16;

bool isGiven(const AbecsPinpad *pinpad) {
    if (pinpad == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
        return false;
    }
    return true;
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

using PayloadBytes = AbecsSecretBytes<ABECS_PACKET_CAPACITY>;

} // namespace

void abecs_secure_wrap(AbecsPinpad *pinpad, AbecsPacket *packet, AbecsPacket *out) {
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

        abecsPacketClear(out);
        abecsFieldPutBinary(out, static_cast<std::uint32_t>(length), 2);
        abecsFieldPutBinary(out, crc, 2);
        abecsFieldGetBytes(out, payload.data(), WRAPPER_SIZE, WRAPPER_SIZE);
        pcl_aes_cbc_encrypt(cipher.get(), nullptr, payload.data(), payload.data(), total);
        abecsFieldPutBytes(out, payload.data(), total);
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
        const PclException cause = pcl_attempt([&] {
            const PlainBody body = openWrapper(payload.data(), size);
            abecsFieldPutBytes(packet, body.data, body.length);
        });
        if (cause) {
            pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "Malformed encrypted response (caused by %s)",
                      cause.message);
        }
    });
}
