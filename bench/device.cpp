#include "bench/device.h"

#include "abecs/crc16.h"
#include "bench/stats.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <termios.h>
#include <unistd.h>

namespace bench {

namespace {

constexpr std::uint8_t EOT = 0x04;
constexpr std::uint8_t ACK = 0x06;
constexpr std::uint8_t DC3 = 0x13;
constexpr std::uint8_t SYN = 0x16;
constexpr std::uint8_t ETB = 0x17;
constexpr std::uint8_t CAN = 0x18;

constexpr int FILES = 8;
constexpr int POLL_MILLISECONDS = 20;

std::string parameter(std::uint16_t id, const std::string &value) {
    const std::size_t length = value.size();
    const std::string head{static_cast<char>(id >> 8U), static_cast<char>(id & 0xFFU),
                           static_cast<char>(length >> 8U), static_cast<char>(length & 0xFFU)};
    return head + value;
}

std::string block(const std::string &parameters) {
    const std::string digits = std::to_string(parameters.size());
    return std::string(3 - digits.size(), '0') + digits + parameters;
}

std::string answerTo(const std::string &command) {
    constexpr std::uint16_t VALUE = 0x804D;
    constexpr std::uint16_t MEDIA_NAME = 0x805E;
    if (command == "GCD") {
        return command + "000" + block(parameter(VALUE, "12345678901"));
    }
    if (command == "LMF") {
        std::string names;
        for (int file = 0; file < FILES; ++file) {
            names += parameter(MEDIA_NAME, "IMAGE00" + std::to_string(file));
        }
        return command + "000" + block(names);
    }
    return command + "000";
}

std::uint16_t modbusCrc(const Bytes &bytes) {
    unsigned crc = 0xFFFF;
    for (const std::uint8_t byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1U) != 0 ? crc >> 1U ^ 0xA001U : crc >> 1U;
        }
    }
    return static_cast<std::uint16_t>(crc);
}

} // namespace

Bytes frameOf(const std::string &body) {
    std::uint16_t crc = 0;
    abecs_crc16_update(body.data(), body.size(), &crc);
    abecs_crc16_update(&ETB, 1, &crc);
    Bytes frame{SYN};
    for (const char character : body) {
        const auto byte = static_cast<std::uint8_t>(character);
        if (byte == DC3 || byte == SYN || byte == ETB) {
            frame.push_back(DC3);
            frame.push_back(static_cast<std::uint8_t>(byte + 0x20));
        } else {
            frame.push_back(byte);
        }
    }
    frame.push_back(ETB);
    frame.push_back(static_cast<std::uint8_t>(crc >> 8U));
    frame.push_back(static_cast<std::uint8_t>(crc & 0xFFU));
    return frame;
}

Device::Device(Speaks speaks, double secondsPerByte)
    : m_speaks(speaks), m_secondsPerByte(secondsPerByte),
      m_master(::posix_openpt(O_RDWR | O_NOCTTY)), m_slave(-1) {
    if (m_master < 0 || ::grantpt(m_master) != 0 || ::unlockpt(m_master) != 0) {
        throw std::runtime_error("no pseudo terminal");
    }
    m_port = ::ptsname(m_master);
    // Held open, so that the line does not hang up between two hosts.
    m_slave = ::open(m_port.c_str(), O_RDWR | O_NOCTTY);
    termios attributes{};
    ::tcgetattr(m_slave, &attributes);
    ::cfmakeraw(&attributes);
    ::tcsetattr(m_slave, TCSANOW, &attributes);
    m_thread = std::thread([this] { run(); });
}

Device::~Device() {
    m_stop = true;
    m_thread.join();
    ::close(m_slave);
    ::close(m_master);
}

void Device::run() {
    // Timers that the system may let run late would count as waits of the side under test.
    ::prctl(PR_SET_TIMERSLACK, 1);
    Bytes chunk(4096);
    while (!m_stop) {
        pollfd input{m_master, POLLIN, 0};
        if (::poll(&input, 1, POLL_MILLISECONDS) <= 0) {
            continue;
        }
        const ssize_t got = ::read(m_master, chunk.data(), chunk.size());
        // An idle line begins the next byte now, not when the last one ended.
        m_lineTime = std::max(m_lineTime, now(Clock::WALL));
        for (ssize_t i = 0; i < got; ++i) {
            passByteTime();
            take(chunk[static_cast<std::size_t>(i)]);
        }
    }
}

void Device::passByteTime() {
    ++m_bytes;
    if (m_secondsPerByte <= 0) {
        return;
    }
    m_lineTime += m_secondsPerByte;
    timespec until{};
    until.tv_sec = static_cast<time_t>(m_lineTime);
    until.tv_nsec = std::lround((m_lineTime - std::floor(m_lineTime)) * 1e9) % 1000000000L;
    ::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
}

void Device::take(std::uint8_t byte) {
    if (m_speaks == Speaks::ABECS) {
        takeAbecs(byte);
    } else {
        takeModbus(byte);
    }
}

void Device::takeAbecs(std::uint8_t byte) {
    if (m_trailer > 0) {
        if (--m_trailer == 0) {
            answerFrame();
        }
        return;
    }
    if (byte == CAN) {
        send({EOT});
    } else if (byte == SYN) {
        m_frame.clear();
    } else if (byte == ETB) {
        m_trailer = 2;
    } else {
        m_frame.push_back(byte);
    }
}

void Device::answerFrame() {
    Bytes answer{ACK};
    const std::string command(m_frame.begin(), m_frame.begin() + 3);
    const Bytes frame = frameOf(answerTo(command));
    answer.insert(answer.end(), frame.begin(), frame.end());
    send(answer);
}

void Device::takeModbus(std::uint8_t byte) {
    constexpr std::size_t READ_SIZE = 8;
    constexpr std::size_t WRITE_SIZE = 9;
    constexpr std::uint8_t READ = 3;
    m_frame.push_back(byte);
    const bool counted = m_frame.size() > 6;
    if (counted && m_frame.size() == (m_frame[1] == READ ? READ_SIZE : WRITE_SIZE + m_frame[6])) {
        answerRequest();
        m_frame.clear();
    }
}

void Device::answerRequest() {
    constexpr std::uint8_t READ = 3;
    constexpr std::size_t WRITE_ANSWER = 6;
    Bytes answer(m_frame.begin(), m_frame.begin() + WRITE_ANSWER);
    if (m_frame[1] == READ) {
        answer = {m_frame[0], READ, static_cast<std::uint8_t>(2 * m_frame[5])};
        answer.resize(answer.size() + answer[2]);
    }
    const std::uint16_t crc = modbusCrc(answer);
    answer.push_back(static_cast<std::uint8_t>(crc & 0xFFU));
    answer.push_back(static_cast<std::uint8_t>(crc >> 8U));
    send(answer);
}

void Device::send(const Bytes &bytes) {
    if (m_secondsPerByte <= 0) {
        m_bytes += bytes.size();
        static_cast<void>(!::write(m_master, bytes.data(), bytes.size()));
        return;
    }
    for (const std::uint8_t byte : bytes) {
        passByteTime();
        static_cast<void>(!::write(m_master, &byte, 1));
    }
}

} // namespace bench
