#pragma once

#include "sim/types.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sim {

// The files that the device keeps, and the one that is being loaded. The operations throw Refusal
// (sim/packet.h) with the status that the command is to be answered with.
class MediaStore {
public:
    explicit MediaStore(std::vector<MediaFile> files) : files_(std::move(files)) {}

    const std::vector<MediaFile> &files() const { return files_; }
    bool has(const std::string &name) const;
    // The name of the load that is under way, else empty.
    std::string loading() const;

    // Starts a load; one that was under way is given up.
    void begin(const std::string &name, std::uint32_t size, std::uint16_t crc, std::uint8_t type);
    // Adds a record: 010 when no load is under way, 101 (and the load given up) when it is more
    // than the announced size.
    void append(const Bytes &record);
    // Ends the load, keeps the file and returns a copy of it. It takes the place of one of the same
    // name. Refused with 010 when no load is under way, 101 when it is too short, 102 when the
    // checksum differs; the load is over in any case.
    MediaFile finish();
    void give_up() { load_.reset(); }

private:
    struct Load {
        MediaFile file;
        std::uint32_t size = 0;
    };

    std::vector<MediaFile> files_;
    std::optional<Load> load_;
};

} // namespace sim
