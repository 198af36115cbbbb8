#pragma once

#include "sim/abecs_link.h"
#include "sim/faults.h"
#include "sim/logbook.h"
#include "sim/media_store.h"
#include "sim/packet.h"
#include "sim/scenario.h"
#include "sim/secure_channel.h"
#include "sim/state_board.h"
#include "sim/waiting.h"

#include <boost/asio/io_context.hpp>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sim {

// The PIN pad behind its line: session, screen, keypad, card readers, media. The commands
// (sim/commands) work on it. Belongs to the thread that runs its io_context.
class Device : public CommandTaker {
public:
    Device(boost::asio::io_context &io, const Scenario &scenario, double time_scale,
           AbecsLink &link, SecureChannel &channel, FaultInjector &faults, Logbook &log,
           StateBoard &board);
    ~Device() override;

    void take_command(const Bytes &body, bool encrypted) override;
    void take_unreadable_command() override;
    void take_abort() override;

    // What the customer does.
    void press_digit(char digit);
    void press_key(Key key);
    void swipe(const Card &card);
    void insert_card();
    void remove_card();
    void tap_card();

    // The cable carries the power, so a device without it forgets all but its media.
    void lose_power();

    // For the commands:
    boost::asio::io_context &io() { return io_; }
    const Scenario &scenario() const { return scenario_; }
    std::chrono::nanoseconds scaled(std::chrono::milliseconds duration) const;
    MediaStore &media() { return media_; }
    Logbook &log() { return log_; }
    StateBoard &board() { return board_; }
    std::optional<Fault> strike_opn();
    unsigned next_capture() { return ++captures_; }
    unsigned next_event() { return ++events_; }

    // Ends the current command with this answer.
    void answer(Response response);
    void answer(unsigned code) { answer(make_response(current_id_, code)); }
    void notify(const std::string &text);
    void send_body(const Bytes &body);
    // Leaves the current command unanswered until what is given here answers it.
    void wait_with(std::unique_ptr<Waiting> waiting);

    void open_session();
    void open_session(const Bytes &key);
    void close_session();

    void show_text(ScreenKind kind, const std::string &text);
    void show_idle_message(const std::string &text, std::size_t columns, std::size_t rows);
    void show_media(const std::vector<std::string> &names, const std::string &text = {});
    void clear_screen();
    void beep(const std::string &why);
    // Puts the state of the media store where it can be seen.
    void publish_media();

private:
    struct ArmedReply {
        ReplyChange change;
        Occasions occasions;
    };

    void execute(const Request &request, bool encrypted);
    void retire_waiting();
    std::optional<ReplyChange> choose_reply(const std::string &id);
    Bytes changed_body(Response response) const;
    void set_screen(ScreenKind kind, std::vector<std::string> lines,
                    std::vector<std::string> media);
    void card_event(const char *action, ChipSlot slot, const std::string &code);

    boost::asio::io_context &io_;
    const Scenario &scenario_;
    double time_scale_;
    AbecsLink &link_;
    SecureChannel &channel_;
    FaultInjector &faults_;
    Logbook &log_;
    StateBoard &board_;
    MediaStore media_;
    std::vector<ArmedReply> replies_;
    unsigned captures_ = 0;
    unsigned events_ = 0;

    bool open_ = false;
    std::string current_id_;
    bool current_encrypted_ = false;
    std::optional<ReplyChange> current_reply_;
    std::unique_ptr<Waiting> waiting_;
};

} // namespace sim
