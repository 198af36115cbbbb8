#include "sim/logbook.h"

#include <algorithm>

namespace sim {

std::string JournalEntry::field(const std::string &name) const {
    const auto found = std::find_if(fields.begin(), fields.end(),
                                    [&name](const auto &entry) { return entry.first == name; });
    return found == fields.end() ? std::string() : found->second;
}

void Logbook::add_chunk(Direction direction, const Bytes &bytes) {
    const std::lock_guard lock(mutex_);
    if (keep_) {
        wire_.chunks.push_back({direction, Clock::now(), bytes});
    }
}

void Logbook::add_frame(WireFrame frame) {
    frame.time = Clock::now();
    WireListener listener;
    {
        const std::lock_guard lock(mutex_);
        if (keep_) {
            wire_.frames.push_back(frame);
        }
        listener = wire_listener_;
    }
    if (listener) {
        listener(frame);
    }
}

void Logbook::note(std::string kind, std::vector<std::pair<std::string, std::string>> fields) {
    const JournalEntry entry{Clock::now(), std::move(kind), std::move(fields)};
    JournalListener listener;
    {
        const std::lock_guard lock(mutex_);
        if (keep_) {
            journal_.push_back(entry);
        }
        listener = listener_;
    }
    if (listener) {
        listener(entry);
    }
}

WireLog Logbook::wire() const {
    const std::lock_guard lock(mutex_);
    return wire_;
}

Bytes Logbook::host_bytes() const {
    const std::lock_guard lock(mutex_);
    Bytes bytes;
    for (const WireChunk &chunk : wire_.chunks) {
        if (chunk.direction == Direction::from_host) {
            bytes.insert(bytes.end(), chunk.bytes.begin(), chunk.bytes.end());
        }
    }
    return bytes;
}

std::vector<Bytes> Logbook::commands() const {
    const std::lock_guard lock(mutex_);
    std::vector<Bytes> bodies;
    for (const WireFrame &frame : wire_.frames) {
        if (frame.kind == FrameKind::command) {
            bodies.push_back(frame.body);
        }
    }
    return bodies;
}

std::vector<JournalEntry> Logbook::journal() const {
    const std::lock_guard lock(mutex_);
    return journal_;
}

void Logbook::clear() {
    const std::lock_guard lock(mutex_);
    wire_ = {};
    journal_.clear();
}

void Logbook::set_listener(JournalListener listener) {
    const std::lock_guard lock(mutex_);
    listener_ = std::move(listener);
}

void Logbook::set_wire_listener(WireListener listener) {
    const std::lock_guard lock(mutex_);
    wire_listener_ = std::move(listener);
}

} // namespace sim
