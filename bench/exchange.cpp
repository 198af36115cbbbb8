#include "abecs/open.h"
#include "bench/device.h"
#include "bench/exchanges.h"
#include "bench/stats.h"

#include "abecs/commands/display.h"
#include "abecs/commands/media.h"
#include "abecs/pinpad.h"
#include "core/owned.h"
#include "core/string_list.h"

#include <array>
#include <cstdio>
#include <functional>
#include <memory>
#include <stdexcept>

#include <fcntl.h>
#include <modbus.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace bench {

namespace {

constexpr double MICRO = 1e6;
constexpr std::size_t TURNS = 200; // exchanges a round
constexpr std::size_t TEXT = 40;
// As many bytes sent as by a text of that length, and as many received as for a list of files.
constexpr int WRITTEN_REGISTERS = 23;
constexpr int READ_REGISTERS = 53;

const std::string MESSAGE(TEXT, 'A');
const std::vector<std::uint8_t> RECORD(ABECS_MEDIA_RECORD_SIZE, 'm');

using ListPtr = PclOwned<PclList, pcl_list_destroy>;

struct ModbusClose {
    void operator()(modbus_t *context) const {
        modbus_close(context);
        modbus_free(context);
    }
};

class Modbus {
public:
    explicit Modbus(const std::string &port) {
        m_context.reset(modbus_new_rtu(port.c_str(), 19200, 'N', 8, 1));
        if (!m_context || modbus_set_slave(m_context.get(), 1) != 0 ||
            modbus_connect(m_context.get()) != 0) {
            throw std::runtime_error("libmodbus opens no line");
        }
    }
    void write() {
        check(modbus_write_registers(m_context.get(), 0, WRITTEN_REGISTERS, m_registers.data()),
              WRITTEN_REGISTERS);
    }
    void read() {
        check(modbus_read_registers(m_context.get(), 0, READ_REGISTERS, m_registers.data()),
              READ_REGISTERS);
    }

private:
    static void check(int done, int wanted) {
        if (done != wanted) {
            throw std::runtime_error(modbus_strerror(errno));
        }
    }

    std::unique_ptr<modbus_t, ModbusClose> m_context;
    std::array<std::uint16_t, 128> m_registers{};
};

// What the protocol asks of the operating system and nothing else: one write a byte, one wait and
// one read a byte.
class BareLoop {
public:
    explicit BareLoop(const std::string &port)
        : m_fd(::open(port.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK)) {
        termios attributes{};
        ::tcgetattr(m_fd, &attributes);
        ::cfmakeraw(&attributes);
        ::tcsetattr(m_fd, TCSANOW, &attributes);
    }
    ~BareLoop() { ::close(m_fd); }
    BareLoop(const BareLoop &) = delete;
    BareLoop &operator=(const BareLoop &) = delete;

    void exchange(const Bytes &frame, std::size_t answer) {
        ::tcflush(m_fd, TCIFLUSH);
        for (const std::uint8_t byte : frame) {
            static_cast<void>(!::write(m_fd, &byte, 1));
        }
        for (std::size_t i = 0; i < answer; ++i) {
            readByte();
        }
    }

private:
    void readByte() {
        std::uint8_t byte = 0;
        while (::read(m_fd, &byte, 1) != 1) {
            pollfd input{m_fd, POLLIN, 0};
            if (::poll(&input, 1, 2000) == 0) {
                throw std::runtime_error("the device keeps silent");
            }
        }
    }

    int m_fd;
};

// A block of three digits of length.
std::string block(const std::string &data) {
    const std::string digits = std::to_string(data.size());
    return std::string(3 - digits.size(), '0') + digits + data;
}

const Bytes TEXT_FRAME = frameOf("DEX" + block(block(MESSAGE)));
const Bytes LIST_FRAME = frameOf("LMF");
const Bytes RECORD_FRAME = [] {
    const std::string header{'\0', '\x0F', '\x03', '\xE3'};
    return frameOf("MLR" + block(header + std::string(RECORD.begin(), RECORD.end())));
}();

struct Sides {
    Device ours{Device::Speaks::ABECS};
    Device bare{Device::Speaks::ABECS};
    Device modbus{Device::Speaks::MODBUS};
    AbecsPinpadPtr pinpad{abecs_pinpad_create(ours.port().c_str())};
    BareLoop loop{bare.port()};
    Modbus master{modbus.port()};
    ListPtr files{pcl_string_list_create()};
};

struct Exchange {
    const char *name;
    std::size_t answer; ///< bytes
    const Bytes &frame;
    std::function<void(Sides &)> ours;
    std::function<void(Sides &)> modbus; ///< may be empty
};

// An ACK, and a frame around six bytes; for the list 8 parameters of 12 bytes more.
constexpr std::size_t SHORT_ANSWER = 11;
constexpr std::size_t LIST_ANSWER = SHORT_ANSWER + 3 + 96;

const std::vector<Exchange> &exchanges() {
    static const std::vector<Exchange> all = {
        {"text", SHORT_ANSWER, TEXT_FRAME,
         [](Sides &sides) { abecs_dex(sides.pinpad.get(), MESSAGE.c_str()); },
         [](Sides &sides) { sides.master.write(); }},
        {"list", LIST_ANSWER, LIST_FRAME,
         [](Sides &sides) { abecs_lmf(sides.pinpad.get(), sides.files.get()); },
         [](Sides &sides) { sides.master.read(); }},
        {"record",
         SHORT_ANSWER,
         RECORD_FRAME,
         [](Sides &sides) {
             abecsMediaLoadRecord(sides.pinpad.get(), RECORD.data(), RECORD.size());
         },
         {}}};
    return all;
}

template <typename Body>
double perTurn(Body body) {
    return MICRO / TURNS * seconds(Clock::CPU, [&] {
               for (std::size_t turn = 0; turn < TURNS; ++turn) {
                   body();
               }
           });
}

std::size_t bytesOf(const Device &device, const std::function<void()> &exchange) {
    const std::size_t before = device.bytes();
    exchange();
    return device.bytes() - before;
}

} // namespace

void measureExchanges(Table &table) {
    Sides sides;
    for (const Exchange &exchange : exchanges()) {
        const auto ours = [&] { return perTurn([&] { exchange.ours(sides); }); };
        const std::size_t ourBytes = bytesOf(sides.ours, [&] { exchange.ours(sides); });
        const std::string subject = std::string(exchange.name) + " exchange, " +
                                    std::to_string(exchange.frame.size()) + " B out, " +
                                    std::to_string(exchange.answer) + " B in";
        if (ourBytes != exchange.frame.size() + exchange.answer) {
            throw std::runtime_error(subject + ": moves " + std::to_string(ourBytes) + " B");
        }
        table.pair(
            {"Exchange",
             subject,
             "bare loop, a write and a read a byte",
             "us CPU",
             {},
             {},
             {},
             0,
             "the same bytes"},
            ours,
            [&] { return perTurn([&] { sides.loop.exchange(exchange.frame, exchange.answer); }); });
        if (exchange.modbus) {
            const std::size_t theirBytes = bytesOf(sides.modbus, [&] { exchange.modbus(sides); });
            table.pair({"Exchange",
                        subject,
                        "libmodbus RTU",
                        "us CPU",
                        {},
                        {},
                        {},
                        0,
                        "libmodbus moves " + std::to_string(theirBytes) +
                            " B and writes its request with one call"},
                       ours, [&] { return perTurn([&] { exchange.modbus(sides); }); });
        }
    }
}

bool takeTurns(const std::string &side, std::size_t count) {
    const std::size_t dash = side.find('-');
    const std::string who = side.substr(0, dash);
    const std::string what = dash == std::string::npos ? "" : side.substr(dash + 1);
    for (const Exchange &exchange : exchanges()) {
        const bool known =
            who == "ours" || who == "bare" || (who == "modbus" && exchange.modbus != nullptr);
        if (what != exchange.name || !known) {
            continue;
        }
        Sides sides;
        for (std::size_t turn = 0; turn < count; ++turn) {
            if (who == "ours") {
                exchange.ours(sides);
            } else if (who == "bare") {
                sides.loop.exchange(exchange.frame, exchange.answer);
            } else {
                exchange.modbus(sides);
            }
        }
        return true;
    }
    return false;
}

} // namespace bench
