#include "abecs/open.h"

#include "abecs/crypto/rsa.h"
#include "abecs/link.h"
#include "abecs/response_header.h"
#include "abecs/wipe.h"
#include "core/buffer.h"
#include "core/exception.h"
#include "core/guard.h"
#include "core/memory.h"
#include "core/owned.h"

#include <array>
#include <cstring>
#include <new>

namespace {

using BufferPtr = PclOwned<PclBuffer, pcl_buffer_destroy>;
using RsaKeyPtr = PclOwned<PclRsaKey, pcl_rsa_key_destroy>;

constexpr PclSerialSettings LINE_SETTINGS{20, 19200, 8, 1, 0, 0};

constexpr char OPN[] = "OPN";
constexpr char INVALID_ID[] = "(%s) Invalid RSP_ID: %s";

constexpr int RSA_SIZE = 256;
constexpr std::int32_t RSA_EXPONENT = 65537;
constexpr std::size_t MODULUS_DIGITS = std::size_t{2} * RSA_SIZE;
constexpr std::size_t OPN_EXPONENT_DIGITS = 6;
constexpr std::uint64_t OPN_DATA_LENGTH = 523;
constexpr int OPN_RSP_LEN1 = 515;
constexpr int OPN_CRKSLEN = 256;

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
void readKeyBlock(AbecsPacket *packet, AbecsSecretBytes<RSA_SIZE> &block) {
    const std::size_t count = abecsFieldGetHex(packet, block.data(), block.size(), MODULUS_DIGITS);
    const std::size_t missing = block.size() - count;
    std::memmove(block.data() + missing, block.data(), count);
    std::memset(block.data(), 0x30, missing);
}

// Takes the session key out of a decrypted PKCS #1 block of type 2. The padding is not inspected.
void unwrapSessionKey(AbecsSecretBytes<RSA_SIZE> &block,
                      AbecsSecretBytes<ABECS_SESSION_KEY_SIZE> &key) {
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
    AbecsSecretBytes<RSA_SIZE> wrapped;
    readKeyBlock(response, wrapped);
    AbecsSecretBytes<RSA_SIZE> block;
    pcl_rsa_private_raw(privateKey, wrapped.data(), wrapped.size(), block.data(), block.size());
    AbecsSecretBytes<ABECS_SESSION_KEY_SIZE> key;
    unwrapSessionKey(block, key);
    abecs_pinpad_set_session_key(pinpad, key.data());
}

} // namespace

AbecsPinpad *abecs_pinpad_create(const char *portName, const PclInterrupt *interrupt) {
    return pcl_guarded<AbecsPinpad *>(nullptr, [&] {
        AbecsPinpadPtr pinpad(new (pcl_malloc(sizeof(AbecsPinpad), 0)) AbecsPinpad);
        pinpad->port = pcl_serial_open(portName);
        pcl_serial_configure(pinpad->port, &LINE_SETTINGS);
        pcl_serial_set_interrupt(pinpad->port, interrupt);
        abecs_link_drain_input(pinpad->port);
        abecs_link_abort(pinpad.get());
        abecs_pinpad_mark_command_time(pinpad.get());
        return pinpad.release();
    });
}

AbecsRspStat_e abecs_open(AbecsPinpad *pinpad, std::uint8_t secureFlag) {
    if (pinpad == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
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
        const AbecsPacketLocal packet;
        abecsFieldPutAlpha(packet, OPN, 3, 0);
        abecs_link_exchange(pinpad, packet);
        const AbecsRspStat_e status = abecs_read_response_header(packet, OPN, INVALID_ID);
        abecs_pinpad_settle(pinpad);
        return status;
    });
}

AbecsRspStat_e abecs_open_secure(AbecsPinpad *pinpad, std::uint8_t *keyInstalled) {
    return pcl_guarded(ABECS_RSP_STAT_ST_INTERR, [&] {
        const RsaKeyPtr keyPair(pcl_rsa_key_generate(RSA_SIZE, RSA_EXPONENT));
        PclRsaPublicKey publicKey{};
        pcl_rsa_export_public(keyPair.get(), &publicKey);
        const AbecsPacketLocal packet;
        putSecureOpen(packet, publicKey);
        abecs_link_exchange(pinpad, packet);
        const AbecsRspStat_e status = abecs_read_response_header(packet, OPN, INVALID_ID);
        if (abecsPacketAvailable(packet) > 0) {
            requireLength(packet, "(%s) Invalid RSP_LEN1: %d", OPN_RSP_LEN1);
            requireLength(packet, "(%s) Invalid OPN_CRKSLEN: %d", OPN_CRKSLEN);
            installSessionKey(pinpad, packet, keyPair.get());
            *keyInstalled = 1;
        }
        abecs_pinpad_settle(pinpad);
        return status;
    });
}
