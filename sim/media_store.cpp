#include "sim/media_store.h"

#include "sim/crc16.h"
#include "sim/packet.h"

#include <algorithm>
#include <utility>

namespace sim {

bool MediaStore::has(const std::string &name) const {
    return std::any_of(files_.begin(), files_.end(),
                       [&name](const MediaFile &file) { return file.name == name; });
}

std::string MediaStore::loading() const {
    return load_ ? load_->file.name : std::string();
}

void MediaStore::begin(const std::string &name, std::uint32_t size, std::uint16_t crc,
                       std::uint8_t type) {
    load_ = Load{{name, type, crc, {}}, size};
}

void MediaStore::append(const Bytes &record) {
    if (!load_) {
        throw Refusal(status::invalid_call);
    }
    Bytes &content = load_->file.content;
    if (content.size() + record.size() > load_->size) {
        give_up();
        throw Refusal(status::media_bad_format);
    }
    content.insert(content.end(), record.begin(), record.end());
}

MediaFile MediaStore::finish() {
    if (!load_) {
        throw Refusal(status::invalid_call);
    }
    const Load load = std::move(*load_);
    give_up();
    const MediaFile &file = load.file;
    if (file.content.size() != load.size) {
        throw Refusal(status::media_bad_format);
    }
    if (crc16(file.content) != file.crc) {
        throw Refusal(status::media_corrupted);
    }
    const auto same_name = std::find_if(files_.begin(), files_.end(), [&](const MediaFile &kept) {
        return kept.name == file.name;
    });
    if (same_name == files_.end()) {
        files_.push_back(file);
    } else {
        *same_name = file;
    }
    return file;
}

} // namespace sim
