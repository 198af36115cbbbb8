#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include <sys/types.h>

namespace bench {

using Bytes = std::vector<std::uint8_t>;

// The other end of a pseudo terminal, as plain as can be: it answers every frame at once, so that
// what is measured is the side under test. Runs on a thread of its own.
class Device {
public:
    enum class Speaks {
        ABECS, // ACK and a good answer to every frame, EOT to CAN; checks no CRC
        MODBUS // Modbus RTU: functions 3 and 16
    };

    // With a pace each byte takes that many seconds, both ways, one after the other as on the wire;
    // 0 for none.
    explicit Device(Speaks speaks, double secondsPerByte = 0);
    ~Device();
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

    const std::string &port() const { return m_port; }
    // Bytes that crossed the line since the start, both ways together.
    std::size_t bytes() const { return m_bytes.load(); }

private:
    void run();
    void take(std::uint8_t byte);
    void takeAbecs(std::uint8_t byte);
    void takeModbus(std::uint8_t byte);
    void answerFrame();
    void answerRequest();
    void send(const Bytes &bytes);
    void passByteTime();

    Speaks m_speaks;
    double m_secondsPerByte;
    int m_master;
    int m_slave;
    std::string m_port;
    Bytes m_frame;
    std::size_t m_trailer = 0;
    double m_lineTime = 0;
    std::atomic<std::size_t> m_bytes{0};
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

// The whole frame of a body as it goes over the wire.
Bytes frameOf(const std::string &body);

} // namespace bench
