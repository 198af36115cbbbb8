#include "sim/web/state_view.h"

#include "sim/text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>

namespace sim::web {

namespace {

using nlohmann::json;

json media_list(const Snapshot &state) {
    json list = json::array();
    for (const std::string &name : state.shown_media) {
        json entry{{"name", to_utf8(name)}};
        const MediaFile *file = state.find_media(name);
        if (file != nullptr && std::string_view(media_type_of(*file)).rfind("image/", 0) == 0) {
            entry["path"] = media_path(*file);
        }
        list.push_back(std::move(entry));
    }
    return list;
}

json card_list(const Scenario &scenario) {
    json list = json::array();
    for (const auto &[name, card] : scenario.cards) {
        list.push_back({{"name", to_utf8(name)},
                        {"track1", to_utf8(card.track1)},
                        {"track2", to_utf8(card.track2)},
                        {"track3", to_utf8(card.track3)}});
    }
    return list;
}

} // namespace

std::string state_message(const Snapshot &state, const Scenario &scenario, const std::string &port,
                          const std::vector<std::string> &armed) {
    json lines = json::array();
    for (const std::string &line : state.display) {
        lines.push_back(to_utf8(line));
    }
    const json message{{"type", "state"},
                       {"plugged", state.plugged},
                       {"port", port},
                       {"open", state.open},
                       {"secure", state.secure},
                       {"waiting", state.waiting},
                       {"pending", to_utf8(state.pending_command)},
                       {"columns", scenario.columns},
                       {"rows", scenario.rows},
                       {"lines", std::move(lines)},
                       {"media", media_list(state)},
                       {"qr", state.qr_modules},
                       {"qrText", to_utf8(state.qr_text)},
                       {"buttons", to_utf8(state.buttons)},
                       {"chip", state.chip_slot == ChipSlot::card_inserted},
                       {"held", state.card_held},
                       {"beeps", state.beeps},
                       {"commands", state.commands},
                       {"refused", state.refused_frames},
                       {"resends", state.resends},
                       {"faults", state.faults_struck},
                       {"armed", armed},
                       {"cards", card_list(scenario)}};
    return message.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::string media_path(const MediaFile &file) {
    const Bytes crc{static_cast<std::uint8_t>(file.crc >> 8),
                    static_cast<std::uint8_t>(file.crc & 0xFF)};
    return "/media/" + to_hex(to_bytes(file.name)) + "-" + to_hex(crc);
}

const MediaFile *find_media_of_path(const Snapshot &state, const std::string &path) {
    const auto found =
        std::find_if(state.media.begin(), state.media.end(),
                     [&path](const MediaFile &file) { return media_path(file) == path; });
    return found == state.media.end() ? nullptr : &*found;
}

const char *media_type_of(const MediaFile &file) {
    struct Beginning {
        std::string_view bytes;
        const char *type;
    };
    static constexpr std::array<Beginning, 4> beginnings{{{"\x89PNG\r\n", "image/png"},
                                                          {"\xFF\xD8\xFF", "image/jpeg"},
                                                          {"GIF8", "image/gif"},
                                                          {"BM", "image/bmp"}}};
    const std::string content = to_text(file.content);
    const auto *found =
        std::find_if(beginnings.begin(), beginnings.end(), [&content](const Beginning &beginning) {
            return content.rfind(beginning.bytes, 0) == 0;
        });
    return found == beginnings.end() ? "application/octet-stream" : found->type;
}

} // namespace sim::web
