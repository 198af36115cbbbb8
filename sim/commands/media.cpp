#include "sim/commands/commands.h"
#include "sim/text.h"

#include <algorithm>

namespace sim::commands {

namespace {

constexpr std::uint16_t record_data = 15;
constexpr std::uint16_t file_facts = 31;

void note_refusal(Device &device, unsigned code) {
    device.publish_media();
    device.log().note("media", {{"action", "refuse"}, {"status", zero_filled(code, 3)}});
}

} // namespace

void mli(Device &device, const Request &request) {
    constexpr std::size_t facts_size = 10;
    const std::vector<Param> params = read_params(request.rest);
    allow_only(params, {param_id::media_name, file_facts});
    const Bytes &name_field = need_param(params, param_id::media_name, media_name_size);
    check_text(name_field, false, false);
    const std::string name = trim_right(to_text(name_field));
    const Bytes &facts = need_param(params, file_facts, facts_size);
    const bool reserved_zero =
        std::all_of(facts.begin() + 7, facts.end(), [](std::uint8_t byte) { return byte == 0; });
    if (name.empty() || !reserved_zero) {
        throw Refusal(status::invalid_parameter);
    }
    const std::uint32_t size = static_cast<std::uint32_t>(facts[0]) << 24 |
                               static_cast<std::uint32_t>(facts[1]) << 16 |
                               static_cast<std::uint32_t>(facts[2]) << 8 | facts[3];
    const auto crc = static_cast<std::uint16_t>(facts[4] << 8 | facts[5]);
    device.media().begin(name, size, crc, facts[6]);
    device.publish_media();
    device.log().note("media",
                      {{"action", "load"}, {"name", name}, {"size", std::to_string(size)}});
    device.answer(status::ok);
}

void mlr(Device &device, const Request &request) {
    constexpr std::size_t max_record = 995;
    const std::vector<Param> params = read_params(request.rest);
    allow_only(params, {record_data});
    const Bytes *record = find_param(params, record_data);
    if (record == nullptr) {
        throw Refusal(status::missing_parameter);
    }
    if (record->empty() || record->size() > max_record) {
        throw Refusal(status::invalid_parameter);
    }
    try {
        device.media().append(*record);
    } catch (const Refusal &refusal) {
        note_refusal(device, refusal.code());
        throw;
    }
    device.answer(status::ok);
}

void mle(Device &device, const Request &request) {
    if (!request.rest.empty()) {
        throw Refusal(status::invalid_parameter);
    }
    try {
        const MediaFile file = device.media().finish();
        device.publish_media();
        device.log().note("media", {{"action", "store"},
                                    {"name", file.name},
                                    {"size", std::to_string(file.content.size())}});
    } catch (const Refusal &refusal) {
        note_refusal(device, refusal.code());
        throw;
    }
    device.answer(status::ok);
}

} // namespace sim::commands
