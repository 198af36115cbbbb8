#pragma once

#include "sim/types.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// A host of its own for the tests of the device: bytes, frames and ciphers written down here once
// more, so that the device is not measured with its own yardstick.
namespace sim_test {

using sim::Bytes;
using std::chrono::milliseconds;

constexpr std::uint8_t ack = 0x06;
constexpr std::uint8_t nak = 0x15;
constexpr std::uint8_t eot = 0x04;
constexpr std::uint8_t can = 0x18;

Bytes bytes(const std::string &text);
std::string text(const Bytes &bytes);
std::uint16_t crc(const Bytes &data);
Bytes frame(const Bytes &body, bool encrypted = false);

// A parameter record, and a command with records in one block.
std::string record(unsigned id, const std::string &value);
std::string command(const std::string &id, const std::string &records);
std::string number(std::size_t value, std::size_t width);

struct Frame {
    bool complete = false; // SYN to CRC came
    bool crc_right = false;
    bool encrypted = false;
    Bytes body; // unstuffed, not decrypted
};

class Host {
public:
    explicit Host(const std::string &port);
    ~Host();
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;

    void write(const Bytes &bytes);
    void write_byte(std::uint8_t byte) { write({byte}); }
    // Empty-handed when nothing comes in time or the line has hung up.
    std::optional<std::uint8_t> read_byte(milliseconds timeout = milliseconds(30000));
    // All that comes until nothing comes for a while.
    Bytes read_all(milliseconds silence = milliseconds(60));
    // Whether something lies unread, or comes in time.
    bool has_input(milliseconds timeout = milliseconds(30000));
    // Whether the line has hung up, or does so in time.
    bool hung_up(milliseconds timeout = milliseconds(30000));

    // Sends a frame; returns the byte that answers it.
    std::optional<std::uint8_t> send(const std::string &body, bool encrypted = false);
    Frame read_frame(milliseconds timeout = milliseconds(30000));

    // Sends a command, expects ACK, returns the body of the answer; what goes wrong is returned as
    // a text in angle brackets.
    std::string ask(const std::string &body);
    std::string answer();

    // The same in the secure channel.
    std::string ask_secure(const std::string &body);
    std::string answer_secure();
    bool send_secure(const std::string &body);

    Bytes key; // of the secure channel

private:
    int fd_;
};

Bytes aes(const Bytes &key, const Bytes &data, bool encrypt);
// The payload for a body.
Bytes seal(const Bytes &key, const std::string &body);
// The body of a payload; a text in angle brackets when it is damaged.
std::string unseal(const Bytes &key, const Bytes &payload);

// A key pair with which the host opens a secure session.
class KeyPair {
public:
    KeyPair();
    ~KeyPair();
    KeyPair(const KeyPair &) = delete;
    KeyPair &operator=(const KeyPair &) = delete;

    // The body of the OPN command.
    std::string open_command() const;
    // The block within 512 hexadecimal characters, decrypted.
    Bytes decrypt(const std::string &hex) const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

// Opens a secure session and keeps its key in the host. Returns the decrypted block.
Bytes open_secure(Host &host, const KeyPair &pair);

std::string hex(const Bytes &bytes);
Bytes from_hex(const std::string &hex);

} // namespace sim_test
