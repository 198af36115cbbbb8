#include "sim/commands/commands.h"
#include "sim/text.h"

namespace sim::commands {

namespace {

// The names that a command gives, in its order. Throws Refusal: 019 when there is none, 011 when
// one is malformed, 100 when one is not in the store.
std::vector<std::string> read_names(Device &device, const Request &request, bool extended) {
    const std::vector<Param> params = read_params(request.rest);
    allow_only(params, {param_id::media_name});
    if (params.empty()) {
        throw Refusal(status::missing_parameter);
    }
    std::vector<std::string> names;
    for (const Param &param : params) {
        if (param.value.size() != media_name_size) {
            throw Refusal(status::invalid_parameter);
        }
        check_text(param.value, extended, false);
        names.push_back(trim_right(to_text(param.value)));
    }
    for (const std::string &name : names) {
        if (!device.media().has(name)) {
            throw Refusal(status::media_not_found);
        }
    }
    return names;
}

} // namespace

void dex(Device &device, const Request &request) {
    constexpr std::size_t length_digits = 3;
    constexpr std::size_t max_message = 160;
    const std::vector<Bytes> blocks = read_blocks(request.rest);
    if (blocks.size() != 1 || blocks.front().size() < length_digits) {
        throw Refusal(status::invalid_parameter);
    }
    const std::string block = to_text(blocks.front());
    const auto length = read_decimal(block.substr(0, length_digits));
    const std::string message = block.substr(length_digits);
    if (!length || *length != message.size() || message.size() > max_message) {
        throw Refusal(status::invalid_parameter);
    }
    check_text(to_bytes(message), true, true);
    device.show_text(ScreenKind::text, message);
    device.answer(status::ok);
}

void dsi(Device &device, const Request &request) {
    const std::vector<std::string> names = read_names(device, request, false);
    if (names.size() != 1) {
        throw Refusal(status::invalid_parameter);
    }
    device.show_media(names);
    device.answer(status::ok);
}

void dmf(Device &device, const Request &request) {
    device.show_media(read_names(device, request, true));
    device.answer(status::ok);
}

void lmf(Device &device, const Request &request) {
    if (!request.rest.empty()) {
        throw Refusal(status::invalid_parameter);
    }
    Response response = make_response("LMF", status::ok);
    for (const MediaFile &file : device.media().files()) {
        std::string name = file.name;
        name.resize(media_name_size, ' ');
        response.params.push_back({data_id::media_name, to_bytes(name)});
    }
    device.answer(std::move(response));
}

} // namespace sim::commands
