#pragma once

#include "sim/simulator.h"
#include "tests/api/library.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>

/// A host on one side, the virtual PIN pad on the other. Failures are recorded by a handler that
/// returns.
class Exports : public testing::Test {
protected:
    void SetUp() override {
        instance = this;
        library.setHandler(record);
    }
    void TearDown() override {
        library.setHandler(nullptr);
        instance = nullptr;
    }

    void plugIn(const std::string &scenario = "") {
        device = std::make_unique<sim::Simulator>(scenario);
    }
    std::string port() const { return device->port(); }

    void open(std::uint8_t secure) {
        EXPECT_EQ(PINPAD_OK, library.open(port().c_str(), secure));
        EXPECT_EQ("", lastMessage);
    }

    /// The last call failed with just this, and the handler was called once for it.
    void expectFailure(std::int32_t code, const std::string &message) {
        EXPECT_EQ(1, failures);
        EXPECT_EQ(code, lastCode);
        EXPECT_EQ(message, lastMessage);
        forget();
    }
    void expectNoFailure() { EXPECT_EQ("", lastMessage); }
    void forget() {
        failures = 0;
        lastCode = 0;
        lastMessage.clear();
    }

    std::string lastCommand() const {
        const std::vector<sim::Bytes> commands = device->commands();
        return commands.empty() ? "" : std::string(commands.back().begin(), commands.back().end());
    }

    static void PINPAD_CALL record(std::int32_t code, const char *message) {
        ++instance->failures;
        instance->lastCode = code;
        instance->lastMessage = message == nullptr ? "(null)" : message;
    }

    static inline Exports *instance = nullptr;
    Library library;
    std::unique_ptr<sim::Simulator> device;
    std::array<char, PINPAD_CLEAR_DATA_SIZE> digits{};
    std::array<char, PINPAD_NOTIFICATION_SIZE> notification{};
    int failures = 0;
    std::int32_t lastCode = 0;
    std::string lastMessage;
};
