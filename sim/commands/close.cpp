#include "sim/commands/commands.h"
#include "sim/text.h"

namespace sim::commands {

namespace {

constexpr std::uint16_t display_message = 0x001B;

void leave_idle(Device &device, const std::string &message, const std::string &media) {
    device.board().change([&](Snapshot &state) {
        state.idle_message = message;
        state.idle_media = media;
    });
}

} // namespace

void clo(Device &device, const Request &request) {
    constexpr std::size_t columns = 16;
    constexpr std::size_t rows = 2;
    const std::vector<Bytes> blocks = read_blocks(request.rest);
    if (blocks.size() != 1 || blocks.front().size() != columns * rows) {
        throw Refusal(status::invalid_parameter);
    }
    check_text(blocks.front(), true, false);
    const std::string message = to_text(blocks.front());
    leave_idle(device, trim_right(message), {});
    device.show_idle_message(message, columns, rows);
    device.answer(status::ok);
}

void clx(Device &device, const Request &request) {
    constexpr std::size_t max_message = 128;
    const std::vector<Param> params = read_params(request.rest);
    allow_only(params, {display_message, param_id::media_name});
    const Bytes *message = find_param(params, display_message);
    const Bytes *name = find_param(params, param_id::media_name);
    if ((message != nullptr && message->size() > max_message) ||
        (name != nullptr && name->size() != media_name_size)) {
        throw Refusal(status::invalid_parameter);
    }
    const std::string text = message == nullptr ? std::string() : to_text(*message);
    const std::string media = name == nullptr ? std::string() : trim_right(to_text(*name));
    check_text(to_bytes(text), true, true);
    check_text(to_bytes(media), true, false);
    if (name != nullptr && !device.media().has(media)) {
        throw Refusal(status::media_not_found);
    }
    leave_idle(device, text, media);
    if (name != nullptr) {
        device.show_media({media}, text);
    } else {
        device.show_text(ScreenKind::text, text);
    }
    device.answer(status::ok);
}

} // namespace sim::commands
