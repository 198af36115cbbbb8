#pragma once

#include "sim/journal.h"
#include "sim/wire_log.h"

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace sim {

// Keeps what happened: the line byte by byte, the frames, and the journal. Safe from any thread.
// Listeners are called on the thread that adds an entry, with nothing locked.
class Logbook {
public:
    // Without keep nothing is stored and only the listeners are called.
    explicit Logbook(bool keep = true) : keep_(keep) {}

    void add_chunk(Direction direction, const Bytes &bytes);
    void add_frame(WireFrame frame);
    void note(std::string kind, std::vector<std::pair<std::string, std::string>> fields = {});

    WireLog wire() const;
    Bytes host_bytes() const;
    std::vector<Bytes> commands() const;
    std::vector<JournalEntry> journal() const;
    void clear();

    void set_listener(JournalListener listener);
    void set_wire_listener(WireListener listener);

private:
    const bool keep_;
    mutable std::mutex mutex_;
    WireLog wire_;
    std::vector<JournalEntry> journal_;
    JournalListener listener_;
    WireListener wire_listener_;
};

} // namespace sim
