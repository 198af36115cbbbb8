#include "sim/state_board.h"

#include <algorithm>

namespace sim {

const MediaFile *Snapshot::find_media(const std::string &name) const {
    const auto found = std::find_if(media.begin(), media.end(),
                                    [&name](const MediaFile &file) { return file.name == name; });
    return found == media.end() ? nullptr : &*found;
}

void StateBoard::change(const std::function<void(Snapshot &)> &how) {
    {
        const std::lock_guard lock(mutex_);
        how(state_);
    }
    changed_.notify_all();
}

Snapshot StateBoard::snapshot() const {
    const std::lock_guard lock(mutex_);
    return state_;
}

bool StateBoard::wait_for(const std::function<bool(const Snapshot &)> &predicate,
                          std::chrono::milliseconds timeout) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, timeout, [&] { return predicate(state_); });
}

} // namespace sim
