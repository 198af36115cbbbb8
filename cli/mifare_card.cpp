#include "cli/mifare_card.h"

#include "abecs/packet.h"
#include "cli/interrupt.h"
#include "cli/mifare_status.h"
#include "ext/mifare.h"

#include <array>
#include <chrono>

namespace cli {

namespace {

using std::chrono::steady_clock;

// How often the PIN pad is asked for a card that is not there yet.
constexpr std::chrono::milliseconds CARD_INTERVAL{200};

constexpr std::string_view NO_CARD = "01";
constexpr std::size_t STATUS_SIZE = 2;
constexpr std::size_t BYTE_DIGITS = 2;

// Holds the longest text that a PIN pad can send.
using AnswerText = std::array<char, ABECS_PACKET_CAPACITY + 1>;

std::uint16_t address(unsigned block) {
    return static_cast<std::uint16_t>(block);
}

} // namespace

std::string MifareCard::statusOf(const char *command, const Exchange &exchange) {
    throwIfInterrupted();
    std::array<char, STATUS_SIZE + 1> status{};
    std::int32_t result = 0;
    callLibrary(Stage::Command, [&] { result = exchange(m_device.session(), status.data()); });
    if (result != 0) {
        throw LibraryFailure{PCL_RESULT_TIMEOUT_ERROR,
                             std::string("No answer to ") + command + " in time", Stage::Command};
    }
    return {status.data(), STATUS_SIZE};
}

void MifareCard::require(const char *command, const Exchange &exchange) {
    const std::string status = statusOf(command, exchange);
    if (status != MIFARE_DONE) {
        throw CardRefused{command, status};
    }
}

std::string MifareCard::activate() {
    const char *command = "MF01";
    AnswerText serialNumber{};
    const auto exchange = [&](AbecsPinpad *pinpad, char *status) {
        return abecs_mf_activate(pinpad, serialNumber.data(), status);
    };
    if (m_settings.timeout) {
        const steady_clock::time_point deadline = steady_clock::now() + *m_settings.timeout;
        std::string status = statusOf(command, exchange);
        while (status == NO_CARD) {
            if (steady_clock::now() >= deadline) {
                throw CustomerTimeout{};
            }
            sleepUnlessInterrupted(CARD_INTERVAL);
            status = statusOf(command, exchange);
        }
        if (status != MIFARE_DONE) {
            throw CardRefused{command, status};
        }
    } else {
        require(command, exchange);
    }
    return serialNumber.data();
}

void MifareCard::authenticate(unsigned block, const MifareKey &key,
                              const std::string &serialNumber) {
    require("MF02", [&](AbecsPinpad *pinpad, char *status) {
        return abecs_mf_authenticate(pinpad, address(block), key.letter, key.digits.c_str(),
                                     serialNumber.c_str(), status);
    });
}

void MifareCard::unlock(unsigned block, const std::optional<MifareKey> &key) {
    if (key) {
        authenticate(block, *key, activate());
    }
}

std::string MifareCard::read(unsigned block, unsigned firstByte, unsigned count) {
    AnswerText data{};
    std::uint32_t length = count;
    require("MF03", [&](AbecsPinpad *pinpad, char *status) {
        return abecs_mf_read_write(pinpad, 'R', address(block),
                                   static_cast<std::uint8_t>(firstByte), &length, data.data(),
                                   status);
    });
    return data.data();
}

std::uint32_t MifareCard::write(unsigned block, unsigned firstByte, const std::string &hex) {
    std::string data = hex;
    auto length = static_cast<std::uint32_t>(hex.size() / BYTE_DIGITS);
    require("MF03", [&](AbecsPinpad *pinpad, char *status) {
        return abecs_mf_read_write(pinpad, 'W', address(block),
                                   static_cast<std::uint8_t>(firstByte), &length, data.data(),
                                   status);
    });
    return length;
}

std::int32_t MifareCard::value(unsigned block, unsigned target, char operation,
                               std::int32_t amount) {
    std::int32_t value = 0;
    require("MF04", [&](AbecsPinpad *pinpad, char *status) {
        return abecs_mf_value_command(pinpad, address(block), address(target), operation, amount,
                                      &value, status);
    });
    return value;
}

std::string MifareCard::config(unsigned block) {
    AnswerText flags{};
    require("MF05", [&](AbecsPinpad *pinpad, char *status) {
        return abecs_mf_block_config_get(pinpad, address(block), flags.data(), status);
    });
    return flags.data();
}

void MifareCard::setConfig(unsigned block, const std::string &keyA, const std::string &keyB,
                           const std::string &flags) {
    require("MF05", [&](AbecsPinpad *pinpad, char *status) {
        return abecs_mf_block_config_set(pinpad, address(block), keyA.c_str(), keyB.c_str(),
                                         flags.c_str(), status);
    });
}

void MifareCard::changeKeys(unsigned block, const std::string &keyA, const std::string &keyB) {
    require("MF06", [&](AbecsPinpad *pinpad, char *status) {
        return abecs_mf_key_change(pinpad, address(block), keyA.c_str(), keyB.c_str(), status);
    });
}

} // namespace cli
