#include "sim/device.h"

#include "sim/commands/commands.h"
#include "sim/events.h"
#include "sim/ext_commands/ext_commands.h"
#include "sim/screen.h"
#include "sim/text.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>

#include <algorithm>
#include <utility>

namespace sim {

Device::Device(boost::asio::io_context &io, const Scenario &scenario, double time_scale,
               AbecsLink &link, ExtLink &ext_link, Transmitter &transmitter, SecureChannel &channel,
               Logbook &log, StateBoard &board)
    : io_(io), scenario_(scenario), time_scale_(time_scale), link_(link), ext_link_(ext_link),
      transmitter_(transmitter), channel_(channel), log_(log), board_(board),
      media_(scenario.media),
      contactless_(scenario.contactless_card, scenario.card_held, scenario.missed_activations) {
    for (const ReplyRule &rule : scenario.replies) {
        replies_.push_back({rule.change, Occasions(rule.target), false});
    }
    publish_media();
    board_.change([this](Snapshot &state) { state.card_held = contactless_.held(); });
}

Device::~Device() = default;

std::chrono::nanoseconds Device::scaled(std::chrono::milliseconds duration) const {
    const std::chrono::duration<double, std::milli> shorter(static_cast<double>(duration.count()) /
                                                            time_scale_);
    return std::chrono::duration_cast<std::chrono::nanoseconds>(shorter);
}

void Device::begin_command(const std::string &id, bool encrypted, Framing framing) {
    current_id_ = id;
    current_encrypted_ = encrypted;
    current_framing_ = framing;
    current_reply_.reset();
}

void Device::interrupt_waiting(const std::string &by) {
    if (waiting_ == nullptr) {
        return;
    }
    log_.note("overlap", {{"id", board_.snapshot().pending_command}, {"by", by}});
    board_.change([](Snapshot &state) { ++state.overlaps; });
    retire_waiting();
}

void Device::take_command(const Bytes &body, bool encrypted) {
    begin_command("ERR", encrypted, Framing::abecs);
    try {
        const Request request = read_request(body);
        interrupt_waiting(request.id);
        execute(request, encrypted);
    } catch (const Refusal &refusal) {
        answer(refusal.code());
    }
}

void Device::take_ext_command(const Bytes &body) {
    constexpr std::size_t id_length = 4;
    const std::string text = to_text(body);
    const std::string id = text.substr(0, id_length);
    begin_command("ERR", false, Framing::extension);
    interrupt_waiting(id);
    execute(ExtRequest{id, to_bytes(text.substr(id.size()))});
}

void Device::execute(const ExtRequest &request) {
    const ExtCommand *command = find_ext_command(request.id);
    current_reply_ = choose_reply(request.id);
    if (command == nullptr) {
        answer(ExtResponse{"ERR", "10", {}});
        return;
    }
    current_id_ = request.id;
    if (current_reply_ && current_reply_->skip) {
        answer(ExtResponse{request.id, {}, to_bytes(command->done)});
    } else if (scenario_.require_open && !open_) {
        answer(ExtResponse{"ERR", {}, to_bytes(command->refusal)});
    } else {
        try {
            command->run(*this, request);
        } catch (const BadField &problem) {
            log_.note("malformed", {{"id", request.id}, {"why", problem.what()}});
            answer(ExtResponse{request.id, {}, to_bytes(command->refusal)});
        }
    }
}

void Device::execute(const Request &request, bool encrypted) {
    const Command *command = find_command(request.id);
    current_reply_ = choose_reply(request.id);
    if (command != nullptr) {
        current_id_ = request.id;
    }
    const bool was_open = open_;
    const bool was_secure = channel_.on();
    if (command != nullptr && command->ends_session) {
        close_session();
    }
    const bool skipped = current_reply_ && current_reply_->skip;
    if (skipped) {
        answer(status::ok);
        return;
    }
    const bool opens = request.id == "OPN";
    if (opens && encrypted) {
        throw Refusal(status::invalid_call);
    }
    if (scenario_.refuse_plain && was_secure && !encrypted && !opens) {
        throw Refusal(status::bad_secure_packet);
    }
    if (command == nullptr || (scenario_.require_open && !was_open && !opens)) {
        throw Refusal(status::invalid_call);
    }
    command->run(*this, request);
}

void Device::take_unreadable_command() {
    begin_command("ERR", channel_.on(), Framing::abecs);
    retire_waiting();
    answer(status::bad_secure_packet);
}

void Device::take_abort() {
    log_.note("abort", {{"id", board_.snapshot().pending_command}});
    if (waiting_ != nullptr) {
        retire_waiting();
        clear_screen();
    }
}

void Device::take_stop() {
    log_.note("stop", {{"id", board_.snapshot().pending_command}});
    if (waiting_ != nullptr) {
        waiting_->host_stops();
    }
}

void Device::press_digit(char digit) {
    log_.note("key", {{"key", std::string(1, digit)}});
    if (waiting_ != nullptr) {
        waiting_->digit(digit);
    }
}

void Device::press_key(Key key) {
    log_.note("key", {{"key", key_name(key)}});
    if (waiting_ != nullptr) {
        waiting_->key(key);
    }
}

void Device::swipe(const Card &card) {
    log_.note("card", {{"action", "swipe"}});
    if (waiting_ != nullptr) {
        waiting_->swipe(card);
    }
}

void Device::insert_card() {
    card_event("insert", ChipSlot::card_inserted);
}

void Device::remove_card() {
    card_event("remove", ChipSlot::empty);
}

void Device::tap_card() {
    card_event("tap", board_.snapshot().chip_slot);
}

void Device::press_button(char button) {
    log_.note("key", {{"key", std::string(1, button)}});
    if (waiting_ != nullptr) {
        waiting_->button(button);
    }
}

void Device::hold_card() {
    contactless_.hold();
    note_card("hold");
}

void Device::take_card() {
    contactless_.take();
    note_card("take");
}

void Device::note_card(const char *action) {
    log_.note("card", {{"action", action}});
    board_.change([this](Snapshot &state) { state.card_held = contactless_.held(); });
}

void Device::card_event(const char *action, ChipSlot slot) {
    log_.note("card", {{"action", action}});
    board_.change([slot](Snapshot &state) { state.chip_slot = slot; });
    if (waiting_ != nullptr) {
        waiting_->card_event(event_of_word(action));
    }
}

void Device::lose_power() {
    contactless_.lose_field();
    retire_waiting();
    close_session();
    media_.give_up();
    publish_media();
    clear_screen();
}

void Device::arm(const ReplyRule &rule) {
    replies_.push_back({rule.change, Occasions(rule.target), true});
}

void Device::clear_armed() {
    replies_.erase(std::remove_if(replies_.begin(), replies_.end(),
                                  [](const ArmedReply &armed) { return armed.live; }),
                   replies_.end());
}

Script Device::next_script(ScriptKind kind) {
    unsigned &occasion = occasions_.at(static_cast<std::size_t>(kind));
    return scenario_.scripts(kind).script_for(++occasion);
}

std::optional<Fault> Device::strike_opn() {
    return transmitter_.strike(FaultStage::opn);
}

std::optional<ReplyChange> Device::choose_reply(const std::string &id) {
    const ArmedReply *chosen = nullptr;
    for (ArmedReply &armed : replies_) {
        const bool strikes = armed.occasions.strike(id);
        if (strikes && chosen == nullptr) {
            chosen = &armed;
        }
    }
    if (chosen == nullptr) {
        return std::nullopt;
    }
    if (chosen->live) {
        log_.note("fault", {{"stage", "reply"}, {"action", "answer"}});
        board_.change([](Snapshot &state) { ++state.faults_struck; });
    }
    return chosen->change;
}

Bytes Device::changed_body(Response response) const {
    if (!current_reply_) {
        return write_response(response);
    }
    const ReplyChange &change = *current_reply_;
    if (change.body) {
        return *change.body;
    }
    response.id = change.id.value_or(response.id);
    if (change.status) {
        response.status = *change.status;
        if (response.status != "000") {
            response.params.clear();
            response.rest.clear();
        }
    }
    const auto omitted = [&change](const Param &param) {
        return std::find(change.omit.begin(), change.omit.end(), param.id) != change.omit.end();
    };
    auto &params = response.params;
    params.erase(std::remove_if(params.begin(), params.end(), omitted), params.end());
    params.insert(params.end(), change.add.begin(), change.add.end());
    Bytes body = write_response(response);
    body.insert(body.end(), change.append.begin(), change.append.end());
    return body;
}

Bytes Device::changed_body(const ExtResponse &response) const {
    constexpr std::size_t id_length = 4;
    constexpr std::size_t status_length = 2;
    const ReplyChange change = current_reply_.value_or(ReplyChange{});
    if (change.body) {
        return *change.body;
    }
    const ExtCommand *command = find_ext_command(current_id_);
    const bool has_status = command != nullptr && command->has_status;
    std::string id = change.id.value_or(response.id);
    id.resize(id_length, ' ');
    std::string rest = response.status + to_text(response.rest);
    if (change.status && has_status) {
        const std::string status = change.status->substr(change.status->size() - status_length);
        rest = status == command->done ? status + rest.substr(status_length) : status;
    }
    if (scenario_.binary_status && has_status) {
        for (std::size_t i = 0; i < status_length; ++i) {
            rest[i] = static_cast<char>(rest[i] - '0');
        }
    }
    Bytes body = to_bytes(id + rest);
    body.insert(body.end(), change.append.begin(), change.append.end());
    return body;
}

void Device::answer(const ExtResponse &response) {
    const Bytes body = changed_body(response);
    const std::string text = to_text(body);
    constexpr std::size_t id_length = 4;
    log_.note("response", {{"id", text.substr(0, id_length)},
                           {"status", text.size() > id_length ? text.substr(id_length, 2) : ""},
                           {"encrypted", "no"}});
    retire_waiting();
    ext_link_.send(current_id_, body);
}

void Device::answer(Response response) {
    const Bytes body = changed_body(std::move(response));
    const std::string text = to_text(body);
    log_.note("response", {{"id", text.substr(0, 3)},
                           {"status", text.size() > 3 ? text.substr(3, 3) : std::string()},
                           {"encrypted", current_encrypted_ ? "yes" : "no"}});
    retire_waiting();
    link_.send(current_id_, body, current_encrypted_);
}

void Device::notify(const std::string &text) {
    Response notification;
    notification.id = "NTM";
    notification.tail = to_bytes(text);
    log_.note("notify", {{"text", text}});
    send_body(write_response(notification));
}

void Device::send_body(const Bytes &body) {
    if (current_framing_ == Framing::extension) {
        ext_link_.send(current_id_, body);
    } else {
        link_.send(current_id_, body, current_encrypted_);
    }
}

void Device::wait_with(std::unique_ptr<Waiting> waiting) {
    waiting_ = std::move(waiting);
    waiting_->start();
    // Published last: who waits for this state then finds the prompt on the screen.
    board_.change([this](Snapshot &state) {
        state.waiting = waiting_->for_customer();
        state.pending_command = current_id_;
    });
}

void Device::retire_waiting() {
    if (waiting_ == nullptr) {
        return;
    }
    waiting_->stop();
    // The caller is often the command that ends, so it is destroyed later.
    boost::asio::post(io_, [retired = std::shared_ptr<Waiting>(std::move(waiting_))] {});
    board_.change([](Snapshot &state) {
        state.waiting = false;
        state.pending_command.clear();
        state.typed.clear();
    });
}

void Device::open_session() {
    const bool was_secure = channel_.on();
    channel_.wipe();
    open_ = true;
    board_.change([](Snapshot &state) {
        state.open = true;
        state.secure = false;
    });
    log_.note("session", {{"state", "open"}});
    if (was_secure) {
        log_.note("secure", {{"state", "off"}});
    }
}

void Device::open_session(const Bytes &key) {
    channel_.set_key(key);
    open_ = true;
    board_.change([](Snapshot &state) { state.open = state.secure = true; });
    log_.note("session", {{"state", "open"}});
    log_.note("secure", {{"state", "on"}});
}

void Device::close_session() {
    const bool was_secure = channel_.on();
    const bool was_open = std::exchange(open_, false);
    channel_.wipe();
    current_encrypted_ = false;
    board_.change([](Snapshot &state) { state.open = state.secure = false; });
    if (was_secure) {
        log_.note("secure", {{"state", "off"}});
    }
    if (was_open) {
        log_.note("session", {{"state", "closed"}});
    }
}

void Device::show_text(ScreenKind kind, const std::string &text) {
    set_screen({kind, lay_out(text, scenario_.columns, scenario_.rows), {}, {}, {}, {}});
}

void Device::show_idle_message(const std::string &text, std::size_t columns, std::size_t rows) {
    set_screen({ScreenKind::text, lay_out(text, columns, rows), {}, {}, {}, {}});
}

void Device::show_media(const std::vector<std::string> &names, const std::string &text) {
    set_screen(
        {ScreenKind::media, lay_out(text, scenario_.columns, scenario_.rows), names, {}, {}, {}});
}

void Device::show_qr_code(const std::string &line, const std::string &text,
                          const std::vector<std::string> &modules) {
    set_screen({ScreenKind::qr_code,
                lay_out(line, scenario_.columns, scenario_.rows),
                {},
                text,
                modules,
                {}});
}

void Device::show_survey(const std::string &text, const std::vector<std::string> &pictures,
                         const std::string &buttons) {
    set_screen({ScreenKind::survey,
                lay_out(text, scenario_.columns, scenario_.rows),
                pictures,
                {},
                {},
                buttons});
}

void Device::clear_screen() {
    set_screen({});
}

void Device::set_screen(Screen screen) {
    const bool nothing = screen.lines.empty() && screen.media.empty();
    const bool plain = screen.kind == ScreenKind::text || screen.kind == ScreenKind::prompt ||
                       screen.kind == ScreenKind::media;
    if (plain && nothing) {
        screen.kind = ScreenKind::blank;
    }
    std::vector<std::pair<std::string, std::string>> fields{{"kind", screen_word(screen.kind)}};
    for (std::size_t i = 0; i < screen.lines.size(); ++i) {
        fields.emplace_back("line" + std::to_string(i + 1), screen.lines[i]);
    }
    for (const std::string &name : screen.media) {
        fields.emplace_back("media", name);
    }
    if (!screen.buttons.empty()) {
        fields.emplace_back("buttons", screen.buttons);
    }
    board_.change([&](Snapshot &state) {
        state.screen = screen.kind;
        state.display = std::move(screen.lines);
        state.shown_media = std::move(screen.media);
        state.qr_text = std::move(screen.qr_text);
        state.qr_modules = std::move(screen.qr_modules);
        state.buttons = std::move(screen.buttons);
    });
    log_.note("display", std::move(fields));
}

void Device::beep(const std::string &why) {
    board_.change([](Snapshot &state) { ++state.beeps; });
    log_.note("beep", {{"why", why}});
}

void Device::publish_media() {
    board_.change([this](Snapshot &state) {
        state.media = media_.files();
        state.loading = media_.loading();
    });
}

} // namespace sim
