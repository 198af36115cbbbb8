#pragma once

#include "cli/command.h"
#include "cli/mifare_card.h"

#include <cstdint>
#include <optional>
#include <string>

namespace cli {

/// Finds the card and tells its serial number.
class MifareActivateCommand : public Command {
public:
    std::string name() const override { return "mifare activate"; }
    std::string summary() const override { return "Find the card and tell its serial number"; }
    std::string example() const override {
        return "pinpad --port ttyUSB0 mifare activate --timeout 30";
    }
    void run(Context &context) override;
};

/// What the commands for one block have in common: the block, and the key that opens it.
class MifareBlockCommand : public Command {
public:
    void declareArguments(CLI::App &app) override;
    void prepare() override;

protected:
    unsigned block() const { return m_block; }
    const std::optional<MifareKey> &key() const { return m_key; }
    /// The card with the block opened.
    MifareCard unlocked(Context &context) const;

private:
    unsigned m_block = 0;
    std::string m_keyText;
    std::optional<MifareKey> m_key;
};

/// Tries a key.
class MifareAuthCommand : public MifareBlockCommand {
public:
    std::string name() const override { return "mifare auth"; }
    std::string summary() const override { return "Prove a key of the block's sector"; }
    std::string example() const override {
        return "pinpad --port ttyUSB0 mifare auth 4 --key A:FFFFFFFFFFFF";
    }
    void prepare() override;
    void run(Context &context) override;
};

class MifareReadCommand : public MifareBlockCommand {
public:
    std::string name() const override { return "mifare read"; }
    std::string summary() const override { return "Read a block"; }
    std::string example() const override {
        return "pinpad --port ttyUSB0 mifare read 4 --key A:FFFFFFFFFFFF";
    }
    void declareArguments(CLI::App &app) override;
    void run(Context &context) override;

private:
    unsigned m_from = 0;
    unsigned m_count = 16;
};

class MifareWriteCommand : public MifareBlockCommand {
public:
    std::string name() const override { return "mifare write"; }
    std::string summary() const override { return "Write bytes into a block"; }
    std::string example() const override {
        return "pinpad --port ttyUSB0 mifare write 4 00112233 --from 12 --key A:FFFFFFFFFFFF";
    }
    void declareArguments(CLI::App &app) override;
    void prepare() override;
    void run(Context &context) override;

private:
    unsigned m_from = 0;
    std::string m_data;
};

/// Reads, sets or changes a value block.
class MifareValueCommand : public MifareBlockCommand {
public:
    std::string name() const override { return "mifare value"; }
    std::string summary() const override { return "Read, set, change or copy a value block"; }
    std::string example() const override {
        return "pinpad --port ttyUSB0 mifare value 4 subtract 250 --key A:FFFFFFFFFFFF";
    }
    void declareArguments(CLI::App &app) override;
    void prepare() override;
    void run(Context &context) override;

private:
    std::string m_operation;
    std::string m_amountText;
    std::int32_t m_amount = 0;
    char m_letter = 'R';
    std::optional<unsigned> m_to;
};

/// Tells or sets the access bits of a block.
class MifareConfigCommand : public MifareBlockCommand {
public:
    std::string name() const override { return "mifare config"; }
    std::string summary() const override { return "Tell or set the access bits of a block"; }
    std::string example() const override {
        return "pinpad --port ttyUSB0 mifare config 4 --key A:FFFFFFFFFFFF";
    }
    void declareArguments(CLI::App &app) override;
    void prepare() override;
    void run(Context &context) override;

private:
    std::string m_flags;
    std::string m_keyA;
    std::string m_keyB;
};

/// Changes both keys of a sector.
class MifareKeysCommand : public MifareBlockCommand {
public:
    std::string name() const override { return "mifare keys"; }
    std::string summary() const override { return "Change both keys of the block's sector"; }
    std::string example() const override {
        return "pinpad --port ttyUSB0 mifare keys 4 --key A:FFFFFFFFFFFF --key-a A0A1A2A3A4A5 "
               "--key-b B0B1B2B3B4B5";
    }
    void declareArguments(CLI::App &app) override;
    void prepare() override;
    void run(Context &context) override;

private:
    std::string m_keyA;
    std::string m_keyB;
};

} // namespace cli
