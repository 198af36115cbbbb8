#pragma once

#include "sim/simulator.h"
#include "tests/api/library.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <iterator>
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

    /// Whatever came before, a session on this device goes from its opening to its end.
    void expectWholeSession(std::uint8_t secure = 0) {
        open(secure);
        expectCapture();
        EXPECT_EQ(PINPAD_OK, library.close("WHOLE"));
        expectNoFailure();
        EXPECT_EQ("WHOLE", device->snapshot().idle_message);
    }
    /// A customer types, on the open session.
    void expectCapture() {
        library.getClearData(1, 1, 8, 0);
        expectNoFailure();
        device->press("7");
        device->press_key(sim::Key::enter);
        EXPECT_EQ(PINPAD_OK, library.getClearDataResponse(digits.data(), nullptr));
        expectNoFailure();
        EXPECT_STREQ("7", digits.data());
    }

    std::string lastCommand() const {
        const std::vector<sim::Bytes> commands = device->commands();
        return commands.empty() ? "" : std::string(commands.back().begin(), commands.back().end());
    }

    static std::size_t openDescriptors() {
        using Entries = std::filesystem::directory_iterator;
        return static_cast<std::size_t>(std::distance(Entries("/proc/self/fd"), Entries()));
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
