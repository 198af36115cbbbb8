#pragma once

#include "cli/device.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace cli {

/// A key of a sector as people give it: A or B and twelve hexadecimal digits.
struct MifareKey {
    char letter;
    std::string digits;
};

/// The MIFARE card at the PIN pad. Everything throws CardRefused, LibraryFailure and Interrupted.
class MifareCard {
public:
    MifareCard(Device &device, const Settings &settings) : m_device(device), m_settings(settings) {}

    /// Its serial number. With --timeout it waits so long for somebody to hold a card to the
    /// reader, and throws CustomerTimeout.
    std::string activate();

    void authenticate(unsigned block, const MifareKey &key, const std::string &serialNumber);

    /// Activates the card and proves the key, when there is one; without one it relies on what the
    /// session has proved before.
    void unlock(unsigned block, const std::optional<MifareKey> &key);

    /// Hexadecimal text of so many bytes from one of the block on.
    std::string read(unsigned block, unsigned firstByte, unsigned count);

    /// Returns how many bytes the PIN pad says it wrote.
    std::uint32_t write(unsigned block, unsigned firstByte, const std::string &hex);

    /// A value operation: R, W, +, - or =. Returns the value that the PIN pad tells.
    std::int32_t value(unsigned block, unsigned target, char operation, std::int32_t amount);

    /// The three access bits of a block.
    std::string config(unsigned block);
    void setConfig(unsigned block, const std::string &keyA, const std::string &keyB,
                   const std::string &flags);

    void changeKeys(unsigned block, const std::string &keyA, const std::string &keyB);

private:
    using Exchange = std::function<std::int32_t(AbecsPinpad *, char *status)>;
    std::string statusOf(const char *command, const Exchange &exchange);
    void require(const char *command, const Exchange &exchange);

    Device &m_device;
    const Settings &m_settings;
};

} // namespace cli
