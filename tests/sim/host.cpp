#include "tests/sim/host.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>

namespace sim_test {

namespace {

constexpr std::uint8_t syn = 0x16;
constexpr std::uint8_t etb = 0x17;
constexpr std::uint8_t dc2 = 0x12;
constexpr std::uint8_t dc3 = 0x13;

int as_poll_timeout(milliseconds timeout) {
    return static_cast<int>(timeout.count());
}

} // namespace

Bytes bytes(const std::string &text) {
    return {text.begin(), text.end()};
}

std::string text(const Bytes &bytes) {
    return {bytes.begin(), bytes.end()};
}

std::uint16_t crc(const Bytes &data) {
    unsigned value = 0;
    for (std::uint8_t byte : data) {
        value ^= static_cast<unsigned>(byte) << 8;
        for (int bit = 0; bit < 8; ++bit)
            value = (value & 0x8000) != 0 ? (value << 1 ^ 0x1021) & 0xFFFF : value << 1 & 0xFFFF;
    }
    return static_cast<std::uint16_t>(value);
}

Bytes frame(const Bytes &body, bool encrypted) {
    Bytes covered = body;
    if (encrypted)
        covered.insert(covered.begin(), dc2);
    covered.push_back(etb);
    const unsigned check = crc(covered);
    Bytes out{syn};
    if (encrypted)
        out.push_back(dc2);
    for (std::uint8_t byte : body) {
        const bool stuffed = byte == dc3 || byte == syn || byte == etb;
        if (stuffed)
            out.push_back(dc3);
        out.push_back(static_cast<std::uint8_t>(stuffed ? byte + 0x20 : byte));
    }
    out.insert(out.end(),
               {etb, static_cast<std::uint8_t>(check >> 8), static_cast<std::uint8_t>(check)});
    return out;
}

std::string number(std::size_t value, std::size_t width) {
    std::string digits = std::to_string(value);
    return std::string(digits.size() < width ? width - digits.size() : 0, '0') + digits;
}

std::string record(unsigned id, const std::string &value) {
    std::string out;
    for (std::size_t field : {static_cast<std::size_t>(id), value.size()}) {
        out.push_back(static_cast<char>(field >> 8));
        out.push_back(static_cast<char>(field & 0xFF));
    }
    return out + value;
}

std::string command(const std::string &id, const std::string &records) {
    return records.empty() ? id : id + number(records.size(), 3) + records;
}

Host::Host(const std::string &port) : fd_(::open(port.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    if (fd_ < 0)
        throw std::runtime_error("cannot open " + port);
    termios settings{};
    ::tcgetattr(fd_, &settings);
    ::cfmakeraw(&settings);
    ::tcsetattr(fd_, TCSANOW, &settings);
}

Host::~Host() {
    ::close(fd_);
}

void Host::write(const Bytes &bytes) {
    if (::write(fd_, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
        throw std::runtime_error("short write");
}

std::optional<std::uint8_t> Host::read_byte(milliseconds timeout) {
    pollfd watched{fd_, POLLIN, 0};
    if (::poll(&watched, 1, as_poll_timeout(timeout)) != 1)
        return std::nullopt;
    std::uint8_t byte = 0;
    if (::read(fd_, &byte, 1) != 1)
        return std::nullopt;
    return byte;
}

Bytes Host::read_all(milliseconds silence) {
    Bytes all;
    while (const auto byte = read_byte(silence))
        all.push_back(*byte);
    return all;
}

bool Host::has_input(milliseconds timeout) {
    pollfd waiting{fd_, POLLIN, 0};
    return ::poll(&waiting, 1, as_poll_timeout(timeout)) == 1 && (waiting.revents & POLLIN) != 0;
}

bool Host::hung_up(milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (std::chrono::steady_clock::now() < deadline) {
        pollfd watched{fd_, 0, 0};
        if (::poll(&watched, 1, 20) == 1 && (watched.revents & POLLHUP) != 0)
            return true;
    }
    return false;
}

std::optional<std::uint8_t> Host::send(const std::string &body, bool encrypted) {
    write(frame(bytes(body), encrypted));
    return read_byte();
}

Frame Host::read_frame(milliseconds timeout) {
    Frame result;
    if (read_byte(timeout) != syn)
        return result;
    Bytes covered;
    bool first = true;
    while (true) {
        auto byte = read_byte();
        if (!byte)
            return result;
        if (*byte == etb)
            break;
        if (*byte == dc2 && first) {
            result.encrypted = true;
        } else {
            if (*byte == dc3) {
                byte = read_byte();
                if (!byte)
                    return result;
                byte = static_cast<std::uint8_t>(*byte - 0x20);
            }
            result.body.push_back(*byte);
        }
        first = false;
    }
    const auto high = read_byte();
    const auto low = read_byte();
    if (!high || !low)
        return result;
    if (result.encrypted)
        covered.push_back(dc2);
    covered.insert(covered.end(), result.body.begin(), result.body.end());
    covered.push_back(etb);
    result.complete = true;
    result.crc_right = crc(covered) == (*high << 8 | *low);
    return result;
}

std::string Host::answer() {
    const Frame answer = read_frame();
    if (!answer.complete)
        return "<no frame>";
    if (!answer.crc_right)
        return "<bad crc>";
    return answer.encrypted ? "<encrypted>" : text(answer.body);
}

std::string Host::ask(const std::string &body) {
    return send(body) == ack ? answer() : "<no ack>";
}

bool Host::send_secure(const std::string &body) {
    return send(text(seal(key, body)), true) == ack;
}

std::string Host::answer_secure() {
    const Frame answer = read_frame();
    if (!answer.complete || !answer.crc_right)
        return "<no good frame>";
    return answer.encrypted ? unseal(key, answer.body) : "<plain> " + text(answer.body);
}

std::string Host::ask_secure(const std::string &body) {
    return send_secure(body) ? answer_secure() : "<no ack>";
}

Bytes aes(const Bytes &key, const Bytes &data, bool encrypt) {
    const std::array<std::uint8_t, 16> vector{};
    EVP_CIPHER_CTX *context = EVP_CIPHER_CTX_new();
    EVP_CipherInit_ex(context, EVP_aes_128_cbc(), nullptr, key.data(), vector.data(),
                      encrypt ? 1 : 0);
    EVP_CIPHER_CTX_set_padding(context, 0);
    Bytes out(data.size() + 16);
    int length = 0;
    EVP_CipherUpdate(context, out.data(), &length, data.data(), static_cast<int>(data.size()));
    EVP_CIPHER_CTX_free(context);
    out.resize(static_cast<std::size_t>(length));
    return out;
}

Bytes seal(const Bytes &key, const std::string &body) {
    const unsigned check = crc(bytes(body));
    Bytes plain{static_cast<std::uint8_t>(body.size() >> 8), static_cast<std::uint8_t>(body.size()),
                static_cast<std::uint8_t>(check >> 8), static_cast<std::uint8_t>(check)};
    plain.insert(plain.end(), body.begin(), body.end());
    do {
        plain.push_back(0);
    } while (plain.size() % 16 != 0);
    return aes(key, plain, true);
}

std::string unseal(const Bytes &key, const Bytes &payload) {
    if (payload.empty() || payload.size() % 16 != 0)
        return "<payload of " + std::to_string(payload.size()) + ">";
    const Bytes plain = aes(key, payload, false);
    const std::size_t length = static_cast<std::size_t>(plain[0]) << 8 | plain[1];
    if (length > plain.size() - 4)
        return "<len " + std::to_string(length) + ">";
    const std::size_t padding = plain.size() - 4 - length;
    if (padding < 1 || padding > 16)
        return "<padding of " + std::to_string(padding) + ">";
    const Bytes body(plain.begin() + 4, plain.begin() + 4 + static_cast<std::ptrdiff_t>(length));
    if (crc(body) != (plain[2] << 8 | plain[3]))
        return "<datacrc>";
    return text(body);
}

struct KeyPair::Impl {
    EVP_PKEY *key = nullptr;
};

KeyPair::KeyPair() : impl_(std::make_unique<Impl>()) {
    impl_->key = EVP_RSA_gen(2048);
}

KeyPair::~KeyPair() {
    EVP_PKEY_free(impl_->key);
}

std::string KeyPair::open_command() const {
    BIGNUM *modulus = nullptr;
    EVP_PKEY_get_bn_param(impl_->key, OSSL_PKEY_PARAM_RSA_N, &modulus);
    Bytes n(256);
    BN_bn2binpad(modulus, n.data(), 256);
    BN_free(modulus);
    return "OPN5230256" + hex(n) + "3010001";
}

Bytes KeyPair::decrypt(const std::string &hex) const {
    const Bytes block = from_hex(hex);
    Bytes out(256);
    std::size_t length = out.size();
    EVP_PKEY_CTX *context = EVP_PKEY_CTX_new(impl_->key, nullptr);
    EVP_PKEY_decrypt_init(context);
    EVP_PKEY_CTX_set_rsa_padding(context, RSA_NO_PADDING);
    const int done = EVP_PKEY_decrypt(context, out.data(), &length, block.data(), block.size());
    EVP_PKEY_CTX_free(context);
    out.resize(done == 1 ? length : 0);
    return out;
}

Bytes open_secure(Host &host, const KeyPair &pair) {
    const std::string answer = host.ask(pair.open_command());
    const std::string head = "OPN000515256";
    if (answer.size() != head.size() + 512 || answer.compare(0, head.size(), head) != 0)
        throw std::runtime_error("no secure session: " + answer.substr(0, 20));
    const Bytes block = pair.decrypt(answer.substr(head.size()));
    if (block.size() != 256)
        throw std::runtime_error("the key block cannot be decrypted");
    host.key.assign(block.end() - 16, block.end());
    return block;
}

std::string hex(const Bytes &bytes) {
    std::string out;
    for (std::uint8_t byte : bytes) {
        std::array<char, 3> digits{};
        std::snprintf(digits.data(), digits.size(), "%02X", byte);
        out += digits.data();
    }
    return out;
}

Bytes from_hex(const std::string &hex) {
    Bytes out;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        out.push_back(static_cast<std::uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
    return out;
}

} // namespace sim_test
