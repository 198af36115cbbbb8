#pragma once

#include "sim/io_context.h"
#include "sim/logbook.h"
#include "sim/timer.h"
#include "sim/types.h"

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <variant>

namespace sim {

// The device's end of the line: a pseudo terminal, whose slave is what the host opens. What is to
// be sent stands in a queue, so that pauses and a pulled cable fall exactly where they belong.
class PtyLine {
public:
    using OnBytes = std::function<void(const Bytes &)>;
    using OnUnplugged = std::function<void()>;

    PtyLine(boost::asio::io_context &io, Logbook &log, bool paced);
    ~PtyLine();
    PtyLine(const PtyLine &) = delete;
    PtyLine &operator=(const PtyLine &) = delete;

    void set_handlers(OnBytes on_bytes, OnUnplugged on_unplugged);

    // Opens a fresh pseudo terminal in raw mode. Throws std::system_error when there is none.
    void plug();
    // Closes it, with whatever has not been read or sent.
    void unplug();
    bool plugged() const { return connection_ != nullptr; }
    // The path of the slave; empty while unplugged.
    std::string path() const;

    void send(Bytes bytes);
    void pause(std::chrono::milliseconds duration);
    // Pulls the cable once everything before it has been sent and the host has read it.
    void unplug_here();
    // Drops what has not been sent yet.
    void drop_unsent();

    // Whether everything has been sent and read by the host.
    bool drained() const;

private:
    struct Connection;
    struct Pause {
        std::chrono::milliseconds duration;
        bool over = false;
    };
    struct Unplug {};
    using Item = std::variant<Bytes, Pause, Unplug>;

    void start_reading();
    void take_received(const Bytes &bytes);
    void deliver_paced();
    void run_queue();
    // Each handles the item at the head of the queue and returns whether it is done; if not, the
    // queue goes on by itself later.
    bool write_item(Bytes &bytes);
    bool pause_item(Pause &pause);
    bool unplug_item();
    void resume_after(std::chrono::nanoseconds delay);
    void lose_line(const std::string &reason);

    boost::asio::io_context &io_;
    Logbook &log_;
    bool paced_;
    OnBytes on_bytes_;
    OnUnplugged on_unplugged_;
    std::shared_ptr<Connection> connection_;
    std::deque<Item> queue_;
    bool waiting_ = false; // for a timer or for room in the line
    unsigned epoch_ = 0;   // counts the times that the queue was dropped
    unsigned read_checks_ = 0;
    unsigned quiet_checks_ = 0;
    Timer queue_timer_;
    Clock::time_point out_free_;
    Bytes received_;
    Timer receive_timer_;
    Clock::time_point in_free_;
};

} // namespace sim
