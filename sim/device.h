#pragma once

#include "sim/abecs_link.h"
#include "sim/contactless.h"
#include "sim/ext_link.h"
#include "sim/ext_request.h"
#include "sim/host_line.h"
#include "sim/io_context.h"
#include "sim/logbook.h"
#include "sim/media_store.h"
#include "sim/packet.h"
#include "sim/scenario.h"
#include "sim/secure_channel.h"
#include "sim/state_board.h"
#include "sim/transmitter.h"
#include "sim/waiting.h"

#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sim {

// The PIN pad behind its line: session, screen, keypad, card readers, media. The commands
// (sim/commands) work on it. Belongs to the thread that runs its io_context.
class Device : public CommandTaker, public ExtCommandTaker, public ControlTaker {
public:
    Device(boost::asio::io_context &io, const Scenario &scenario, double time_scale,
           AbecsLink &link, ExtLink &ext_link, Transmitter &transmitter, SecureChannel &channel,
           Logbook &log, StateBoard &board);
    ~Device() override;
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

    void take_command(const Bytes &body, bool encrypted) override;
    void take_unreadable_command() override;
    void take_ext_command(const Bytes &body) override;
    void take_abort() override;
    void take_stop() override;

    // What the customer does.
    void press_digit(char digit);
    void press_key(Key key);
    void swipe(const Card &card);
    void insert_card();
    void remove_card();
    void tap_card();
    void press_button(char button);
    void hold_card();
    void take_card();

    // Adds a rule behind those of the scenario; it counts from now on.
    void arm(const ReplyRule &rule);
    // Drops the rules added by arm.
    void clear_armed();

    // The cable carries the power, so a device without it forgets all but its media.
    void lose_power();

    // For the commands:
    boost::asio::io_context &io() { return io_; }
    const Scenario &scenario() const { return scenario_; }
    std::chrono::nanoseconds scaled(std::chrono::milliseconds duration) const;
    MediaStore &media() { return media_; }
    Contactless &contactless() { return contactless_; }
    Logbook &log() { return log_; }
    StateBoard &board() { return board_; }
    std::optional<Fault> strike_opn();
    // What the customer does at the next command of this kind.
    Script next_script(ScriptKind kind);

    // Ends the current command with this answer.
    void answer(Response response);
    void answer(const ExtResponse &response);
    void answer(unsigned code) { answer(make_response(current_id_, code)); }
    void notify(const std::string &text);
    void send_body(const Bytes &body);
    // Leaves it to this object to answer the current command.
    void wait_with(std::unique_ptr<Waiting> waiting);

    void open_session();
    void open_session(const Bytes &key);
    void close_session();

    void show_text(ScreenKind kind, const std::string &text);
    void show_idle_message(const std::string &text, std::size_t columns, std::size_t rows);
    void show_media(const std::vector<std::string> &names, const std::string &text = {});
    void show_qr_code(const std::string &line, const std::string &text,
                      const std::vector<std::string> &modules);
    void show_survey(const std::string &text, const std::vector<std::string> &pictures,
                     const std::string &buttons);
    void clear_screen();
    void beep(const std::string &why);
    // Copies the state of the media store to the board.
    void publish_media();

private:
    struct ArmedReply {
        ReplyChange change;
        Occasions occasions;
        bool live; // added while the device runs
    };
    struct Screen {
        ScreenKind kind = ScreenKind::blank;
        std::vector<std::string> lines;
        std::vector<std::string> media;
        std::string qr_text;
        std::vector<std::string> qr_modules;
        std::string buttons;
    };

    void begin_command(const std::string &id, bool encrypted, Framing framing);
    void interrupt_waiting(const std::string &by);
    void execute(const Request &request, bool encrypted);
    void execute(const ExtRequest &request);
    void retire_waiting();
    std::optional<ReplyChange> choose_reply(const std::string &id);
    Bytes changed_body(Response response) const;
    Bytes changed_body(const ExtResponse &response) const;
    void set_screen(Screen screen);
    void note_card(const char *action);
    void card_event(const char *action, ChipSlot slot);

    boost::asio::io_context &io_;
    const Scenario &scenario_;
    double time_scale_;
    AbecsLink &link_;
    ExtLink &ext_link_;
    Transmitter &transmitter_;
    SecureChannel &channel_;
    Logbook &log_;
    StateBoard &board_;
    MediaStore media_;
    Contactless contactless_;
    std::vector<ArmedReply> replies_;
    std::array<unsigned, script_directives.size()> occasions_{}; // by kind of script

    bool open_ = false;
    std::string current_id_;
    bool current_encrypted_ = false;
    Framing current_framing_ = Framing::abecs;
    std::optional<ReplyChange> current_reply_;
    std::unique_ptr<Waiting> waiting_;
};

} // namespace sim
